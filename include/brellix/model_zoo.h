#pragma once

/// \file
/// Everything that an application needs of the model zoo.

#include "brellix/class_names.h"
#include "brellix/cv_model.h"
#include "brellix/drawing.h"
#include "brellix/letterbox.h"
#include "brellix/nms.h"
#include "brellix/run_report.h"
#include "brellix/yolov5.h"
