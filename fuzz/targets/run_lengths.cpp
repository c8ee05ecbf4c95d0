// Run lengths: any text read or refused, and back to the same mask; masks of pixels to text and back, their
// measures and outlines against the pixels. Capped: masks of 64 x 64 from pixels, sizes up to 4096 x 4096
// from text.

#include "evaluation/mask_measures.h"
#include "masks/mask_polygons.h"
#include "masks/run_length.h"
#include "support/fuzzed_data.h"
#include "support/random.h"
#include "support/require.h"
#include "support/target.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <numeric>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace brellix::fuzz {
namespace {

std::optional<app::RunLengths> read(const std::string& text, const cv::Size& size) {
    try {
        return app::decompressed(text, size);
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

void tryText(const std::string& text, const cv::Size& size) {
    const std::optional<app::RunLengths> mask = read(text, size);
    if (!mask) {
        return;
    }
    const std::int64_t pixels = std::accumulate(mask->runs.begin(), mask->runs.end(), std::int64_t{0});
    require(pixels == std::int64_t{size.width} * size.height, "sum of the runs");
    const std::optional<app::RunLengths> again = read(app::compressed(*mask), size);
    require(again && again->runs == mask->runs, "run lengths change by writing and reading");
    const app::MeasuredMask measures = app::measured(*mask);
    require(measures.area >= 0 && measures.area <= pixels, "area");
    require((measures.bounds & cv::Rect({0, 0}, size)) == measures.bounds, "bounds outside of the picture");
    require(app::intersectionArea(measures, measures) == measures.area, "intersection with itself");
}

/// Noise of few or many pixels with a patch, or nothing.
cv::Mat maskFrom(FuzzedData& data, const cv::Size& size) {
    const int share = data.byte();
    cv::Mat mask = testing::Random(data.word()).image(size, CV_8UC1) < share;
    const cv::Rect patch{data.integer(0, 63), data.integer(0, 63), data.integer(0, 64), data.integer(0, 64)};
    mask(patch & cv::Rect({0, 0}, size)).setTo(data.oneOf({255, 0, 1}));
    return mask;
}

void compareOutlines(const cv::Mat& mask) {
    cv::Mat filled = cv::Mat::zeros(mask.size(), CV_8U);
    for (const app::Outline& polygon : app::maskPolygons(mask)) {
        require(polygon.size() >= 6 && polygon.size() % 2 == 0, "corners of an outline");
        std::vector<cv::Point> corners;
        for (std::size_t i = 0; i < polygon.size(); i += 2) {
            corners.emplace_back(polygon[i], polygon[i + 1]);
        }
        cv::fillPoly(filled, std::vector<std::vector<cv::Point>>{corners}, cv::Scalar(255));
    }
    // Holes are filled; nothing is lost.
    require(cv::countNonZero((mask != 0) & (filled == 0)) == 0, "pixels outside of the outlines");
}

void comparePixels(FuzzedData& data) {
    const cv::Size size{data.integer(1, 64), data.integer(1, 64)};
    const cv::Mat mask = maskFrom(data, size);
    const cv::Mat other = maskFrom(data, size);
    const app::RunLengths runs = app::runLengthsOf(mask);
    const std::optional<app::RunLengths> again = read(app::cocoRunLengths(mask), size);
    require(again && again->runs == runs.runs, "a mask changes by writing and reading");
    const app::MeasuredMask a = app::measured(runs);
    const app::MeasuredMask b = app::measured(app::runLengthsOf(other));
    require(a.area == cv::countNonZero(mask), "area of the pixels");
    require(app::intersectionArea(a, b) == cv::countNonZero((mask != 0) & (other != 0)), "intersection");
    const app::RunLengths both = app::unionOf({a.mask, b.mask}, size);
    require(both.runs == app::runLengthsOf((mask != 0) | (other != 0)).runs, "union");
    compareOutlines(mask);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    comparePixels(data);
    const cv::Size extent{data.oneOf({1, 8, 640, 4096}), data.oneOf({1, 5, 480, 4096})};
    tryText(data.rest(), extent);
    return 0;
}

}  // namespace brellix::fuzz
