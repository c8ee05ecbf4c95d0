#include "identity/sample_pictures.h"

#include <opencv2/imgcodecs.hpp>

#include <stdexcept>
#include <string>

namespace brellix::testing {

std::vector<cv::Mat> samplePictures() {
    std::vector<cv::Mat> pictures;
    for (const char* name : {"shapes_1_960x540", "shapes_2_1280x720", "shapes_3_640x800", "shapes_4_1024x768",
                             "shapes_5_900x900", "shapes_6_800x600"}) {
        const std::string path = BRELLIX_SOURCE_DIR "/models/shapes/demo/" + std::string(name) + ".jpg";
        pictures.push_back(cv::imread(path));
        if (pictures.back().empty()) {
            throw std::runtime_error(path + " cannot be read");
        }
    }
    return pictures;
}

}  // namespace brellix::testing
