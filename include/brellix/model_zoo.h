#pragma once

/// \file
/// Everything that an application needs of the model zoo.

#include "brellix/class_names.h"
#include "brellix/cv_model.h"
#include "brellix/drawing.h"
#include "brellix/letterbox.h"
#include "brellix/logger.h"
#include "brellix/nms.h"
#include "brellix/quantization.h"
#include "brellix/run_report.h"
#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "brellix/yolov8_seg.h"
