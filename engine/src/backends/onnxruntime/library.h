#pragma once

/// \file
/// ONNX Runtime's C++ interface, and how the engine begins with it.

// Without it the header calls the library while the program is still being loaded.
#define ORT_API_MANUAL_INIT
#include <onnxruntime_cxx_api.h>

namespace ai_orvo::alg::common {

/// To be called before anything else of the library.
/// \return false where the library is older than the header that we were compiled with.
bool loadOnnxRuntime();

/// To be called when a network has run: what ONNX Runtime makes for its own use is there by then.
void watchForEndOfOnnxRuntime();

/// Whether the process is ending and has destroyed what `watchForEndOfOnnxRuntime` saw. Static objects that
/// were there before the first network are destroyed after it, and may still ask a model for a last frame:
/// ONNX Runtime would read freed memory.
bool isOnnxRuntimeGone();

/// An environment that says nothing: what ONNX Runtime has to say comes as an exception too, and its own
/// lines would stand beside our one. Environments are counted by the library: the last one to go ends it.
Ort::Env makeQuietEnvironment();

}  // namespace ai_orvo::alg::common
