#include "support/coco_mask.h"

#include <opencv2/imgproc.hpp>

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace brellix::testing {
namespace {

/// Reads the number at `position` and moves behind it.
std::int64_t readNumber(const std::string& text, std::size_t& position) {
    std::int64_t number = 0;
    for (std::int64_t weight = 1;; weight *= 32) {
        const std::int64_t group = static_cast<std::int64_t>(text.at(position++)) - 48;
        if (group < 0 || group > 63) {
            throw std::runtime_error("not a character of a run length");
        }
        const bool isLast = group < 32;
        number += group % 32 * weight;
        if (isLast) {
            return group >= 16 ? number - 32 * weight : number;
        }
    }
}

std::vector<std::int64_t> readRuns(const std::string& text) {
    std::vector<std::int64_t> runs;
    for (std::size_t position = 0; position < text.size();) {
        const std::int64_t number = readNumber(text, position);
        runs.push_back(runs.size() > 2 ? number + runs[runs.size() - 2] : number);
    }
    return runs;
}

}  // namespace

cv::Mat decodeCocoMask(const std::string& counts, cv::Size size) {
    std::vector<std::uint8_t> columns;
    std::uint8_t value = 0;
    for (const std::int64_t run : readRuns(counts)) {
        if (run < 0 || run > std::int64_t{size.area()}) {
            throw std::runtime_error("a run does not fit the mask");
        }
        columns.insert(columns.end(), static_cast<std::size_t>(run), value);
        value = static_cast<std::uint8_t>(255 - value);
    }
    if (columns.size() != static_cast<std::size_t>(size.area())) {
        throw std::runtime_error("the runs do not fill the mask");
    }
    cv::Mat transposed(size.width, size.height, CV_8U, columns.data());
    return cv::Mat(transposed.t());
}

cv::Mat drawPolygons(const std::vector<std::vector<int>>& polygons, cv::Size size) {
    cv::Mat mask = cv::Mat::zeros(size, CV_8U);
    for (const std::vector<int>& polygon : polygons) {
        std::vector<cv::Point> corners;
        for (std::size_t i = 0; i + 1 < polygon.size(); i += 2) {
            corners.emplace_back(polygon[i], polygon[i + 1]);
        }
        cv::fillPoly(mask, std::vector<std::vector<cv::Point>>{corners}, cv::Scalar(255));
    }
    return mask;
}

}  // namespace brellix::testing
