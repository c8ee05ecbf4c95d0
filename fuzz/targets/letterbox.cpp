// letterbox against its reference: pictures of every type that can be resized, submatrices, empty ones, any
// target. Capped: pictures of 256 x 256, targets of 300 x 300.

#include "reference/letterbox.h"
#include "support/comparison.h"
#include "support/require.h"
#include "support/target.h"
#include "support/tensors.h"

#include "brellix/letterbox.h"

#include <optional>

namespace brellix::fuzz {
namespace {

using ai_orvo::model::LetterboxInfo;

struct Letterboxed {
    cv::Mat image;
    LetterboxInfo info{};
};

/// Nothing where OpenCV refuses the sizes or the type.
template <typename Letterbox>
std::optional<Letterboxed> resultOf(Letterbox letterbox) {
    Letterboxed result;
    try {
        result.info = letterbox(result.image);
    } catch (const cv::Exception&) {
        return std::nullopt;
    }
    return result;
}

/// The whole noise, a part of it, or nothing.
cv::Mat sourceFrom(FuzzedData& data) {
    const int depth = data.byte() < 200 ? CV_8U : data.integer(CV_8U, CV_16F);
    const int type = CV_MAKETYPE(depth, data.byte() < 200 ? 3 : data.integer(1, 6));
    cv::Mat whole = picture(data, 256, depth == CV_16F ? CV_8UC3 : type);
    const std::uint8_t kind = data.byte();
    if (kind < 160) {
        return whole;
    }
    const cv::Rect part{data.integer(0, 255), data.integer(0, 255), data.integer(0, 255),
                        data.integer(0, 255)};
    return kind < 240 ? whole(part & cv::Rect({0, 0}, whole.size())) : cv::Mat();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    const cv::Mat source = sourceFrom(data);
    cv::Size target{data.integer(-2, 300), data.integer(-2, 300)};
    const bool isInPlace = data.byte() >= 224;
    const cv::Mat copy = source.clone();
    const auto expected = resultOf([&](cv::Mat& image) { return reference::letterbox(copy, image, target); });
    const auto actual = resultOf([&](cv::Mat& image) {
        image = isInPlace ? source : cv::Mat();
        return ai_orvo::model::letterbox(source, image, target);
    });
    require(actual.has_value() == expected.has_value(), "one of the two refuses the picture");
    if (actual) {
        require(testing::sameLetterbox(actual->info, expected->info), "record");
        require(testing::sameImage(actual->image, expected->image), "picture");
    }
    return 0;
}

}  // namespace brellix::fuzz
