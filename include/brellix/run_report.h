#pragma once

/// \file
/// What happened inside the last construction and the last `detect`: the engine's answers, which the models
/// themselves pass over, and the time of each stage.

#include "brellix/export.h"

namespace ai_orvo::model {

/// One thread's last model construction and last `detect`.
struct RunReport {
    int init_status = 0;       ///< what `AIEngine::Init` returned to the last constructor, 0 for success
    int inference_status = 0;  ///< what `AIEngine::DoInference` returned to the last `detect`, 0 for success
    double pre_ms = 0.0;       ///< letterbox and input tensor, milliseconds
    double infer_ms = 0.0;     ///< the engine, milliseconds
    double post_ms = 0.0;      ///< decoding, suppression, masks, milliseconds
};

/// \return the report of the calling thread; a `detect` that threw leaves what the one before left.
BRELLIX_API RunReport last_run_report();

}  // namespace ai_orvo::model
