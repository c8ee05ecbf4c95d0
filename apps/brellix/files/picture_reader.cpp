#include "files/picture_reader.h"

#include "files/broken_picture.h"
#include "files/file_kind.h"
#include "files/readable_file.h"

#include <opencv2/imgcodecs.hpp>

namespace brellix::app {
namespace {

template <typename Decode>
cv::Mat decodedBy(const Decode& decode) {
    cv::Mat picture;
    try {
        picture = decode();
    } catch (const cv::Exception& exception) {
        throw BrokenPicture("cannot be decoded: " + exception.err);
    }
    if (picture.empty()) {
        throw BrokenPicture("not a picture, or a damaged one, or of a format that OpenCV does not read here");
    }
    return picture;
}

}  // namespace

cv::Mat readPicture(const std::string& path) {
    requireReadableSource(path);
    if (isVideoFile(path)) {
        throw BrokenPicture("a video, expected a picture: detect alone takes videos, as its arguments");
    }
    return decodedBy([&] { return cv::imread(path, cv::IMREAD_COLOR); });
}

cv::Mat decodePicture(const std::string& bytes) {
    return decodedBy([&] {
        // The decoder only reads; its interface does not say so.
        const cv::Mat data(1, static_cast<int>(bytes.size()), CV_8U, const_cast<char*>(bytes.data()));
        return cv::imdecode(data, cv::IMREAD_COLOR);
    });
}

}  // namespace brellix::app
