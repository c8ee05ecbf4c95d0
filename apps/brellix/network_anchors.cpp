#include "network_anchors.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <vector>

namespace brellix::app {
namespace {

constexpr const char* kMetadataKey = "anchors";
using HeadAnchors = std::array<std::array<double, 2>, 3>;

std::optional<Anchors> parse(const std::string& text) {
    const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    try {
        // Fewer or more elements on any level are refused, too.
        const auto lists = json.get<std::vector<std::vector<std::vector<double>>>>();
        Anchors anchors{};
        if (lists.size() != anchors.size()) {
            return std::nullopt;
        }
        for (std::size_t head = 0; head < anchors.size(); ++head) {
            if (lists[head].size() != anchors[head].size()) {
                return std::nullopt;
            }
            for (std::size_t anchor = 0; anchor < anchors[head].size(); ++anchor) {
                if (lists[head][anchor].size() != 2) {
                    return std::nullopt;
                }
                anchors[head][anchor] = {lists[head][anchor][0], lists[head][anchor][1]};
            }
        }
        return anchors;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

std::vector<float> floatsOf(const onnx::TensorProto& tensor) {
    if (!tensor.has_raw_data()) {
        return {tensor.float_data().begin(), tensor.float_data().end()};
    }
    std::vector<float> values(tensor.raw_data().size() / sizeof(float));
    std::memcpy(values.data(), tensor.raw_data().data(), values.size() * sizeof(float));
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
    return Anchors{heads[0], heads[1], heads[2]};
}

std::string numberText(double value) {
    return nlohmann::json(static_cast<float>(value)).dump();
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
