#include "sources/jpeg_stream.h"

#include "console/stop_request.h"
#include "files/broken_picture.h"
#include "files/picture_reader.h"

#include <utility>

namespace brellix::app {

JpegStream::JpegStream(InputStream& stream, const std::string& name, const std::string& head)
    : stream_(stream) {
    splitter_.append(head);
    id_.source = name;
    id_.origin = FrameOrigin::kLive;
}

void JpegStream::acceptPiece(JpegPiece piece) {
    id_.number = frames_++;
    if (!piece.fault.empty()) {
        throw BrokenPicture("frame " + std::to_string(id_.number) + ' ' + piece.fault);
    }
    jpeg_ = std::move(piece.bytes);
}

void JpegStream::end() {
    isAtEnd_ = true;
    if (StopRequest::isMade()) {
        return;
    }
    if (splitter_.isInsidePicture()) {
        throw BrokenPicture("the last frame is cut off");
    }
    if (frames_ == 0) {
        throw BrokenPicture(std::string("ended without a picture: no JPEG begins in it, ") +
                            kExpectedOfStream);
    }
}

bool JpegStream::advance() {
    std::string bytes;
    while (!isAtEnd_) {
        if (auto piece = splitter_.take()) {
            acceptPiece(std::move(*piece));
            return true;
        }
        bytes.clear();
        if (stream_.appendMore(bytes)) {
            splitter_.append(bytes);
        } else {
            end();
        }
    }
    return false;
}

cv::Mat JpegStream::read() {
    return decodePicture(jpeg_);
}

}  // namespace brellix::app
