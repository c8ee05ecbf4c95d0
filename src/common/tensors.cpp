#include "common/tensors.h"

#include <opencv2/dnn.hpp>

#include <stdexcept>

namespace ai_orvo::model {
namespace {

using alg::common::AIBuff;

// A single-precision factor widened to double: dividing by 255 would give other low bits.
constexpr double kByteScale = static_cast<double>(1.0F / 255.0F);

}  // namespace

AIBuff planarFloatTensor(const cv::Mat& letterboxed, ChannelOrder order) {
    const bool swapRedAndBlue = order == ChannelOrder::kRgb;
    const bool crop = false;
    const cv::Mat blob = cv::dnn::blobFromImage(letterboxed, kByteScale, cv::Size(), cv::Scalar(),
                                                swapRedAndBlue, crop, CV_32F);
    return byteTensor(blob);
}

AIBuff byteTensor(const cv::Mat& letterboxed) {
    AIBuff tensor;
    const std::size_t size = letterboxed.total() * letterboxed.elemSize();
    tensor.data->resize(size);
    if (size != 0) {
        std::memcpy(tensor.data->data(), letterboxed.data, size);
    }
    return tensor;
}

AIBuff sizedTensor(int elements, std::size_t elementSize) {
    if (elements < 0) {
        throw std::length_error("the configured output size is negative");
    }
    AIBuff tensor;
    tensor.data->resize(static_cast<std::size_t>(elements) * elementSize);
    return tensor;
}

}  // namespace ai_orvo::model
