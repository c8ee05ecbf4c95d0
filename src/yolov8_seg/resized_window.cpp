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

/// One line of the plane, resized.
void resizeLine(const float* source, const std::vector<BilinearTap>& taps, float* line) {
    for (std::size_t x = 0; x < taps.size(); ++x) {
        const BilinearTap& tap = taps[x];
        line[x] = tap.low == tap.high ? source[tap.low] * tap.lowWeight
                                      : source[tap.low] * tap.lowWeight + source[tap.high] * tap.highWeight;
    }
}

void thresholdBetween(const float* lowLine, const float* highLine, const BilinearTap& tap, float threshold,
                      std::size_t count, uchar* mask) {
    std::size_t x = 0;
#if CV_SIMD128
    const cv::v_float32x4 low = cv::v_setall_f32(tap.lowWeight);
    const cv::v_float32x4 high = cv::v_setall_f32(tap.highWeight);
    const cv::v_float32x4 limit = cv::v_setall_f32(threshold);
    const auto exceeds = [&](std::size_t at) {
        return cv::v_reinterpret_as_u32(cv::v_load(lowLine + at) * low + cv::v_load(highLine + at) * high >
                                        limit);
    };
    for (; x + 16 <= count; x += 16) {
        const cv::v_uint16x8 first = cv::v_pack(exceeds(x), exceeds(x + 4));
        const cv::v_uint16x8 second = cv::v_pack(exceeds(x + 8), exceeds(x + 12));
        cv::v_store(mask + x, cv::v_pack(first, second));
    }
#endif
    for (; x < count; ++x) {
        mask[x] = lowLine[x] * tap.lowWeight + highLine[x] * tap.highWeight > threshold ? 255 : 0;
    }
}

/// Resized lines of the plane; the two that were used last are kept, since neighbouring results share them.
class LineCache {
  public:
    LineCache(const float* plane, int pitch, const std::vector<BilinearTap>& taps)
        : plane_(plane), pitch_(pitch), taps_(taps) {}

    /// Two lines of the plane; both stay valid until the next call.
    std::pair<const float*, const float*> get(int low, int high) {
        // What was the higher line is often the lower one of the next result.
        if (slots_[0].index != low && slots_[1].index == low) {
            std::swap(slots_[0], slots_[1]);
        }
        fill(slots_[0], low);
        fill(slots_[1], high);
        return {slots_[0].line.data(), slots_[1].line.data()};
    }

  private:
    struct Slot {
        int index = -1;
        std::vector<float> line;
    };

    void fill(Slot& slot, int index) {
        if (slot.index != index) {
            slot.line.resize(taps_.size());
            resizeLine(plane_ + static_cast<std::ptrdiff_t>(index) * pitch_, taps_, slot.line.data());
            slot.index = index;
        }
    }

    const float* plane_;
    int pitch_;
    const std::vector<BilinearTap>& taps_;
    Slot slots_[2];
};

}  // namespace

std::vector<BilinearTap> columnTaps(int sourceLength, int length, int first, int count) {
    const double scale = scaleOf(sourceLength, length);
    std::vector<BilinearTap> taps;
    for (int index = first; index < first + count; ++index) {
        const Position at = positionOf(index, scale);
        if (at.whole < 0) {
            taps.push_back({0, std::min(1, sourceLength - 1), 1.0F, 0.0F});
        } else if (at.whole >= sourceLength - 1) {
            taps.push_back({sourceLength - 1, sourceLength - 1, 1.0F, 0.0F});
        } else {
            taps.push_back({at.whole, at.whole + 1, 1.0F - at.fraction, at.fraction});
        }
    }
    return taps;
}

std::vector<BilinearTap> lineTaps(int sourceLength, int length, int first, int count) {
    const double scale = scaleOf(sourceLength, length);
    const auto inside = [sourceLength](int line) { return std::clamp(line, 0, sourceLength - 1); };
    std::vector<BilinearTap> taps;
    for (int index = first; index < first + count; ++index) {
        const Position at = positionOf(index, scale);
        taps.push_back({inside(at.whole), inside(at.whole + 1), 1.0F - at.fraction, at.fraction});
    }
    return taps;
}

void thresholdResized(const float* plane, int pitch, const std::vector<BilinearTap>& columns,
                      const std::vector<BilinearTap>& lines, float threshold, cv::Mat mask) {
    LineCache cache(plane, pitch, columns);
    for (std::size_t y = 0; y < lines.size(); ++y) {
        const auto [low, high] = cache.get(lines[y].low, lines[y].high);
        thresholdBetween(low, high, lines[y], threshold, columns.size(), mask.ptr(static_cast<int>(y)));
    }
}

}  // namespace ai_orvo::model
