// An 8-bit image of three channels, which is what models are given, goes straight into the tensor: it is
// scaled once, its values are written once, and only the padding around it is filled. Any other image takes
// the plain way through `letterbox`.

#include "common/input_tensor.h"

#include "common/buffer_pool.h"
#include "common/letterbox_geometry.h"
#include "common/numeric.h"
#include "common/planes.h"
#include "common/subsampling.h"

#include <opencv2/dnn.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ai_orvo::model {
namespace {

using alg::common::AIBuff;

/// Whether the image can go the direct way.
bool goesDirectly(const cv::Mat& image, const LetterboxGeometry& geometry) {
    return image.type() == CV_8UC3 && canLetterboxInto(image, geometry);
}

cv::Mat letterboxed(const cv::Mat& image, cv::Size target, LetterboxInfo& info) {
    cv::Mat padded;
    info = letterbox(image, padded, target);
    return padded;
}

AIBuff tensorOfBytes(const cv::Mat& continuous) {
    const std::size_t size = continuous.total() * continuous.elemSize();
    AIBuff tensor = pooledTensor(size);
    if (size != 0) {
        std::memcpy(tensor.data->data(), continuous.data, size);
    }
    return tensor;
}

/// The pixels of an image at the size that it has in the network's input. Copied only where they have to be
/// computed.
class ScaledPixels {
  public:
    ScaledPixels(const cv::Mat& image, const cv::Size& size) : image_(image) {
        if (image.size() == size) {
            return;
        }
        factor_ = subsamplingFactor(image, size);
        if (factor_ == 0) {
            factor_ = 1;
            memory_ = pooledTensor(3 * areaOf(size));
            image_ = cv::Mat(size, CV_8UC3, memory_.data->data());
            scaleInto(image, image_);
        }
    }

    const uchar* line(int y) const { return subsampledLine(image_, factor_, y); }

    /// Bytes from a pixel to the next.
    std::size_t step() const { return 3 * static_cast<std::size_t>(factor_); }

  private:
    cv::Mat image_;
    int factor_ = 1;
    AIBuff memory_;
};

/// Fills lines by copying the first few, which stay in the nearest cache: the C library's copy knows better
/// ways to memory than a loop that stores (75 us in place of 125 for the borders of a tensor of 640 x 640).
void fillLines(float* begin, float* end, float value) {
    constexpr std::ptrdiff_t kPattern = 1024;
    const std::ptrdiff_t pattern = std::min(kPattern, end - begin);
    std::fill(begin, begin + pattern, value);
    for (float* next = begin + pattern; next < end; next += pattern) {
        std::memcpy(next, begin, static_cast<std::size_t>(std::min(pattern, end - next)) * sizeof(float));
    }
}

/// Fills what lies around `inside` in a plane of `size`.
void fillAround(float* plane, const cv::Size& size, const cv::Rect& inside, float value) {
    const auto width = static_cast<std::size_t>(size.width);
    const auto lineAt = [&](int y) { return plane + static_cast<std::size_t>(y) * width; };
    fillLines(plane, lineAt(inside.y), value);
    fillLines(lineAt(inside.br().y), lineAt(size.height), value);
    if (inside.width == size.width) {
        return;
    }
    for (int y = inside.y; y < inside.br().y; ++y) {
        std::fill(lineAt(y), lineAt(y) + inside.x, value);
        std::fill(lineAt(y) + inside.br().x, lineAt(y) + width, value);
    }
}

AIBuff directFloats(const cv::Mat& image, const LetterboxGeometry& geometry, ChannelOrder order) {
    const cv::Size size = geometry.padded();
    const std::size_t area = areaOf(size);
    AIBuff tensor = pooledTensor(3 * area * sizeof(float));
    auto* const first = reinterpret_cast<float*>(tensor.data->data());
    float* planes[3] = {first, first + area, first + 2 * area};
    for (float* const plane : planes) {
        fillAround(plane, size, geometry.inside(), unitValue(kPaddingGrey));
    }
    if (order == ChannelOrder::kRgb) {
        std::swap(planes[0], planes[2]);
    }
    const ScaledPixels pixels(image, geometry.scaled);
    for (int y = 0; y < geometry.scaled.height; ++y) {
        const std::ptrdiff_t start =
            static_cast<std::ptrdiff_t>(geometry.top + y) * size.width + geometry.left;
        splitToUnitPlanes(pixels.line(y), pixels.step(), static_cast<std::size_t>(geometry.scaled.width),
                          {planes[0] + start, planes[1] + start, planes[2] + start});
    }
    return tensor;
}

AIBuff directBytes(const cv::Mat& image, const LetterboxGeometry& geometry) {
    const cv::Size size = geometry.padded();
    AIBuff tensor = pooledTensor(3 * areaOf(size));
    letterboxInto(image, geometry, cv::Mat(size, CV_8UC3, tensor.data->data()));
    return tensor;
}

}  // namespace

AIBuff floatInput(const cv::Mat& image, const cv::Size& target, ChannelOrder order, LetterboxInfo& info) {
    const LetterboxGeometry geometry = letterboxGeometry(image, target);
    if (goesDirectly(image, geometry)) {
        info = geometry.info;
        return directFloats(image, geometry, order);
    }
    const cv::Mat padded = letterboxed(image, target, info);
    const cv::Mat blob = cv::dnn::blobFromImage(padded, kUnitScale, cv::Size(), cv::Scalar(),
                                                order == ChannelOrder::kRgb, false, CV_32F);
    return tensorOfBytes(blob);
}

AIBuff byteInput(const cv::Mat& image, const cv::Size& target, LetterboxInfo& info) {
    const LetterboxGeometry geometry = letterboxGeometry(image, target);
    if (goesDirectly(image, geometry)) {
        info = geometry.info;
        return directBytes(image, geometry);
    }
    return tensorOfBytes(letterboxed(image, target, info));
}

}  // namespace ai_orvo::model
