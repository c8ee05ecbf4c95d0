// A model of one's own: the network of YOLOv5 with another decoding.
//
// The library's decoding compares objectness and class score with the threshold separately and suppresses
// inside each class. This one compares their product, and lets only one object stand where several overlap,
// whatever their classes.
//
//   custom_decoding models/shapes/shapes_fused.yaml photo.jpg

#include <brellix/model_zoo.h>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cstring>
#include <exception>
#include <iostream>
#include <vector>

using namespace ai_orvo::model;

namespace {

class OneObjectAPlace : public YOLOv5 {
  public:
    using YOLOv5::YOLOv5;

    /// `detect` comes here with the engine's outputs and the letterbox of its picture in `letterbox_info`.
    void postprocess(TensorMap& outputs, std::vector<Object>& objects) override {
        objects.clear();
        if (class_num < 1) {
            return;
        }
        const std::vector<float> rows = floats(outputs["output0"]);
        const auto rowLength = static_cast<std::size_t>(class_num) + 5;
        for (std::size_t row = 0; row + rowLength <= rows.size(); row += rowLength) {
            addCandidate(&rows[row], objects);
        }
        keepOneAPlace(objects);
    }

  private:
    static std::vector<float> floats(const AIBuff& tensor) {
        std::vector<float> values(tensor.data ? tensor.data->size() / sizeof(float) : 0);
        if (!values.empty()) {
            std::memcpy(values.data(), tensor.data->data(), values.size() * sizeof(float));
        }
        return values;
    }

    /// A row is centre x, centre y, width, height in network pixels, objectness, one score a class.
    void addCandidate(const float* row, std::vector<Object>& objects) const {
        const float* const scores = row + 5;
        const float* const best = std::max_element(scores, scores + class_num);
        const float prob = row[4] * *best;
        if (!(prob > conf_thres)) {
            return;
        }
        const LetterboxInfo& box = letterbox_info;
        const float width = row[2] * box.ratio;
        const float height = row[3] * box.ratio;
        Object object;
        object.rect = {(row[0] - box.dw) * box.ratio - width / 2, (row[1] - box.dh) * box.ratio - height / 2,
                       width, height};
        object.label = static_cast<int>(best - scores);
        object.prob = prob;
        objects.push_back(object);
    }

    void keepOneAPlace(std::vector<Object>& objects) const {
        std::stable_sort(objects.begin(), objects.end(),
                         [](const Object& a, const Object& b) { return a.prob > b.prob; });
        std::vector<Object> kept;
        for (const Object& object : objects) {
            const auto overlaps = [&](const Object& other) {
                return iou(object.rect, other.rect) > nms_thres;
            };
            if (std::none_of(kept.begin(), kept.end(), overlaps)) {
                kept.push_back(object);
            }
        }
        objects = kept;
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: custom_decoding CONFIG PICTURE\n";
        return 2;
    }
    try {
        OneObjectAPlace model(argv[1]);
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
        for (const Object& object : objects) {
            const cv::Rect2f& box = object.rect;
            std::cout << object.label << ' ' << object.prob << ' ' << box.x << ' ' << box.y << ' '
                      << box.width << ' ' << box.height << '\n';
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "custom_decoding: " << error.what() << '\n';
        return 2;
    }
}
