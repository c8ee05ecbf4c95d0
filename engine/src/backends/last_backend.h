#pragma once

/// \file
/// The name of the back-end that was made last, for programs that tell people.

namespace ai_orvo::alg::common {

/// Notes the back-end of a successful `Init`. `name` lives forever.
void noteBackend(const char* name) noexcept;

/// \return what was noted last; empty before that.
const char* lastBackendName() noexcept;

}  // namespace ai_orvo::alg::common

extern "C" {

/// \return the name of the back-end that the last successful `AIEngine::Init` of the process chose,
/// "opencv_dnn" or "onnxruntime"; empty before that. Safe to call from several threads.
///
/// No part of the interface that a board's own engine implements: look it up weakly.
__attribute__((visibility("default"))) const char* brellix_ai_engine_last_backend() noexcept;
}
