#pragma once

/// \file
/// Small segmentation models and their tensors: input 64 x 64, grids 8, 4 and 2, prototypes 16 x 16.

#include "brellix/yolov8_seg.h"

#include <memory>
#include <string>

namespace brellix::testing {

/// A configuration document of two classes.
std::string segConfigText(const std::string& framework = "ONNX", bool quantized = false);

/// A model whose engine is the fake one, for an image of 64 x 64.
std::unique_ptr<ai_orvo::model::YOLOv8Seg> makeSegModel(bool quantized = false);

/// Float outputs in which no cell is a candidate: scores far below every threshold, the rest 0.
ai_orvo::model::TensorMap quietFloatOutputs();

/// Makes the cell a candidate of `label` with logit `score`, whose box reaches about `distance` cells to each
/// side and whose only mask coefficient other than 0 is the first.
void placeObject(ai_orvo::model::TensorMap& outputs, int head, int row, int column, int label, float score,
                 int distance, float coefficient);

/// Sets every element of the first prototype.
void fillFirstPrototype(ai_orvo::model::TensorMap& outputs, float value);

/// The float element at `index` of a tensor.
void setFloat(ai_orvo::model::AIBuff& tensor, std::size_t index, float value);

}  // namespace brellix::testing
