#pragma once

/// \file
/// For an ONNX Runtime that, as Debian's, is linked to the same onnx library as we are, where both keep the
/// operators' schemas in one register.

namespace ai_orvo::alg::common {

/// Lets ONNX Runtime enter its operators while nobody reads the register yet. To be called before the onnx
/// library's checker or shape inference; later calls do nothing.
/// \throws what ONNX Runtime throws where it cannot begin; the next call tries again.
void settleSharedOperatorRegister();

}  // namespace ai_orvo::alg::common
