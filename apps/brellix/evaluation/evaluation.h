#pragma once

/// \file
/// Average precision and recall of detections, as COCO defines them.

#include "evaluation/ap_definitions.h"
#include "evaluation/dataset.h"

#include <opencv2/core.hpp>

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace brellix::app {

struct Detection {
    std::size_t category = 0;  ///< index into `Dataset::categories`
    cv::Rect2d box;            ///< in pixels
    double score = 0.0;
    std::optional<MeasuredMask> mask;
};

/// Detections by picture, in the order of `Dataset::pictures`.
using Detections = std::vector<std::vector<Detection>>;

enum class Shape { kBox, kMask };

/// COCO's twelve figures; nothing where there is no such object in the ground truth.
struct Figures {
    std::optional<double> ap;    ///< mean over the overlaps 0.50 to 0.95
    std::optional<double> ap50;  ///< at an overlap of 0.50
    std::optional<double> ap75;
    std::optional<double> apSmall;
    std::optional<double> apMedium;
    std::optional<double> apLarge;
    std::optional<double> ar1;  ///< recall with one detection a picture and class, mean over the overlaps
    std::optional<double> ar10;
    std::optional<double> ar100;
    std::optional<double> arSmall;  ///< with 100 detections
    std::optional<double> arMedium;
    std::optional<double> arLarge;
};

/// A figure and what COCO calls it.
struct NamedFigure {
    const char* name;
    std::optional<double> Figures::*member;
};

constexpr std::array<NamedFigure, 12> kFigures = {{{"AP", &Figures::ap},
                                                   {"AP50", &Figures::ap50},
                                                   {"AP75", &Figures::ap75},
                                                   {"AP_small", &Figures::apSmall},
                                                   {"AP_medium", &Figures::apMedium},
                                                   {"AP_large", &Figures::apLarge},
                                                   {"AR1", &Figures::ar1},
                                                   {"AR10", &Figures::ar10},
                                                   {"AR100", &Figures::ar100},
                                                   {"AR_small", &Figures::arSmall},
                                                   {"AR_medium", &Figures::arMedium},
                                                   {"AR_large", &Figures::arLarge}}};

struct CategoryFigures {
    Figures figures;
    std::size_t truths = 0;                                       ///< objects that are to be found
    std::size_t detections = 0;                                   ///< of this class, on all pictures
    std::optional<std::array<double, kRecallCount>> precision50;  ///< by recall, at an overlap of 0.50
};

struct Evaluation {
    Figures mean;                             ///< over the categories that have objects
    std::vector<CategoryFigures> categories;  ///< in the order of `Dataset::categories`
};

/// Evaluates the boxes or the masks. For masks every truth and every detection has one.
Evaluation evaluate(const Dataset& dataset, const Detections& detections, Shape shape);

}  // namespace brellix::app
