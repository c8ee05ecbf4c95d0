#pragma once

/// \file
/// The tensors that a model will ask the engine for.

#include "network/model_class.h"

#include <brellix/ai_engine.h>
#include <opencv2/core.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace brellix::app {

/// Input pixels along a side of one cell in each of the networks' three grids.
constexpr int kStrides[3] = {8, 16, 32};

/// The sides of every input are multiples of it.
constexpr int kCoarsestStride = kStrides[2];

/// In what form a tensor's bytes cross the boundary to the engine.
enum class TensorForm {
    kFloat32,
    kInt8,
    kImageBytes,  ///< 8-bit pixels, height x width x 3
};

/// \return "float32", "int8", "8-bit image".
const char* nameOf(TensorForm form);

/// What the tensors follow from.
struct ModelSettings {
    ModelClass modelClass = ModelClass::kYoloV5;
    cv::Size inputSize;
    int classNum = 0;
    std::string framework;     ///< of the segmentation model
    bool isQuantized = false;  ///< likewise
};

struct ExpectedTensor {
    bool isInput = false;
    std::string name;
    std::int64_t elements = 0;
    std::vector<std::int64_t> shape;  ///< as the model reads it; inputs as the network takes them, NCHW
    TensorForm form = TensorForm::kFloat32;
    bool shapeIsExact = false;  ///< else extents of 1 may come or go, which moves no element
};

/// \return all inputs, then all outputs.
std::vector<ExpectedTensor> expectedTensors(const ModelSettings& settings);

/// \return what the model's constructor hands to the engine, without the network's path.
ai_orvo::alg::common::AIEngineConfig engineTables(const ModelSettings& settings);

/// \return candidates that a fused network of this input size has.
int fusedCandidates(cv::Size inputSize);

}  // namespace brellix::app
