// The arithmetic is that of OpenCV's float resize: the position in double precision narrowed to single, the
// line first, then the column, every product rounded before the sum. Written out here it is the same on every
// processor, and only the pixels of an object's box are made.

#include "yolov8_seg/resized_window.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace ai_orvo::model {
namespace {

/// Where a coordinate of the result lies in the source: a whole number and what is left over.
struct Position {
    int whole;
    float fraction;
};

Position positionOf(int index, double scale) {
    const auto exact = static_cast<float>((index + 0.5) * scale - 0.5);
    const float whole = std::floor(exact);
    return {static_cast<int>(whole), exact - whole};
}

/// OpenCV's own way to the scale; the direct quotient has other low bits.
double scaleOf(int sourceLength, int length) {
    return 1.0 / (static_cast<double>(length) / sourceLength);
}

void thresholdBetween(const float* lowLine, const float* highLine, float lowWeight, float highWeight,
                      float limit, std::size_t count, uchar* mask) {
    std::size_t x = 0;
#if CV_SIMD128
    const cv::v_float32x4 low = cv::v_setall_f32(lowWeight);
    const cv::v_float32x4 high = cv::v_setall_f32(highWeight);
    const cv::v_float32x4 limits = cv::v_setall_f32(limit);
    const auto exceeds = [&](std::size_t at) {
        return cv::v_reinterpret_as_u32(cv::v_load(lowLine + at) * low + cv::v_load(highLine + at) * high >
                                        limits);
    };
    for (; x + 16 <= count; x += 16) {
        const cv::v_uint16x8 first = cv::v_pack(exceeds(x), exceeds(x + 4));
        const cv::v_uint16x8 second = cv::v_pack(exceeds(x + 8), exceeds(x + 12));
        cv::v_store(mask + x, cv::v_pack(first, second));
    }
#endif
    for (; x < count; ++x) {
        mask[x] = lowLine[x] * lowWeight + highLine[x] * highWeight > limit ? 255 : 0;
    }
}

}  // namespace

void ResizedWindow::ColumnTaps::clear() {
    low.clear();
    lowWeight.clear();
    highWeight.clear();
    interpolated = 0;
}

void ResizedWindow::ColumnTaps::add(int lowColumn, float weight, float nextWeight) {
    low.push_back(lowColumn);
    lowWeight.push_back(weight);
    highWeight.push_back(nextWeight);
}

cv::Rect ResizedWindow::choose(const cv::Rect& box) {
    const cv::Range across = chooseColumns(box.x, box.width);
    const cv::Range down = chooseLines(box.y, box.height);
    pitch_ = across.size();
    return {across.start, down.start, across.size(), down.size()};
}

cv::Range ResizedWindow::chooseColumns(int first, int count) {
    const double scale = scaleOf(source_.width, result_.width);
    const int last = source_.width - 1;
    const int start = std::clamp(positionOf(first, scale).whole, 0, last);
    int end = start;
    columns_.clear();
    for (int index = first; index < first + count; ++index) {
        const Position at = positionOf(index, scale);
        const bool isBefore = at.whole < 0;
        const int low = std::clamp(at.whole, 0, last);
        if (low == last) {
            columns_.add(low - start, 1.0F, 0.0F);
        } else {
            columns_.add(low - start, isBefore ? 1.0F : 1.0F - at.fraction, isBefore ? 0.0F : at.fraction);
            ++columns_.interpolated;
        }
        end = std::min(low + 1, last) + 1;
    }
    return {start, end};
}

cv::Range ResizedWindow::chooseLines(int first, int count) {
    const double scale = scaleOf(source_.height, result_.height);
    const auto inside = [this](int line) { return std::clamp(line, 0, source_.height - 1); };
    const int start = inside(positionOf(first, scale).whole);
    int end = start;
    lines_.clear();
    for (int index = first; index < first + count; ++index) {
        const Position at = positionOf(index, scale);
        const int high = inside(at.whole + 1);
        lines_.push_back({inside(at.whole) - start, high - start, 1.0F - at.fraction, at.fraction});
        end = high + 1;
    }
    return {start, end};
}

void ResizedWindow::resizeLine(const float* values, int index, ResizedLine& line) const {
    if (line.index == index) {
        return;
    }
    line.index = index;
    line.values.resize(columns_.low.size());
    const float* const source = values + static_cast<std::ptrdiff_t>(index) * pitch_;
    std::size_t x = 0;
#if CV_SIMD128
    for (; x + 4 <= columns_.interpolated; x += 4) {
        cv::v_float32x4 low;
        cv::v_float32x4 high;
        cv::v_lut_deinterleave(source, cv::v_load(&columns_.low[x]), low, high);
        cv::v_store(&line.values[x],
                    low * cv::v_load(&columns_.lowWeight[x]) + high * cv::v_load(&columns_.highWeight[x]));
    }
#endif
    for (; x < columns_.interpolated; ++x) {
        const float* const low = source + columns_.low[x];
        line.values[x] = low[0] * columns_.lowWeight[x] + low[1] * columns_.highWeight[x];
    }
    for (; x < columns_.low.size(); ++x) {
        line.values[x] = source[columns_.low[x]] * columns_.lowWeight[x];
    }
}

void ResizedWindow::resizeLines(const float* values, const LineTap& tap) {
    // What was the higher line is often the lower one of the next result.
    if (resized_[0].index != tap.low && resized_[1].index == tap.low) {
        std::swap(resized_[0], resized_[1]);
    }
    resizeLine(values, tap.low, resized_[0]);
    resizeLine(values, tap.high, resized_[1]);
}

void ResizedWindow::threshold(const float* values, float limit, cv::Mat mask) {
    for (ResizedLine& line : resized_) {
        line.index = -1;
    }
    for (std::size_t y = 0; y < lines_.size(); ++y) {
        const LineTap& tap = lines_[y];
        resizeLines(values, tap);
        thresholdBetween(resized_[0].values.data(), resized_[1].values.data(), tap.lowWeight, tap.highWeight,
                         limit, columns_.low.size(), mask.ptr(static_cast<int>(y)));
    }
}

}  // namespace ai_orvo::model
