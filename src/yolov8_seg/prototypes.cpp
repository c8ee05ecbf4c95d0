#include "yolov8_seg/prototypes.h"

#include "common/buffer_pool.h"
#include "common/numeric.h"
#include "common/tensors.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ai_orvo::model {
namespace {

/// One prototype a row.
cv::Size matrixSize(const YOLOv8Seg& model) {
    return {std::max(wrappingProduct(model.protoHeight, model.protoWidth), 0),
            std::max(model.maskCoefCount, 0)};
}

/// out[i] = bytes[i] - zeroPoint, exactly.
void subtractZeroPoint(const std::int8_t* bytes, std::size_t count, int zeroPoint, float* out) {
    std::size_t i = 0;
#if CV_SIMD128
    // Beyond this the difference would not fit 32 bits, or not be a float.
    constexpr int kExactLimit = 1 << 23;
    if (zeroPoint >= -kExactLimit && zeroPoint <= kExactLimit) {
        const cv::v_int32x4 zero = cv::v_setall_s32(zeroPoint);
        for (; i + 4 <= count; i += 4) {
            cv::v_store(out + i, cv::v_cvt_f32(cv::v_load_expand_q(bytes + i) - zero));
        }
    }
#endif
    for (; i < count; ++i) {
        out[i] = static_cast<float>(std::int64_t{bytes[i]} - zeroPoint);
    }
}

void copyFloats(const AIBuff& proto, std::size_t count, float* out) {
    if (count != 0) {
        std::memcpy(out, proto.data->data(), count * sizeof(float));
    }
}

/// Fills a continuous matrix. What the tensor does not hold becomes 0.
void fill(const AIBuff& proto, bool isQuantized, cv::Mat& matrix) {
    const std::size_t available = isQuantized ? ByteView(proto).size() : FloatView(proto).size();
    const std::size_t count = std::min(available, matrix.total());
    if (count < matrix.total()) {
        matrix.setTo(0.0F);
    }
    if (isQuantized) {
        subtractZeroPoint(ByteView(proto).data(), count, proto.zp, matrix.ptr<float>());
    } else {
        copyFloats(proto, count, matrix.ptr<float>());
    }
}

}  // namespace

cv::Mat prototypesOf(const YOLOv8Seg& model, const AIBuff& proto, AIBuff& memory) {
    const cv::Size size = matrixSize(model);
    if (!model.isQuantized && areaOf(size) != 0 && FloatView(proto).size() >= areaOf(size)) {
        memory = proto;
        return {size, CV_32F, memory.data->data()};
    }
    memory = pooledTensor(areaOf(size) * sizeof(float));
    cv::Mat matrix(size, CV_32F, memory.data->data());
    fill(proto, model.isQuantized, matrix);
    return matrix;
}

void YOLOv8Seg::decodeMask_fp32(AIBuff& proto, cv::Mat& out) {
    out = cv::Mat(matrixSize(*this), CV_32F);
    fill(proto, false, out);
}

void YOLOv8Seg::decodeMask_i8(AIBuff& proto, cv::Mat& out) {
    out = cv::Mat(matrixSize(*this), CV_32F);
    fill(proto, true, out);
}

}  // namespace ai_orvo::model
