#include "network/network_anchors.h"

#include "console/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace brellix::app {
namespace {

constexpr const char* kMetadataKey = "anchors";
using HeadAnchors = std::array<std::array<double, 2>, 3>;

std::optional<Anchors> parse(const std::string& text) {
    using Lists = std::vector<std::vector<std::vector<double>>>;
    const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    try {
        const auto lists = json.get<Lists>();
        const bool isWhole =
            lists.size() == 3 && std::all_of(lists.begin(), lists.end(), [](const auto& head) {
                return head.size() == 3 && std::all_of(head.begin(), head.end(),
                                                       [](const auto& anchor) { return anchor.size() == 2; });
            });
        // Its elements are arrays of that many numbers, which throw for any other.
        return isWhole ? std::optional(json.get<Anchors>()) : std::nullopt;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

std::vector<float> floatsOf(const onnx::TensorProto& tensor) {
    if (!tensor.has_raw_data()) {
        return {tensor.float_data().begin(), tensor.float_data().end()};
    }
    std::vector<float> values(tensor.raw_data().size() / sizeof(float));
    if (!values.empty()) {  // memcpy wants addresses, also for no bytes
        std::memcpy(values.data(), tensor.raw_data().data(), values.size() * sizeof(float));
    }
    return values;
}

/// A detection layer holds its anchors as 1 x 3 x rows x columns x 2, the same in each cell. Its grid of cell
/// positions has that shape too, but differs from cell to cell.
std::optional<HeadAnchors> headAnchors(const onnx::TensorProto& tensor) {
    const bool hasShape = tensor.data_type() == onnx::TensorProto::FLOAT && tensor.dims_size() == 5 &&
                          tensor.dims(0) == 1 && tensor.dims(1) == 3 && tensor.dims(4) == 2;
    const std::vector<float> values = hasShape ? floatsOf(tensor) : std::vector<float>();
    if (values.empty() || values.size() % 6 != 0) {
        return std::nullopt;
    }
    const std::size_t perAnchor = values.size() / 3;
    HeadAnchors anchors{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double first = static_cast<double>(values[i / perAnchor * perAnchor + i % 2]);
        if (static_cast<double>(values[i]) != first || !(first > 1.0)) {
            return std::nullopt;
        }
        anchors[i / perAnchor][i % 2] = first;
    }
    return anchors;
}

/// Exports fold the factor 4 of the decoding into the anchors, or leave it outside: what is a multiple of the
/// fixed anchors is taken for them.
Anchors withoutFactor(const Anchors& anchors) {
    constexpr double kTolerance = 1e-3;
    const Anchors& wanted = fixedAnchors();
    const double factor = anchors[0][0][0] / wanted[0][0][0];
    for (std::size_t head = 0; head < anchors.size(); ++head) {
        for (std::size_t i = 0; i < 6; ++i) {
            const double value = anchors[head][i / 2][i % 2];
            if (std::abs(value / wanted[head][i / 2][i % 2] / factor - 1.0) > kTolerance) {
                return anchors;
            }
        }
    }
    return wanted;
}

std::optional<Anchors> constantAnchors(const onnx::GraphProto& graph) {
    std::vector<HeadAnchors> heads;
    const auto look = [&heads](const onnx::TensorProto& tensor) {
        const std::optional<HeadAnchors> found = headAnchors(tensor);
        if (found && std::find(heads.begin(), heads.end(), *found) == heads.end()) {
            heads.push_back(*found);
        }
    };
    std::for_each(graph.initializer().begin(), graph.initializer().end(), look);
    for (const onnx::NodeProto& node : graph.node()) {
        for (const onnx::AttributeProto& attribute : node.attribute()) {
            if (attribute.has_t()) {
                look(attribute.t());
            }
        }
    }
    if (heads.size() != 3) {
        return std::nullopt;
    }
    const auto area = [](const HeadAnchors& head) { return head[0][0] * head[0][1]; };
    std::sort(heads.begin(), heads.end(),
              [&](const HeadAnchors& a, const HeadAnchors& b) { return area(a) < area(b); });
    return withoutFactor({heads[0], heads[1], heads[2]});
}

std::string numberText(double value) {
    const int decimals = value == std::floor(value) ? 0 : 2;
    return fixed(value, decimals);
}

}  // namespace

const Anchors& fixedAnchors() {
    static const Anchors anchors = {{{{{10, 13}, {16, 30}, {33, 23}}},
                                     {{{30, 61}, {62, 45}, {59, 119}}},
                                     {{{116, 90}, {156, 198}, {373, 326}}}}};
    return anchors;
}

NetworkAnchors anchorsOf(const NetworkFacts& network) {
    const auto said = network.metadata.find(kMetadataKey);
    if (said == network.metadata.end()) {
        return {constantAnchors(network.model.graph()), ""};
    }
    const std::optional<Anchors> anchors = parse(said->second);
    return {anchors, anchors ? "" : "three lists of three pairs of numbers"};
}

std::string textOf(const Anchors& anchors) {
    std::string text;
    for (const HeadAnchors& head : anchors) {
        text += text.empty() ? "" : " /";
        for (const std::array<double, 2>& anchor : head) {
            text += (text.empty() ? "" : " ") + numberText(anchor[0]) + ',' + numberText(anchor[1]);
        }
    }
    return text;
}

}  // namespace brellix::app
