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

    /// The pixel of three bytes at `from`, blended, to `to`.
    void apply(const uchar* from, uchar* to) const {
        const uchar* const entries = table_.ptr();
        for (int channel = 0; channel < 3; ++channel) {
            to[channel] = entries[3 * from[channel] + channel];
        }
    }

  private:
    cv::Mat table_;
};

/// The next position from `x` on whose byte is not 0, or `count`.
std::size_t nextMasked(const uchar* mask, std::size_t x, std::size_t count) {
#if CV_SIMD128
    const cv::v_uint8x16 zero = cv::v_setzero_u8();
    while (x + 16 <= count && !cv::v_check_any(cv::v_load(mask + x) != zero)) {
        x += 16;
    }
#endif
    while (x < count && mask[x] == 0) {
        ++x;
    }
    return x;
}

void blendMasked(const cv::Mat& image, const cv::Mat& mask, const BlendTable& table, cv::Mat& blended) {
    const auto width = static_cast<std::size_t>(image.cols);
    for (int y = 0; y < image.rows; ++y) {
        const uchar* const line = mask.ptr(y);
        for (std::size_t x = nextMasked(line, 0, width); x < width; x = nextMasked(line, x, width)) {
            for (; x < width && line[x] != 0; ++x) {
                table.apply(image.ptr(y) + 3 * x, blended.ptr(y) + 3 * x);
            }
        }
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
            blendMasked(image, objects[i].mask, BlendTable(colors[i]), blended);
        }
    }
    return blended;
}

}  // namespace ai_orvo::model
