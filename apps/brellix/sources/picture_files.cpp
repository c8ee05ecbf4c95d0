#include "sources/picture_files.h"

#include "files/picture_reader.h"

namespace brellix::app {

bool PictureFiles::advance() {
    if (next_ == paths_.size()) {
        return false;
    }
    id_.source = paths_[next_++];
    return true;
}

cv::Mat PictureFiles::read() {
    return readPicture(id_.source);
}

}  // namespace brellix::app
