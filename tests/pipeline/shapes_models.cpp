#include "pipeline/shapes_models.h"

#include "brellix/model_zoo.h"
#include "pipeline/shapes_files.h"
#include "support/temporary_folder.h"

#include <opencv2/imgcodecs.hpp>
#include <stdexcept>

namespace brellix::testing {
namespace {

using namespace ai_orvo::model;

template <typename Model>
ShapesModel fromFile(const char* config) {
    return {config, [config]() -> std::unique_ptr<CvModel> {
                const TemporaryFolder folder;
                return std::make_unique<Model>(folder.write("model.yaml", shapesConfig(config)));
            }};
}

}  // namespace

const std::vector<ShapesModel>& shapesModels() {
    static const std::vector<ShapesModel> all = {
        fromFile<YOLOv5>("shapes_fused.yaml"), fromFile<YOLOv5Cutoff>("shapes_cut.yaml"),
        fromFile<YOLOv8Seg>("shapes_seg.yaml"), fromFile<YOLOv8Seg>("shapes_seg_int8.yaml")};
    return all;
}

std::vector<cv::Mat> shapesPictures(std::size_t count) {
    std::vector<cv::Mat> pictures;
    for (const std::string& path : shapesPictureFiles()) {
        if (pictures.size() == count) {
            break;
        }
        pictures.push_back(cv::imread(path));
        if (pictures.back().empty()) {
            throw std::runtime_error("cannot read the picture " + path);
        }
    }
    return pictures;
}

}  // namespace brellix::testing
