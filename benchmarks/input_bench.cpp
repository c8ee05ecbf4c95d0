// Picture to input tensor, floats for PCs and TensorRT, bytes for the NPU.

#include "scenes.h"
#include "stage.h"

#include "common/input_tensor.h"
#include "reference/input_tensor.h"
#include "reference/letterbox.h"

#include <opencv2/dnn.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <memory>
#include <vector>

namespace brellix::bench {
namespace {

using ai_orvo::model::ChannelOrder;

/// What every way works on.
struct InputCase {
    explicit InputCase(const cv::Size& size) : image(picture(size)) {
        const float scale =
            static_cast<float>(kInput) / static_cast<float>(std::max(size.width, size.height));
        scaledSize = {static_cast<int>(std::lround(static_cast<float>(size.width) * scale)),
                      static_cast<int>(std::lround(static_cast<float>(size.height) * scale))};
    }

    /// `cv::resize` alone, or a copy where nothing is to be resized.
    void resizeOnly() {
        if (scaledSize == image.size()) {
            image.copyTo(scaled);
        } else {
            cv::resize(image, scaled, scaledSize, 0, 0, cv::INTER_LINEAR);
        }
    }

    cv::Mat image;
    cv::Size scaledSize;
    cv::Mat scaled;
    std::vector<std::int8_t> tensor =
        std::vector<std::int8_t>(std::size_t{3} * kInput * kInput * sizeof(float));
};

std::vector<std::int8_t> referenceTensor(const cv::Mat& image, bool asFloats) {
    cv::Mat letterboxed;
    reference::letterbox(image, letterboxed, {kInput, kInput});
    return asFloats ? reference::floatBlob(letterboxed, true) : reference::rawBytes(letterboxed);
}

ai_orvo::model::AIBuff ourTensor(const cv::Mat& image, bool asFloats) {
    const cv::Size target(kInput, kInput);
    ai_orvo::model::LetterboxInfo info;
    return asFloats ? ai_orvo::model::floatInput(image, target, ChannelOrder::kRgb, info)
                    : ai_orvo::model::byteInput(image, target, info);
}

/// The three calls that everybody writes.
void threeCalls(InputCase& input) {
    input.resizeOnly();
    cv::Mat padded;
    const int top = (kInput - input.scaledSize.height) / 2;
    const int left = (kInput - input.scaledSize.width) / 2;
    cv::copyMakeBorder(input.scaled, padded, top, kInput - input.scaledSize.height - top, left,
                       kInput - input.scaledSize.width - left, cv::BORDER_CONSTANT, cv::Scalar::all(114));
    cv::Mat blob = cv::dnn::blobFromImage(padded, 1.0 / 255.0, cv::Size(), cv::Scalar(), true);
    benchmark::DoNotOptimize(blob.data);
}

Measured measure(const cv::Size& size, bool asFloats) {
    const auto input = std::make_shared<InputCase>(size);
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(ourTensor(input->image, asFloats).data); };
    measured.reference = [=] { benchmark::DoNotOptimize(referenceTensor(input->image, asFloats).data()); };
    measured.floor = [=] {
        input->resizeOnly();
        if (asFloats) {
            writeOnce(input->tensor.data(), input->tensor.size());
        }
    };
    measured.other = [=] { threeCalls(*input); };
    measured.agree = [=] {
        return *ourTensor(input->image, asFloats).data == referenceTensor(input->image, asFloats);
    };
    return measured;
}

const bool registered = [] {
    for (const cv::Size& size : {cv::Size(640, 480), cv::Size(1280, 720), cv::Size(1920, 1080),
                                 cv::Size(3840, 2160), cv::Size(1600, 1200)}) {
        const std::string name = std::to_string(size.width) + "x" + std::to_string(size.height);
        addStage("letterbox and float tensor", name, Other::kMeasured,
                 [size] { return measure(size, true); });
        addStage("letterbox and byte tensor", name, Other::kNone, [size] { return measure(size, false); });
    }
    return true;
}();

}  // namespace
}  // namespace brellix::bench
