#pragma once

/// \file
/// What COCO measures with.

#include <array>
#include <cstddef>

namespace brellix::app {

constexpr std::size_t kOverlapCount = 10;
constexpr std::size_t kRecallCount = 101;

/// Detections of one class on one picture that count, the surest ones.
constexpr std::size_t kMostDetections = 100;

/// 0.50, 0.55 ... 0.95, with the bits of evenly spaced numbers between the two ends.
const std::array<double, kOverlapCount>& overlapThresholds();

/// 0.00, 0.01 ... 1.00.
const std::array<double, kRecallCount>& recallPoints();

/// In square pixels; both ends belong to it.
struct AreaRange {
    double low;
    double high;

    bool holds(double area) const { return !(area < low || area > high); }
};

constexpr AreaRange kAllAreas = {0.0, 1e10};
constexpr AreaRange kSmall = {0.0, 1024.0};      ///< up to 32 x 32
constexpr AreaRange kMedium = {1024.0, 9216.0};  ///< up to 96 x 96
constexpr AreaRange kLarge = {9216.0, 1e10};

}  // namespace brellix::app
