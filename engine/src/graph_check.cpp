#include "graph_check.h"

#include <onnx/checker.h>
#include <onnx/shape_inference/implementation.h>

#include <algorithm>
#include <exception>

namespace ai_orvo::alg::common {
namespace {

/// The checker refuses files of a newer IR version than its own, though newer IR versions only add parts that
/// such a graph need not use; what it uses is checked node by node all the same.
onnx::ModelProto withKnownIrVersion(const onnx::ModelProto& model) {
    onnx::ModelProto copy = model;
    copy.set_ir_version(std::min<std::int64_t>(model.ir_version(), onnx::IR_VERSION));
    return copy;
}

/// What the file says about values in the middle may be left from before the graph was cut; only the graph
/// itself decides.
void forgetInnerShapes(onnx::ModelProto& model) {
    model.mutable_graph()->clear_value_info();
}

void inferStrictly(onnx::ModelProto& model) {
    const onnx::ShapeInferenceOptions strict(true, 1, true);
    onnx::shape_inference::InferShapes(model, onnx::OpSchemaRegistry::Instance(), strict);
}

}  // namespace

std::string graphFault(const onnx::ModelProto& model) {
    try {
        onnx::ModelProto copy = withKnownIrVersion(model);
        onnx::checker::check_model(copy);
        forgetInnerShapes(copy);
        inferStrictly(copy);
        return {};
    } catch (const std::exception& error) {
        return error.what();
    }
}

bool inferShapes(onnx::ModelProto& model) {
    onnx::ModelProto copy = withKnownIrVersion(model);
    try {
        onnx::checker::check_model(copy);
        forgetInnerShapes(copy);
        inferStrictly(copy);
    } catch (const std::exception&) {
        return false;
    }
    copy.set_ir_version(model.ir_version());
    model.Swap(&copy);
    return true;
}

}  // namespace ai_orvo::alg::common
