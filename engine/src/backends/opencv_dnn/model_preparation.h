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
/// left to the engine, the sizes of a Split become the attribute that the importer looks at, and a Concat of
/// one value, which the importer leaves unset where it is an input of the network, becomes an Identity.
OpencvModel prepareForOpencv(const onnx::ModelProto& model);

/// States what the importer would otherwise assume differently than ONNX: `axis` attributes that count from
/// the back (-1, ...) become the number that they mean, a Softmax of operator set 13 gets the last axis that
/// it means without one, and auto_pad SAME_LOWER becomes plain padding. \param inferred the same network with
/// the shapes of its values.
void stateAttributes(onnx::ModelProto& model, const onnx::ModelProto& inferred);

}  // namespace ai_orvo::alg::common
