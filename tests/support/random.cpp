#include "support/random.h"

#include "support/hostile_floats.h"

#include <algorithm>

namespace brellix::testing {

int Random::length(int high) {
    return chance(0.1) ? integer(1, high) : integer(1, std::min(high, 200));
}

float Random::hostile() {
    return oneOf(kHostileFloats);
}

cv::Mat Random::image(const cv::Size& size, int type) {
    cv::Mat picture(size, type);
    cv::RNG noise(engine_());
    noise.fill(picture, cv::RNG::UNIFORM, 0, 256);
    return picture;
}

std::vector<std::int8_t> Random::bytes(std::size_t count) {
    std::vector<std::int8_t> values(count);
    std::generate(values.begin(), values.end(),
                  [this] { return static_cast<std::int8_t>(integer(-128, 127)); });
    return values;
}

}  // namespace brellix::testing
