#pragma once

/// \file
/// What OpenCV 4.6 is known not to run, told before it is asked: its own answer is noise or wrong numbers.

#include <string>

#include "backends/opencv_dnn/model_preparation.h"
#include "graph/engine_network.h"

namespace ai_orvo::alg::common {

/// Why OpenCV cannot run the network, and what to do; empty where nothing speaks against it.
std::string reasonAgainstOpencv(const EngineNetwork& network, const OpencvModel& prepared);

}  // namespace ai_orvo::alg::common
