// The arithmetic is that of OpenCV's float resize: the position in double precision narrowed to single, the
// line first, then the column, every product rounded before the sum. Written out here it is the same on every
// processor, and only the pixels of an object's box are made.
//
// A pixel is interpolated only where its neighbours in the source differ in sign. Weights lie between 0 and
// 1: if no neighbour is positive, neither is any product or sum, nor is NaN ever; if all are positive, finite
// and far enough from 0 not to vanish in a product, so is every sum.

#include "yolov8_seg/resized_window.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace ai_orvo::model {
namespace {

/// Columns of the result that are decided at once.
constexpr std::size_t kBlock = 16;

/// Looking at the signs pays where it spares at least so many lines.
constexpr int kSmallestBand = 4;

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

/// Two resized lines, and how a line of the result is mixed of them.
struct LinePair {
    const float* low;
    const float* high;
    float lowWeight;
    float highWeight;
};

void markPositiveBetween(const LinePair& lines, std::size_t begin, std::size_t end, uchar* mask) {
    std::size_t x = begin;
#if CV_SIMD128
    const cv::v_float32x4 lowWeight = cv::v_setall_f32(lines.lowWeight);
    const cv::v_float32x4 highWeight = cv::v_setall_f32(lines.highWeight);
    const cv::v_float32x4 zero = cv::v_setzero_f32();
    const auto isPositive = [&](std::size_t at) {
        return cv::v_reinterpret_as_u32(
            cv::v_load(lines.low + at) * lowWeight + cv::v_load(lines.high + at) * highWeight > zero);
    };
    for (; x + kBlock <= end; x += kBlock) {
        const cv::v_uint16x8 first = cv::v_pack(isPositive(x), isPositive(x + 4));
        const cv::v_uint16x8 second = cv::v_pack(isPositive(x + 8), isPositive(x + 12));
        cv::v_store(mask + x, cv::v_pack(first, second));
    }
#endif
    for (; x < end; ++x) {
        mask[x] = lines.low[x] * lines.lowWeight + lines.high[x] * lines.highWeight > 0.0F ? 255 : 0;
    }
}

// What is known of a column of the source in two lines.
constexpr unsigned char kNeverPositive = 1;
constexpr unsigned char kAlwaysPositive = 2;

unsigned char signOf(float low, float high) {
    // Far above what two products with weights of a half can push below the smallest float.
    constexpr float kSmallest = 1e-20F;
    constexpr float kLargest = std::numeric_limits<float>::max();
    const bool isPositive = low >= kSmallest && low <= kLargest && high >= kSmallest && high <= kLargest;
    const bool isSomewherePositive = low > 0.0F || high > 0.0F;
    return static_cast<unsigned char>((isPositive ? kAlwaysPositive : 0) |
                                      (isSomewherePositive ? 0 : kNeverPositive));
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

void ResizedWindow::findSigns(const float* values, const LineTap& tap) {
    const float* const low = values + static_cast<std::ptrdiff_t>(tap.low) * pitch_;
    const float* const high = values + static_cast<std::ptrdiff_t>(tap.high) * pitch_;
    signs_.resize(static_cast<std::size_t>(pitch_));
    for (std::size_t column = 0; column < signs_.size(); ++column) {
        signs_[column] = signOf(low[column], high[column]);
    }
}

void ResizedWindow::addRun(const Run& run) {
    if (!runs_.empty() && runs_.back().end == run.begin && runs_.back().isPositive == run.isPositive) {
        runs_.back().end = run.end;
    } else {
        runs_.push_back(run);
    }
}

void ResizedWindow::findRuns(const float* values, const Band& band) {
    runs_.clear();
    const std::size_t count = columns_.low.size();
    if (band.size() < kSmallestBand) {
        runs_.push_back({0, count, false});
        return;
    }
    findSigns(values, lines_[static_cast<std::size_t>(band.start)]);
    const auto last = signs_.size() - 1;
    for (std::size_t x = 0; x < count; x += kBlock) {
        const std::size_t end = std::min(x + kBlock, count);
        const auto from = static_cast<std::size_t>(columns_.low[x]);
        const std::size_t to = std::min(static_cast<std::size_t>(columns_.low[end - 1]) + 1, last);
        unsigned char common = kNeverPositive | kAlwaysPositive;
        for (std::size_t column = from; column <= to; ++column) {
            common &= signs_[column];
        }
        if ((common & kNeverPositive) == 0) {
            addRun({x, end, (common & kAlwaysPositive) != 0});
        }
    }
}

void ResizedWindow::markBand(const Band& band, cv::Mat& mask) const {
    for (int y = band.start; y < band.end; ++y) {
        const LineTap& tap = lines_[static_cast<std::size_t>(y)];
        const LinePair lines{resized_[0].values.data(), resized_[1].values.data(), tap.lowWeight,
                             tap.highWeight};
        uchar* const line = mask.ptr(y);
        for (const Run& run : runs_) {
            if (run.isPositive) {
                std::fill(line + run.begin, line + run.end, uchar{255});
            } else {
                markPositiveBetween(lines, run.begin, run.end, line);
            }
        }
    }
}

void ResizedWindow::markPositive(const float* values, cv::Mat mask) {
    for (ResizedLine& line : resized_) {
        line.index = -1;
    }
    const int count = static_cast<int>(lines_.size());
    for (Band band(0, 0); band.start < count; band.start = band.end) {
        const LineTap& tap = lines_[static_cast<std::size_t>(band.start)];
        const auto isOfBand = [&](const LineTap& other) {
            return other.low == tap.low && other.high == tap.high;
        };
        while (band.end < count && isOfBand(lines_[static_cast<std::size_t>(band.end)])) {
            ++band.end;
        }
        findRuns(values, band);
        if (std::any_of(runs_.begin(), runs_.end(), [](const Run& run) { return !run.isPositive; })) {
            resizeLines(values, tap);
        }
        markBand(band, mask);
    }
}

}  // namespace ai_orvo::model
