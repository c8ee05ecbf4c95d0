// What a pixel becomes depends on its value and the colour alone. So the image is blended with itself once,
// and each mask's pixels are then looked up in a table of what its colour makes of every value, in place of
// colouring a second image and blending both.

#include "common/mask_overlay.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <array>
#include <cstddef>

namespace ai_orvo::model {
namespace {

constexpr int kValues = 256;

void blend(const cv::Mat& image, const cv::Mat& colored, cv::Mat& blended) {
    cv::addWeighted(image, 0.5, colored, 0.8, 1.0, blended);
}

/// What blending with a colour makes of each value of each channel.
class BlendTable {
  public:
    explicit BlendTable(const cv::Scalar& color) {
        cv::Mat values(1, kValues, CV_8UC3);
        for (int value = 0; value < kValues; ++value) {
            values.at<cv::Vec3b>(value) = cv::Vec3b::all(static_cast<uchar>(value));
        }
        blend(values, cv::Mat(values.size(), values.type(), color), table_);
    }

    uchar entry(int value, int channel) const { return table_.ptr()[3 * value + channel]; }

    /// The pixel of three bytes at `from`, blended, to `to`.
    void apply(const uchar* from, uchar* to) const {
        for (int channel = 0; channel < 3; ++channel) {
            to[channel] = entry(from[channel], channel);
        }
    }

  private:
    cv::Mat table_;
};

/// The table's rule for a channel: half the value and a constant, saturated; an odd value's half pixel is
/// rounded up, down, or, where it meets a whole constant, to even.
struct HalvingRule {
    uchar constant;
    uchar oddStep;      ///< 1 where odd values are rounded up
    uchar oddSumsStep;  ///< 1 where only odd values with an odd sum are

    uchar of(int value) const {
        const int sum = std::min(value / 2 + constant, kValues - 1);
        const int step = value & (oddStep | (oddSumsStep & sum)) & 1;
        return static_cast<uchar>(std::min(sum + step, kValues - 1));
    }

    bool explains(const BlendTable& table, int channel) const {
        for (int value = 0; value < kValues; ++value) {
            if (of(value) != table.entry(value, channel)) {
                return false;
            }
        }
        return true;
    }
};

/// Blends with a colour, sixteen pixels at a time where the table turns out to follow the rule.
class Blending {
  public:
    explicit Blending(const cv::Scalar& color) : table_(color) {
        for (int channel = 0; channel < 3; ++channel) {
            hasRule_ = hasRule_ && findRule(channel);
        }
    }

    /// Blends the pixels whose mask is not 0.
    void apply(const uchar* mask, std::size_t count, const uchar* from, uchar* to) const {
        for (std::size_t x = nextMasked(mask, 0, count); x < count; x = nextMasked(mask, x, count)) {
#if CV_SIMD128
            while (hasRule_ && x + kLanes <= count &&
                   !cv::v_check_any(cv::v_load(mask + x) == cv::v_setzero_u8())) {
                applyRule(from + 3 * x, to + 3 * x);
                x += kLanes;
            }
#endif
            const std::size_t end = std::min(count, x + kLanes);
            for (; x < end && mask[x] != 0; ++x) {
                table_.apply(from + 3 * x, to + 3 * x);
            }
        }
    }

  private:
    static constexpr std::size_t kLanes = 16;

    bool findRule(int channel) {
        const uchar constant = table_.entry(0, channel);
        for (const HalvingRule& rule :
             {HalvingRule{constant, 0, 0}, HalvingRule{constant, 1, 0}, HalvingRule{constant, 0, 1}}) {
            if (rule.explains(table_, channel)) {
                for (std::size_t i = static_cast<std::size_t>(channel); i < constants_.size(); i += 3) {
                    constants_[i] = rule.constant;
                    oddSteps_[i] = rule.oddStep;
                    oddSumsSteps_[i] = rule.oddSumsStep;
                }
                return true;
            }
        }
        return false;
    }

    /// The next position from `x` on whose byte is not 0, or `count`.
    static std::size_t nextMasked(const uchar* mask, std::size_t x, std::size_t count) {
#if CV_SIMD128
        const auto isZero = [](const cv::v_uint8x16& bytes) {
            return cv::v_check_all(bytes == cv::v_setzero_u8());
        };
        while (x + 4 * kLanes <= count &&
               isZero((cv::v_load(mask + x) | cv::v_load(mask + x + kLanes)) |
                      (cv::v_load(mask + x + 2 * kLanes) | cv::v_load(mask + x + 3 * kLanes)))) {
            x += 4 * kLanes;
        }
        while (x + kLanes <= count && isZero(cv::v_load(mask + x))) {
            x += kLanes;
        }
#endif
        while (x < count && mask[x] == 0) {
            ++x;
        }
        return x;
    }

#if CV_SIMD128
    void applyRule(const uchar* from, uchar* to) const {
        const cv::v_uint8x16 one = cv::v_setall_u8(1);
        const cv::v_uint8x16 lowBits = cv::v_setall_u8(0x7F);
        for (std::size_t i = 0; i < constants_.size(); i += kLanes) {
            const cv::v_uint8x16 values = cv::v_load(from + i);
            const cv::v_uint8x16 halves =
                cv::v_reinterpret_as_u8(cv::v_reinterpret_as_u16(values) >> 1) & lowBits;
            const cv::v_uint8x16 sums = halves + cv::v_load(&constants_[i]);
            const cv::v_uint8x16 steps =
                values & (cv::v_load(&oddSteps_[i]) | (cv::v_load(&oddSumsSteps_[i]) & sums)) & one;
            cv::v_store(to + i, sums + steps);
        }
    }
#endif

    BlendTable table_;
    bool hasRule_ = true;
    // For the bytes of sixteen pixels.
    std::array<uchar, 3 * kLanes> constants_{};
    std::array<uchar, 3 * kLanes> oddSteps_{};
    std::array<uchar, 3 * kLanes> oddSumsSteps_{};
};

void blendMasked(const cv::Mat& image, const cv::Mat& mask, const Blending& blending, cv::Mat& blended) {
    for (int y = 0; y < image.rows; ++y) {
        blending.apply(mask.ptr(y), static_cast<std::size_t>(image.cols), image.ptr(y), blended.ptr(y));
    }
}

bool isUsual(const cv::Mat& image, const std::vector<Object>& objects) {
    return image.type() == CV_8UC3 &&
           std::all_of(objects.begin(), objects.end(), [&image](const Object& object) {
               return object.mask.empty() ||
                      (object.mask.type() == CV_8UC1 && object.mask.size() == image.size());
           });
}

/// For images and masks of any other type, and for OpenCV's refusal of masks that do not fit.
cv::Mat overlayPlainly(const cv::Mat& image, const std::vector<Object>& objects,
                       const std::vector<cv::Scalar>& colors) {
    // OpenCV 4.6 has no blending of half floats and calls it all the same.
    CV_Assert(image.depth() != CV_16F);
    cv::Mat colored = image.clone();
    for (std::size_t i = 0; i < objects.size(); ++i) {
        // OpenCV takes an empty mask for the whole picture.
        if (!objects[i].mask.empty()) {
            colored.setTo(colors[i], objects[i].mask);
        }
    }
    cv::Mat blended;
    blend(image, colored, blended);
    return blended;
}

}  // namespace

cv::Mat overlayMasks(const cv::Mat& image, const std::vector<Object>& objects,
                     const std::vector<cv::Scalar>& colors) {
    if (!isUsual(image, objects)) {
        return overlayPlainly(image, objects, colors);
    }
    cv::Mat blended;
    blend(image, image, blended);
    for (std::size_t i = 0; i < objects.size(); ++i) {
        if (!objects[i].mask.empty()) {
            blendMasked(image, objects[i].mask, Blending(colors[i]), blended);
        }
    }
    return blended;
}

}  // namespace ai_orvo::model
