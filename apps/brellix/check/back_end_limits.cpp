#include "check/back_end_limits.h"

#include "console/text.h"

#include <backends/opencv_dnn/suitability.h>
#include <graph/element_types.h>
#include <graph/engine_network.h>
#include <graph/graph_check.h>

#include <algorithm>
#include <vector>

namespace brellix::app {
namespace {

namespace engine = ai_orvo::alg::common;
using engine::TensorDescription;

// The newest that the back-end was made for; later ones run as far as they use no operator's new form.
constexpr std::int64_t kBestOpset = 12;

bool isHalf(const TensorDescription& tensor) {
    return tensor.elementType == onnx::TensorProto::FLOAT16;
}

bool isHalf(const onnx::TensorProto& tensor) {
    return tensor.data_type() == onnx::TensorProto::FLOAT16;
}

template <class Items>
bool anyHalf(const Items& items) {
    return std::any_of(items.begin(), items.end(), [](const auto& item) { return isHalf(item); });
}

bool holdsHalfConstant(const onnx::NodeProto& node) {
    return std::any_of(
        node.attribute().begin(), node.attribute().end(),
        [](const onnx::AttributeProto& attribute) { return attribute.has_t() && isHalf(attribute.t()); });
}

/// \return "inputs, outputs, weights" as far as they are float16.
std::string halfParts(const NetworkFacts& network) {
    const onnx::GraphProto& graph = network.model.graph();
    std::vector<std::string> parts;
    if (anyHalf(network.description.inputs)) {
        parts.emplace_back("inputs");
    }
    if (anyHalf(network.description.outputs)) {
        parts.emplace_back("outputs");
    }
    if (anyHalf(graph.initializer()) ||
        std::any_of(graph.node().begin(), graph.node().end(), holdsHalfConstant)) {
        parts.emplace_back("weights");
    }
    return joined(parts);
}

/// \return the tensors with extents that the file leaves open.
std::string openTensors(const NetworkFacts& network) {
    std::vector<std::string> open;
    const auto add = [&open](const char* side, const TensorDescription& tensor) {
        if (!tensor.isStatic()) {
            open.push_back(side + tensor.name + ' ' + tensor.describeShape());
        }
    };
    for (const TensorDescription& tensor : network.description.inputs) {
        add("input ", tensor);
    }
    for (const TensorDescription& tensor : network.description.outputs) {
        add("output ", tensor);
    }
    return joined(open);
}

void judgeOpset(BackEnd backEnd, const NetworkFacts& network, Findings& findings) {
    const std::int64_t opset = network.description.opset;
    const bool isNewer = backEnd == BackEnd::kOpencvDnn && opset > kBestOpset;
    findings.push_back(
        {isNewer ? Severity::kNote : Severity::kOk, "opset", network.path,
         std::to_string(opset) +
             (isNewer ? "; the back-end runs opset " + std::to_string(kBestOpset) + " best" : ""),
         "", ""});
}

/// \return why the back-end refuses the graph; empty where nothing is known against it.
std::string faultOfGraph(const NetworkFacts& network) {
    // The calibration has a say in the bytes that come out, none in what runs.
    const engine::EngineNetwork described(network.path, network.description, {});
    std::string reason = engine::reasonAgainstOpencv(described, engine::prepareForOpencv(network.model));
    if (!reason.empty()) {
        return reason;
    }
    const std::string fault = engine::judgeGraph(network.model).fault;
    return fault.empty() ? fault : "it is not valid: " + fault;
}

/// What OpenCV's importer does not take.
void judgeOpencvLimits(const NetworkFacts& network, const std::string& fix, Findings& findings) {
    const std::size_t before = findings.size();
    judgeTypesAndShapes(network, fix, findings);
    // Of a network with a fault of these the next question says the same again.
    const std::string fault = findings.size() == before ? faultOfGraph(network) : "";
    if (!fault.empty()) {
        findings.push_back({Severity::kError, "graph", network.path, fault,
                            "a graph that the back-end opencv_dnn runs", fix});
    }
}

}  // namespace

void judgeTypesAndShapes(const NetworkFacts& network, const std::string& fix, Findings& findings) {
    const std::string half = halfParts(network);
    if (!half.empty()) {
        findings.push_back(
            {Severity::kError, "element type", network.path, "float16 " + half, "float32", fix});
    }
    const std::string open = openTensors(network);
    if (!open.empty()) {
        findings.push_back({Severity::kError, "shape", network.path, "open: " + open, "a static shape", fix});
    }
}

void judgeBackEndLimits(BackEnd backEnd, const NetworkFacts& network, const std::string& fix,
                        Findings& findings) {
    if (backEnd == BackEnd::kUnknown) {
        return;
    }
    judgeOpset(backEnd, network, findings);
    if (backEnd == BackEnd::kOpencvDnn) {
        judgeOpencvLimits(network, fix, findings);
    }
}

}  // namespace brellix::app
