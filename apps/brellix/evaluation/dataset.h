#pragma once

/// \file
/// Pictures with what is really on them.

#include "evaluation/mask_measures.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

/// No picture of a dataset has a longer side, and none more pixels: larger numbers are mistakes.
constexpr std::int64_t kLongestSide = 65535;
constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;

/// One object of the ground truth.
struct TruthObject {
    std::size_t category = 0;  ///< index into `Dataset::categories`
    cv::Rect2d box;            ///< in pixels
    double area = 0.0;         ///< in square pixels, by which objects count as small, medium or large
    bool isCrowd = false;      ///< a region of many objects, which is neither found nor missed
    std::optional<MeasuredMask> mask;
};

struct TruthPicture {
    std::int64_t id = 0;
    std::string file;  ///< as the dataset calls it, or a path
    cv::Size size;     ///< in pixels, 0 x 0 where the dataset does not say it
    std::vector<TruthObject> objects;
};

struct Category {
    std::int64_t id = 0;
    std::string name;     ///< empty where the dataset names none
    std::string seenAt;   ///< file and line of its first object, where labels are files
    bool isUsed = false;  ///< there are objects of it
};

struct Dataset {
    std::string path;                    ///< for messages
    std::vector<Category> categories;    ///< by rising id
    std::vector<TruthPicture> pictures;  ///< by rising id
    bool idsAreLabels = false;           ///< category ids are the class indices of the network
};

/// Whether every object has a mask. A dataset without objects has none.
bool hasMasks(const Dataset& dataset);

std::size_t objectsIn(const Dataset& dataset);

}  // namespace brellix::app
