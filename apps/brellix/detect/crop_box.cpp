#include "detect/crop_box.h"

#include "common/numeric.h"

#include <algorithm>
#include <cmath>

namespace brellix::app {
namespace {

using ai_orvo::model::clampToBound;
using ai_orvo::model::truncateToInt;

constexpr std::size_t kNumberWidth = 6;

/// Letters, digits and points stay; no underscore does, so that the parts of a name can be told apart and no
/// two objects have the same.
std::string safeName(std::string name) {
    std::replace_if(
        name.begin(), name.end(),
        [](unsigned char c) {
            const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
            const bool isDigit = c >= '0' && c <= '9';
            return !isLetter && !isDigit && c != '.' && c != '-';
        },
        '-');
    constexpr std::size_t kLongest = 60;
    return name.substr(0, kLongest);
}

std::string frameText(const FrameId& frame) {
    const std::string number = std::to_string(frame.number);
    const std::size_t width = frame.origin == FrameOrigin::kPicture ? 1 : kNumberWidth;
    return std::string(width - std::min(width, number.size()), '0') + number;
}

}  // namespace

cv::Rect cropBox(const cv::Rect2f& box, cv::Size picture) {
    const auto width = static_cast<float>(picture.width);
    const auto height = static_cast<float>(picture.height);
    const int left = truncateToInt(clampToBound(box.x, width));
    const int top = truncateToInt(clampToBound(box.y, height));
    const int right = truncateToInt(std::ceil(clampToBound(box.x + box.width, width)));
    const int bottom = truncateToInt(std::ceil(clampToBound(box.y + box.height, height)));
    const bool isBox = box.width > 0.0F && box.height > 0.0F && left < right && top < bottom;
    return isBox ? cv::Rect(left, top, right - left, bottom - top) : cv::Rect();
}

std::string cropName(const std::string& stem, const FrameId& frame, std::size_t index,
                     const std::string& className) {
    return stem + '_' + frameText(frame) + '_' + std::to_string(index) + '_' + safeName(className) + ".jpg";
}

}  // namespace brellix::app
