// Cuts the objects of one picture out along their masks: a picture of each, transparent around it.
//
//   segment_image models/shapes/shapes_seg.yaml photo.jpg cutouts

#include <brellix/model_zoo.h>
#include <opencv2/imgcodecs.hpp>

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

using namespace ai_orvo::model;

namespace {

/// The object's box with its mask as the fourth channel. Masks are as large as the picture.
cv::Mat cutOut(const cv::Mat& image, const Object& object) {
    const cv::Rect box = cv::Rect(object.rect) & cv::Rect({0, 0}, image.size());
    cv::Mat cutout(box.size(), CV_8UC4);
    const cv::Mat sources[] = {image(box), object.mask(box)};
    const int channelPairs[] = {0, 0, 1, 1, 2, 2, 3, 3};
    cv::mixChannels(sources, 2, &cutout, 1, channelPairs, 4);
    return cutout;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: segment_image CONFIG PICTURE FOLDER\n";
        return 2;
    }
    try {
        YOLOv8Seg model{std::string(argv[1])};  // ends the process where the engine refuses the network
        const cv::Mat image = cv::imread(argv[2]);
        if (image.empty()) {
            std::cerr << argv[2] << ": not a picture\n";
            return 2;
        }

        std::vector<Object> objects;
        model.detect(image, objects);
        if (last_run_report().inference_status != 0) {
            return 3;  // what `objects` holds then comes from no network
        }

        std::filesystem::create_directories(argv[3]);
        int count = 0;
        for (const Object& object : objects) {
            if (cv::countNonZero(object.mask) == 0) {
                continue;
            }
            const std::string path = std::string(argv[3]) + "/cutout_" + std::to_string(count++) + ".png";
            if (!cv::imwrite(path, cutOut(image, object))) {
                std::cerr << path << ": cannot be written\n";
                return 3;
            }
            std::cout << path << ' ' << object.label << ' ' << cv::countNonZero(object.mask) << '\n';
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "segment_image: " << error.what() << '\n';
        return 2;
    }
}
