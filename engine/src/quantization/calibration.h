#pragma once

/// \file
/// The calibration file beside a network: the range of values of each output, measured over pictures.
///
///     schema: 1
///     tensors:
///       "output0": {min: -3.5, max: 12.25, symmetric: false}

#include <map>
#include <string>

#include "quantization/quantization.h"

namespace ai_orvo::alg::common {

/// What was measured for one output tensor.
struct CalibratedTensor {
    ValueRange range;
    bool symmetric = false;  ///< zero point 0, for decoders that cannot subtract another one
};

/// By the output's name in the network file.
using Calibration = std::map<std::string, CalibratedTensor>;

/// "NETWORK.onnx.calibration.yaml" for "NETWORK.onnx".
std::string calibrationPath(const std::string& networkPath);

/// Reads the file; one that does not exist is an empty calibration.
/// \throws Refusal (`kFileUnreadable`, `kBadCalibration`) that names the file and the line.
Calibration readCalibration(const std::string& path);

/// Writes the file, replacing an older one. Numbers are read back exactly.
/// \throws Refusal (`kFileUnreadable`) where the file cannot be written, and for names that are not UTF-8.
void writeCalibration(const std::string& path, const Calibration& calibration);

/// The int8 grid for the measured range.
AffineGrid calibratedGrid(const CalibratedTensor& tensor);

}  // namespace ai_orvo::alg::common
