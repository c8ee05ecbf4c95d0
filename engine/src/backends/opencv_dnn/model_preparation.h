#pragma once

/// \file
/// The network as OpenCV's importer takes it.

#include <onnx/onnx_pb.h>

#include <string>
#include <vector>

namespace ai_orvo::alg::common {

struct OpencvModel {
    onnx::ModelProto model;
    std::vector<std::string> outputs;  ///< for each output of the network, the float value to ask OpenCV for
};

/// Rewrites what OpenCV's importer would compute wrongly without a word: quantisation at the graph's end is
/// left to the engine, and the sizes of a Split become the attribute that the importer looks at.
OpencvModel prepareForOpencv(const onnx::ModelProto& model);

/// Gives `axis` attributes that count from the back (-1, ...) the number that they mean: the importer indexes
/// with them as they are. \param inferred the same network with the shapes of its values.
void countAxesFromTheFront(onnx::ModelProto& model, const onnx::ModelProto& inferred);

}  // namespace ai_orvo::alg::common
