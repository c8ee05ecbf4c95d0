#pragma once

/// \file
/// What it means that two results are equal.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <vector>

namespace brellix::testing {

/// Same size, type and bytes.
::testing::AssertionResult sameImage(const cv::Mat& actual, const cv::Mat& expected);

/// Same bits in every field.
::testing::AssertionResult sameLetterbox(const ai_orvo::model::LetterboxInfo& actual,
                                         const ai_orvo::model::LetterboxInfo& expected);

/// Same boxes, labels and probabilities to the bit (one NaN is like another), masks that share their pixels.
bool sameObject(const ai_orvo::model::Object& a, const ai_orvo::model::Object& b);

/// The same objects in the same order.
::testing::AssertionResult sameObjects(const std::vector<ai_orvo::model::Object>& actual,
                                       const std::vector<ai_orvo::model::Object>& expected);

/// Whether two of `objects` have the same label and the same probability, or none.
bool hasTies(const std::vector<ai_orvo::model::Object>& objects);

/// Whether greedy suppression of `candidates` can end with `kept`, whatever the order among equal
/// probabilities was.
::testing::AssertionResult isGreedySuppression(const std::vector<ai_orvo::model::Object>& candidates,
                                               const std::vector<ai_orvo::model::Object>& kept,
                                               float threshold);

}  // namespace brellix::testing
