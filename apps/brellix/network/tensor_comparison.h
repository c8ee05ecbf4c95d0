#pragma once

/// \file
/// The tensors that a model asks for beside those that the network has.

#include "network/back_end_choice.h"
#include "network/expected_tensors.h"

#include <graph/network_description.h>

#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

enum class TensorVerdict {
    kFits,
    kMissing,
    kOtherType,    ///< of elements that the engine does not take
    kOpenShape,    ///< the file leaves an extent open
    kOtherSize,    ///< another number of elements
    kOtherLayout,  ///< as many elements, arranged otherwise
};

/// \return "ok", "missing", "other type", ...
const char* nameOf(TensorVerdict verdict);

struct TensorRow {
    ExpectedTensor expected;
    std::optional<ai_orvo::alg::common::TensorDescription> found;
    TensorVerdict verdict = TensorVerdict::kMissing;
};

using TensorRows = std::vector<TensorRow>;

/// Matches names as the engine does. \return a row for each expected tensor, in their order.
/// \param backEnd decides which element types and open shapes fit.
TensorRows compareTensors(const std::vector<ExpectedTensor>& expected,
                          const ai_orvo::alg::common::NetworkDescription& network, BackEnd backEnd);

/// \return "1x3x64x64".
std::string shapeOf(const ExpectedTensor& tensor);

/// \return "1x3x64x64 (12288 elements)".
std::string expectedText(const ExpectedTensor& tensor);

/// \return "1x3x64x64 float16", "none".
std::string foundText(const TensorRow& row);

}  // namespace brellix::app
