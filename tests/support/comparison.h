#pragma once

/// \file
/// What it means that two results are equal.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <cstddef>
#include <vector>

namespace brellix::testing {

/// The same bits; one NaN is like another.
bool sameFloat(float a, float b);

/// The same for `count` floats.
bool sameFloats(const float* actual, const float* expected, std::size_t count);

/// The same for all elements, of which there have to be as many.
bool sameFloats(const std::vector<float>& actual, const std::vector<float>& expected);

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

/// The same objects in the same order, each with the same pixels in its mask.
::testing::AssertionResult sameObjectsAndMasks(std::vector<ai_orvo::model::Object> actual,
                                               std::vector<ai_orvo::model::Object> expected);

/// Whether two of `objects` have the same label and the same probability, or none.
bool hasTies(const std::vector<ai_orvo::model::Object>& objects);

/// Whether greedy suppression of `candidates` can end with `kept`, whatever the order among equal
/// probabilities was.
::testing::AssertionResult isGreedySuppression(const std::vector<ai_orvo::model::Object>& candidates,
                                               const std::vector<ai_orvo::model::Object>& kept,
                                               float threshold);

}  // namespace brellix::testing
