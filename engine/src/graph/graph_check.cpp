#include "graph/graph_check.h"

#include <onnx/checker.h>
#include <onnx/shape_inference/implementation.h>

#include <algorithm>
#include <exception>
#include <new>
#include <string>
#include <unordered_set>
#include <vector>

#include "graph/graph_hazards.h"

namespace ai_orvo::alg::common {
namespace {

/// The checker refuses files of a newer IR version than its own, though newer IR versions only add parts that
/// such a graph need not use; what it uses is checked node by node all the same.
onnx::ModelProto withKnownIrVersion(const onnx::ModelProto& model) {
    onnx::ModelProto copy = model;
    copy.set_ir_version(std::min<std::int64_t>(model.ir_version(), onnx::IR_VERSION));
    return copy;
}

/// The checker insists on a shape for every output, though the shape inference finds those that are missing:
/// for the time of the check they get one.
void checkRules(onnx::ModelProto& model) {
    std::vector<onnx::TypeProto::Tensor*> shapeless;
    for (onnx::ValueInfoProto& output : *model.mutable_graph()->mutable_output()) {
        if (output.type().has_tensor_type() && !output.type().tensor_type().has_shape()) {
            shapeless.push_back(output.mutable_type()->mutable_tensor_type());
            shapeless.back()->mutable_shape();
        }
    }
    onnx::checker::check_model(model);
    for (onnx::TypeProto::Tensor* output : shapeless) {
        output->clear_shape();
    }
}

std::unordered_set<std::string> typedValues(const onnx::GraphProto& graph) {
    std::unordered_set<std::string> names;
    for (const auto* values : {&graph.input(), &graph.value_info(), &graph.output()}) {
        for (const onnx::ValueInfoProto& value : *values) {
            names.insert(value.name());
        }
    }
    for (const onnx::TensorProto& stored : graph.initializer()) {
        names.insert(stored.name());
    }
    return names;
}

/// Where values are followed, too, the onnx library asks for the type of what Shape reads without looking
/// whether it has one.
bool canFollowValues(const onnx::GraphProto& graph) {
    const std::unordered_set<std::string> typed = typedValues(graph);
    return std::all_of(graph.node().begin(), graph.node().end(), [&typed](const onnx::NodeProto& node) {
        return node.op_type() != "Shape" ||
               std::all_of(node.input().begin(), node.input().end(),
                           [&typed](const std::string& name) { return typed.count(name) > 0; });
    });
}

/// What the file says about values in the middle may be left from before the graph was cut; only the graph
/// itself decides.
void inferFromNodes(onnx::ModelProto& model) {
    model.mutable_graph()->clear_value_info();
    // Faults of types first: they leave values without one, and are only told at the end.
    const onnx::ShapeInferenceOptions ofTypes(true, 1, false);
    onnx::shape_inference::InferShapes(model, onnx::OpSchemaRegistry::Instance(), ofTypes);
    if (canFollowValues(model.graph())) {
        const onnx::ShapeInferenceOptions ofValues(true, 1, true);
        onnx::shape_inference::InferShapes(model, onnx::OpSchemaRegistry::Instance(), ofValues);
    }
}

}  // namespace

GraphVerdict judgeGraph(const onnx::ModelProto& model) {
    GraphVerdict verdict;
    try {
        verdict.inferred = withKnownIrVersion(model);
        checkRules(verdict.inferred);
        refuseHazards(verdict.inferred);
        stateWindows(*verdict.inferred.mutable_graph());
        inferFromNodes(verdict.inferred);
        verdict.inferred.set_ir_version(model.ir_version());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        verdict.fault = error.what();
        if (verdict.fault.empty()) {
            verdict.fault = "the onnx library gives no reason";
        }
    }
    return verdict;
}

}  // namespace ai_orvo::alg::common
