// Finds objects on one picture with a YOLOv5 network and writes an annotated copy.
//
//   detect_image models/shapes/shapes_fused.yaml photo.jpg annotated.png

#include <brellix/model_zoo.h>
#include <opencv2/imgcodecs.hpp>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

using namespace ai_orvo::model;

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: detect_image CONFIG PICTURE RESULT\n";
        return 2;
    }
    try {
        YOLOv5 model(argv[1]);
        if (last_run_report().init_status != 0) {
            return 2;  // the engine has said why on standard error
        }
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

        std::vector<std::string> names;
        read_class_name(YAML::LoadFile(argv[1]), names);
        if (names.size() < static_cast<std::size_t>(model.class_num)) {
            std::cerr << argv[1] << ": \"class_mapping\" names " << names.size() << " of " << model.class_num
                      << " classes; add the others\n";
            return 2;
        }
        for (const Object& object : objects) {
            std::cout << names.at(static_cast<std::size_t>(object.label)) << ' ' << object.prob << ' '
                      << object.rect.x << ' ' << object.rect.y << ' ' << object.rect.width << ' '
                      << object.rect.height << '\n';
        }
        cv::Mat annotated;
        draw_objects(image, annotated, objects, names, CLASS_COLORS);
        return cv::imwrite(argv[3], annotated) ? 0 : 3;
    } catch (const std::exception& error) {
        std::cerr << "detect_image: " << error.what() << '\n';
        return 2;
    }
}
