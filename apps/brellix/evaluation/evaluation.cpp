#include "evaluation/evaluation.h"

#include "evaluation/ap_accumulation.h"
#include "evaluation/ap_matching.h"
#include "evaluation/overlap.h"

#include <algorithm>
#include <numeric>

namespace brellix::app {
namespace {

double overlapOf(const Detection& detection, const TruthObject& truth, Shape shape) {
    return shape == Shape::kBox ? boxOverlap(detection.box, truth.box, truth.isCrowd)
                                : maskOverlap(*detection.mask, *truth.mask, truth.isCrowd);
}

double areaOf(const Detection& detection, Shape shape) {
    return shape == Shape::kBox ? detection.box.width * detection.box.height
                                : static_cast<double>(detection.mask->area);
}

template <typename Element>
std::vector<const Element*> ofCategory(const std::vector<Element>& elements, std::size_t category) {
    std::vector<const Element*> chosen;
    for (const Element& element : elements) {
        if (element.category == category) {
            chosen.push_back(&element);
        }
    }
    return chosen;
}

std::vector<const Detection*> surest(const std::vector<Detection>& detections, std::size_t category) {
    std::vector<const Detection*> chosen = ofCategory(detections, category);
    std::stable_sort(chosen.begin(), chosen.end(),
                     [](const Detection* a, const Detection* b) { return a->score > b->score; });
    chosen.resize(std::min(chosen.size(), kMostDetections));
    return chosen;
}

Candidates candidatesOn(const TruthPicture& picture, const std::vector<Detection>& detections,
                        std::size_t category, Shape shape) {
    const std::vector<const TruthObject*> truths = ofCategory(picture.objects, category);
    Candidates candidates;
    for (const TruthObject* truth : truths) {
        candidates.truths.push_back({truth->area, truth->isCrowd});
    }
    for (const Detection* detection : surest(detections, category)) {
        candidates.detections.push_back({areaOf(*detection, shape), detection->score});
        std::vector<double> overlaps;
        for (const TruthObject* truth : truths) {
            overlaps.push_back(overlapOf(*detection, *truth, shape));
        }
        candidates.overlaps.push_back(std::move(overlaps));
    }
    return candidates;
}

std::vector<Candidates> candidatesOf(const Dataset& dataset, const Detections& detections,
                                     std::size_t category, Shape shape) {
    std::vector<Candidates> candidates;
    for (std::size_t i = 0; i < dataset.pictures.size(); ++i) {
        candidates.push_back(candidatesOn(dataset.pictures[i], detections[i], category, shape));
    }
    return candidates;
}

std::vector<Matches> matchAll(const std::vector<Candidates>& pictures, const AreaRange& areas) {
    std::vector<Matches> matches;
    matches.reserve(pictures.size());
    for (const Candidates& candidates : pictures) {
        matches.push_back(matchDetections(candidates, areas));
    }
    return matches;
}

template <typename Numbers>
double meanOf(const Numbers& numbers) {
    return std::accumulate(numbers.begin(), numbers.end(), 0.0) / static_cast<double>(numbers.size());
}

double averagePrecision(const PrecisionRecall& curves) {
    std::array<double, kOverlapCount> means{};
    std::transform(curves.precision.begin(), curves.precision.end(), means.begin(),
                   [](const auto& precision) { return meanOf(precision); });
    return meanOf(means);
}

void setForAllAreas(const std::vector<Candidates>& candidates, CategoryFigures& category) {
    constexpr std::size_t kAt75 = 5;
    const std::vector<Matches> matches = matchAll(candidates, kAllAreas);
    for (const Matches& ofPicture : matches) {
        category.truths += ofPicture.positives;
    }
    const std::optional<PrecisionRecall> curves = accumulate(matches, kMostDetections);
    if (!curves) {
        return;
    }
    category.precision50 = curves->precision[0];
    Figures& figures = category.figures;
    figures.ap = averagePrecision(*curves);
    figures.ap50 = meanOf(curves->precision[0]);
    figures.ap75 = meanOf(curves->precision[kAt75]);
    figures.ar1 = meanOf(accumulate(matches, 1)->recall);
    figures.ar10 = meanOf(accumulate(matches, 10)->recall);
    figures.ar100 = meanOf(curves->recall);
}

void setForArea(const std::vector<Candidates>& candidates, const AreaRange& areas,
                std::optional<double>& precision, std::optional<double>& recall) {
    const std::optional<PrecisionRecall> curves = accumulate(matchAll(candidates, areas), kMostDetections);
    if (curves) {
        precision = averagePrecision(*curves);
        recall = meanOf(curves->recall);
    }
}

CategoryFigures evaluateCategory(const std::vector<Candidates>& candidates) {
    CategoryFigures category;
    setForAllAreas(candidates, category);
    Figures& figures = category.figures;
    setForArea(candidates, kSmall, figures.apSmall, figures.arSmall);
    setForArea(candidates, kMedium, figures.apMedium, figures.arMedium);
    setForArea(candidates, kLarge, figures.apLarge, figures.arLarge);
    return category;
}

std::size_t countOf(const Detections& detections, std::size_t category) {
    std::size_t count = 0;
    for (const std::vector<Detection>& onPicture : detections) {
        count += ofCategory(onPicture, category).size();
    }
    return count;
}

std::optional<double> meanOver(const std::vector<CategoryFigures>& categories,
                               std::optional<double> Figures::*figure) {
    std::vector<double> values;
    for (const CategoryFigures& category : categories) {
        if (category.figures.*figure) {
            values.push_back(*(category.figures.*figure));
        }
    }
    return values.empty() ? std::nullopt : std::optional(meanOf(values));
}

}  // namespace

Evaluation evaluate(const Dataset& dataset, const Detections& detections, Shape shape) {
    Evaluation evaluation;
    for (std::size_t i = 0; i < dataset.categories.size(); ++i) {
        evaluation.categories.push_back(evaluateCategory(candidatesOf(dataset, detections, i, shape)));
        evaluation.categories.back().detections = countOf(detections, i);
    }
    for (const NamedFigure& figure : kFigures) {
        evaluation.mean.*figure.member = meanOver(evaluation.categories, figure.member);
    }
    return evaluation;
}

}  // namespace brellix::app
