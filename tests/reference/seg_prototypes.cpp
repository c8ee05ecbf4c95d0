#include "reference/seg_prototypes.h"

#include "reference/tensor_reading.h"

#include <cstddef>
#include <cstdint>

namespace brellix::reference {

using ai_orvo::model::AIBuff;

cv::Mat prototypesFromFloat(const AIBuff& proto, int count, int height, int width) {
    cv::Mat matrix = cv::Mat::zeros(count, height * width, CV_32F);
    const std::size_t held = byteCount(proto) / sizeof(float);
    for (std::size_t e = 0; e < matrix.total() && e < held; ++e) {
        matrix.ptr<float>()[e] = floatElement(proto, e);
    }
    return matrix;
}

cv::Mat prototypesFromInt8(const AIBuff& proto, int count, int height, int width) {
    cv::Mat matrix = cv::Mat::zeros(count, height * width, CV_32F);
    const std::size_t held = byteCount(proto);
    for (std::size_t e = 0; e < matrix.total() && e < held; ++e) {
        const std::int64_t difference = static_cast<std::int64_t>(byteElement(proto, e)) - proto.zp;
        matrix.ptr<float>()[e] = static_cast<float>(difference);
    }
    return matrix;
}

}  // namespace brellix::reference
