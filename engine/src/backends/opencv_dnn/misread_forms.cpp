#include "backends/opencv_dnn/misread_forms.h"

#include <algorithm>
#include <opencv2/core/version.hpp>
#include <vector>

#include "backends/opencv_dnn/broadcasting.h"
#include "backends/opencv_dnn/resizing.h"
#include "graph/graph_lookup.h"

namespace ai_orvo::alg::common {
namespace {

/// Before operator set 13 all axes from the given one on count as one; OpenCV takes the given one alone.
std::string badSoftmax(const onnx::NodeProto& node, const GraphFacts& facts) {
    constexpr std::int64_t kFirstOpsetOfOneAxis = 13;
    const Extents* shape = facts.shapeOf(node.input(0));
    if (facts.opset() >= kFirstOpsetOfOneAxis || shape == nullptr) {
        return {};
    }
    const auto rank = static_cast<std::int64_t>(shape->size());
    std::int64_t axis = integerOf(node, "axis", 1);
    axis += axis < 0 ? rank : 0;
    const auto next = shape->begin() + std::clamp<std::int64_t>(axis + 1, 0, rank);
    if (std::all_of(next, shape->end(), [](std::int64_t extent) { return extent == 1; })) {
        return {};
    }
    return "would normalise along axis " + std::to_string(axis) +
           " alone, where operator sets before 13 take it and all axes behind it together";
}

bool hasPads(const onnx::NodeProto& node) {
    const onnx::AttributeProto* pads = attributeOf(node, "pads");
    return isAnyOf(textOf(node, "auto_pad", "NOTSET"), {"SAME_UPPER", "SAME_LOWER"}) ||
           (pads != nullptr &&
            std::any_of(pads->ints().begin(), pads->ints().end(), [](std::int64_t pad) { return pad != 0; }));
}

/// OpenCV goes by who wrote the file.
std::string badAveragePool(const onnx::NodeProto& node, const GraphFacts& facts) {
    const bool counts = facts.model().producer_name() == "pytorch";
    if (!hasPads(node) || counts == (integerOf(node, "count_include_pad", 0) != 0)) {
        return {};
    }
    return counts ? "would count the padding (count_include_pad is 0)"
                  : "would not count the padding (count_include_pad is 1)";
}

std::string badMaxPool(const onnx::NodeProto& node, const GraphFacts& /*facts*/) {
    const bool givesIndices = node.output_size() > 1 && !node.output(1).empty();
    return givesIndices && integerOf(node, "storage_order", 0) != 0
               ? "would give its indices row by row (storage_order is 1)"
               : "";
}

/// What was not rewritten as plain padding.
std::string badAutoPad(const onnx::NodeProto& node, const GraphFacts& /*facts*/) {
    return textOf(node, "auto_pad", "NOTSET") == "SAME_LOWER"
               ? "would pad as for SAME_UPPER (auto_pad is SAME_LOWER)"
               : "";
}

bool isWhole(std::int32_t type) {
    switch (type) {
        case onnx::TensorProto::INT8:
        case onnx::TensorProto::UINT8:
        case onnx::TensorProto::INT16:
        case onnx::TensorProto::UINT16:
        case onnx::TensorProto::INT32:
        case onnx::TensorProto::UINT32:
        case onnx::TensorProto::INT64:
        case onnx::TensorProto::UINT64:
            return true;
        default:
            return false;
    }
}

/// OpenCV computes in float32 throughout, so that a conversion changes nothing.
std::string badCast(const onnx::NodeProto& node, const GraphFacts& facts) {
    const std::int64_t to = integerOf(node, "to", onnx::TensorProto::UNDEFINED);
    const std::int32_t from = facts.typeOf(node.input(0));
    if (facts.isConstant(node.input(0)) || from == onnx::TensorProto::UNDEFINED) {
        return {};
    }
    if (to == onnx::TensorProto::BOOL && from != onnx::TensorProto::BOOL) {
        return "would not make truth values of its numbers";
    }
    const bool isFraction = from == onnx::TensorProto::FLOAT || from == onnx::TensorProto::DOUBLE;
    if (!isFraction || !isWhole(static_cast<std::int32_t>(to))) {
        return {};
    }
    const onnx::NodeProto* producer = producerOf(facts.model().graph(), node.input(0));
    const bool isRounded =
        producer != nullptr && isAnyOf(producer->op_type(), {"Ceil", "Floor", "Round", "Sign"});
    return isRounded ? "" : "would not cut its numbers to whole ones";
}

/// OpenCV takes one slope, or one of each channel.
std::string badPRelu(const onnx::NodeProto& node, const GraphFacts& facts) {
    const Extents* shape = facts.shapeOf(node.input(0));
    const Extents* slope = node.input_size() > 1 ? facts.shapeOf(node.input(1)) : nullptr;
    if (shape == nullptr || slope == nullptr || slope->size() > shape->size()) {
        return {};
    }
    const std::size_t missing = shape->size() - slope->size();
    bool isOne = true;
    bool isOfChannels = true;
    for (std::size_t axis = 0; axis < shape->size(); ++axis) {
        const std::int64_t extent = axis < missing ? 1 : (*slope)[axis - missing];
        isOne = isOne && extent == 1;
        isOfChannels = isOfChannels && extent == (axis == 1 ? (*shape)[axis] : 1);
    }
    return isOne || isOfChannels ? "" : "would take its slopes as those of the channels";
}

std::string badCumSum(const onnx::NodeProto& node, const GraphFacts& /*facts*/) {
    return integerOf(node, "exclusive", 0) != 0 && integerOf(node, "reverse", 0) != 0
               ? "would leave a part of its result unset (exclusive and reverse)"
               : "";
}

/// The nodes that take the value.
std::vector<const onnx::NodeProto*> consumersOf(const onnx::GraphProto& graph, const std::string& value) {
    std::vector<const onnx::NodeProto*> consumers;
    for (const onnx::NodeProto& node : graph.node()) {
        if (std::find(node.input().begin(), node.input().end(), value) != node.input().end()) {
            consumers.push_back(&node);
        }
    }
    return consumers;
}

/// Whether the node is the difference in a softmax that is spelled out as of operator set 13: x - max(x), its
/// exponential, and that divided by its sum. The importer makes one layer of these.
bool isInSpelledSoftmax(const onnx::NodeProto& node, const GraphFacts& facts) {
    constexpr std::int64_t kFirstOpset = 13;
    const onnx::GraphProto& graph = facts.model().graph();
    const onnx::NodeProto* largest = producerOf(graph, node.input(1));
    if (node.op_type() != "Sub" || facts.opset() < kFirstOpset || largest == nullptr ||
        largest->op_type() != "ReduceMax" || largest->input(0) != node.input(0)) {
        return false;
    }
    const std::vector<const onnx::NodeProto*> users = consumersOf(graph, node.output(0));
    if (users.size() != 1 || users[0]->op_type() != "Exp") {
        return false;
    }
    const std::string& exponential = users[0]->output(0);
    const std::vector<const onnx::NodeProto*> ends = consumersOf(graph, exponential);
    return ends.size() == 2 && ends[0]->op_type() == "ReduceSum" && ends[1]->op_type() == "Div" &&
           ends[1]->input(0) == exponential && ends[1]->input(1) == ends[0]->output(0);
}

/// From OpenCV 4.7 on another layer matches operands, by ONNX's rules.
constexpr bool kMatchesOperandsByCount =
    CV_VERSION_MAJOR < 4 || (CV_VERSION_MAJOR == 4 && CV_VERSION_MINOR < 7);

std::string badOperands(const onnx::NodeProto& node, const GraphFacts& facts) {
    if (!kMatchesOperandsByCount) {
        return {};
    }
    const std::string reason = badBroadcast(node, facts);
    return reason.empty() || isInSpelledSoftmax(node, facts) ? "" : reason;
}

struct Form {
    const char* opType;
    std::string (*reason)(const onnx::NodeProto&, const GraphFacts&);
};

constexpr Form kForms[] = {
    {"Add", badOperands},          {"Sub", badOperands},
    {"Mul", badOperands},          {"Div", badOperands},
    {"Sum", badOperands},          {"Softmax", badSoftmax},
    {"LogSoftmax", badSoftmax},    {"AveragePool", badAveragePool},
    {"AveragePool", badAutoPad},   {"MaxPool", badMaxPool},
    {"MaxPool", badAutoPad},       {"Conv", badAutoPad},
    {"ConvTranspose", badAutoPad}, {"Resize", badResize},
    {"Upsample", badResize},       {"Cast", badCast},
    {"PRelu", badPRelu},           {"CumSum", badCumSum},
};

}  // namespace

std::string misreadForm(const GraphFacts& facts) {
    for (const onnx::NodeProto& node : facts.model().graph().node()) {
        for (const Form& form : kForms) {
            const std::string reason = node.op_type() == form.opType ? form.reason(node, facts) : "";
            if (!reason.empty()) {
                return nodeLabel(node) + ": it " + reason +
                       "; run it on the back-end onnxruntime, or export the network without this form or cut "
                       "before it";
            }
        }
    }
    return {};
}

}  // namespace ai_orvo::alg::common
