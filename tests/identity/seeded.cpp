#include "identity/seeded.h"

#include "support/hostile_floats.h"

#include <algorithm>

namespace brellix::testing {

int Seeded::integer(int low, int high) {
    return low + static_cast<int>(draw() % (static_cast<std::uint32_t>(high - low) + 1U));
}

float Seeded::real(float low, float high) {
    const float fraction = static_cast<float>(draw() >> 8U) * 0x1p-24F;
    return low + (high - low) * fraction;
}

float Seeded::hostile() {
    return oneOf(kHostileFloats);
}

std::vector<std::int8_t> Seeded::bytes(std::size_t count) {
    std::vector<std::int8_t> values(count);
    for (std::int8_t& value : values) {
        value = static_cast<std::int8_t>(integer(-128, 127));
    }
    return values;
}

std::vector<float> Seeded::reals(std::size_t count, float low, float high) {
    std::vector<float> values(count);
    for (float& value : values) {
        value = real(low, high);
    }
    return values;
}

cv::Mat Seeded::image(const cv::Size& size, int channels) {
    cv::Mat picture(size, CV_8UC(channels));
    for (int row = 0; row < picture.rows; ++row) {
        unsigned char* values = picture.ptr(row);
        std::generate_n(values, picture.cols * channels,
                        [this] { return static_cast<unsigned char>(draw() >> 24U); });
    }
    return picture;
}

cv::Mat Seeded::mask(const cv::Size& size) {
    cv::Mat picture = cv::Mat::zeros(size, CV_8U);
    const int centreX = integer(0, size.width - 1);
    const int centreY = integer(0, size.height - 1);
    const int radius = integer(1, std::max(size.width, size.height) / 2 + 1);
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const int dx = x - centreX;
            const int dy = y - centreY;
            if (dx * dx + dy * dy < radius * radius && !oneIn(50)) {
                picture.at<unsigned char>(y, x) = 255;
            }
        }
    }
    return picture;
}

}  // namespace brellix::testing
