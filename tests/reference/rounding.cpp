#include "reference/rounding.h"

#include <cmath>
#include <limits>

namespace brellix::reference {

int truncateTowardZero(float value) {
    if (std::isnan(value)) {
        return 0;
    }
    // 2^31 is a float, 2^31 - 1 is not.
    if (value >= 2147483648.0F) {
        return std::numeric_limits<int>::max();
    }
    if (value <= -2147483648.0F) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(value);
}

int roundHalfAwayFromZero(float value) {
    return truncateTowardZero(std::round(value));
}

int roundToNearest(float value) {
    return truncateTowardZero(std::nearbyint(value));
}

cv::Rect wholePixelBox(const cv::Rect_<float>& box) {
    return {roundToNearest(box.x), roundToNearest(box.y), roundToNearest(box.width),
            roundToNearest(box.height)};
}

float limitToRange(float value, float bound) {
    if (!(value > 0.0F)) {
        return 0.0F;
    }
    if (!(value < bound)) {
        return bound;
    }
    return value;
}

}  // namespace brellix::reference
