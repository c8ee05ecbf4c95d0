#include "common/subsampling.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ai_orvo::model {
namespace {

constexpr std::size_t kPixelBytes = 3;

/// Takes `count` pixels that are `step` bytes apart.
void takePixels(const uchar* pixels, std::size_t step, std::size_t count, uchar* taken) {
    // Four bytes at once are quicker than three; the fourth is the next pixel's and is overwritten by it.
    for (; count > 1; --count, pixels += step, taken += kPixelBytes) {
        std::memcpy(taken, pixels, kPixelBytes + 1);
    }
    std::memcpy(taken, pixels, kPixelBytes);
}

}  // namespace

int subsamplingFactor(const cv::Mat& image, const cv::Size& result) {
    if (result.empty() || image.type() != CV_8UC3) {
        return 0;
    }
    const int factor = image.cols / result.width;
    const bool fits = image.cols == std::int64_t{factor} * result.width &&
                      image.rows == std::int64_t{factor} * result.height;
    return fits && factor >= 3 && factor % 2 == 1 ? factor : 0;
}

void subsample(const cv::Mat& image, int factor, cv::Mat& result) {
    for (int y = 0; y < result.rows; ++y) {
        takePixels(subsampledLine(image, factor, y), static_cast<std::size_t>(factor) * kPixelBytes,
                   static_cast<std::size_t>(result.cols), result.ptr(y));
    }
}

}  // namespace ai_orvo::model
