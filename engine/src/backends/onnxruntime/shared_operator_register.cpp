#include "backends/onnxruntime/shared_operator_register.h"

#include <onnx/defs/schema.h>

#include <mutex>

#include "backends/onnxruntime/library.h"

namespace ai_orvo::alg::common {
namespace {

/// The onnx library enters its operators at the first look-up, ONNX Runtime enters the same ones with its
/// first environment, and each that is there already costs a line on standard error. So the first ones are
/// taken out again.
void enterOperatorsOnce() {
    static_cast<void>(onnx::OpSchemaRegistry::Schema("Identity"));
    onnx::OpSchemaRegistry::OpSchemaDeregisterAll(onnx::ONNX_DOMAIN);
    onnx::OpSchemaRegistry::OpSchemaDeregisterAll(onnx::AI_ONNX_ML_DOMAIN);
    static_cast<void>(makeQuietEnvironment());
}

}  // namespace

void settleSharedOperatorRegister() {
    static std::once_flag entered;
    if (loadOnnxRuntime()) {
        std::call_once(entered, enterOperatorsOnce);
    }
}

}  // namespace ai_orvo::alg::common
