#include "reference/input_tensor.h"

#include <opencv2/dnn.hpp>

#include <cstring>

namespace brellix::reference {

namespace {

std::vector<std::int8_t> bytesOf(const cv::Mat& continuous) {
    CV_Assert(continuous.isContinuous());
    std::vector<std::int8_t> bytes(continuous.total() * continuous.elemSize());
    std::memcpy(bytes.data(), continuous.data, bytes.size());
    return bytes;
}

}  // namespace

std::vector<std::int8_t> floatBlob(const cv::Mat& letterboxed, bool swapRedBlue) {
    // The quotient is rounded to float first; the double nearest to 1 / 255 gives other bits.
    const double scale = static_cast<double>(1.0F / 255.0F);
    const cv::Mat blob = cv::dnn::blobFromImage(letterboxed, scale, cv::Size(0, 0), cv::Scalar(0, 0, 0, 0),
                                                swapRedBlue, false, CV_32F);
    return bytesOf(blob);
}

std::vector<std::int8_t> rawBytes(const cv::Mat& letterboxed) {
    return bytesOf(letterboxed.clone());
}

}  // namespace brellix::reference
