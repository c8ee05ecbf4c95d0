#include "common/subsampling.h"

#include <cstddef>
#include <cstring>

namespace ai_orvo::model {
namespace {

constexpr std::size_t kPixelBytes = 3;

/// \return the odd factor, at least 3, or 0 where there is none.
int oddFactor(const cv::Mat& image, const cv::Mat& result) {
    if (result.empty() || image.type() != CV_8UC3 || result.type() != CV_8UC3) {
        return 0;
    }
    const int factor = image.cols / result.cols;
    const bool fits =
        image.cols == std::int64_t{factor} * result.cols && image.rows == std::int64_t{factor} * result.rows;
    return fits && factor >= 3 && factor % 2 == 1 ? factor : 0;
}

/// Takes `count` pixels that are `step` bytes apart.
void takePixels(const uchar* pixels, std::size_t step, std::size_t count, uchar* taken) {
    // Four bytes at once are quicker than three; the fourth is the next pixel's and is overwritten by it.
    for (; count > 1; --count, pixels += step, taken += kPixelBytes) {
        std::memcpy(taken, pixels, kPixelBytes + 1);
    }
    std::memcpy(taken, pixels, kPixelBytes);
}

}  // namespace

bool subsample(const cv::Mat& image, cv::Mat& result) {
    const int factor = oddFactor(image, result);
    if (factor == 0) {
        return false;
    }
    const auto middle = static_cast<std::size_t>(factor / 2) * kPixelBytes;
    for (int y = 0; y < result.rows; ++y) {
        takePixels(image.ptr(factor * y + factor / 2) + middle,
                   static_cast<std::size_t>(factor) * kPixelBytes, static_cast<std::size_t>(result.cols),
                   result.ptr(y));
    }
    return true;
}

}  // namespace ai_orvo::model
