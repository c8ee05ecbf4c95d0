#include "sources/picture_loop.h"

#include "sources/frame_loop.h"
#include "sources/picture_files.h"

namespace brellix::app {

std::size_t overPictures(const std::vector<std::string>& sources, cv::Size networkInput, Console& console,
                         const PictureTask& task) {
    PictureFiles pictures(sources);
    return overFrames(pictures, networkInput, console,
                      [&](const Frame& frame) { task(frame.id.source, frame.picture); })
        .failed;
}

}  // namespace brellix::app
