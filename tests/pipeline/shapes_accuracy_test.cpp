// The sample networks, through the engine and the library, on pictures that training never saw.

#include "brellix/model_zoo.h"
#include "evaluation/coco_truth.h"
#include "evaluation/evaluation.h"
#include "shapes_files.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <iostream>
#include <opencv2/imgcodecs.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace ai_orvo::model;
using namespace brellix::testing;
namespace app = brellix::app;

app::Dataset readShapesDataset() {
    return app::readCocoTruth(shapesFile("truth.json"));
}

/// What a model found on one picture. The categories of the dataset are the model's labels.
std::vector<app::Detection> detectionsOf(const std::vector<Object>& objects) {
    std::vector<app::Detection> detections;
    for (const Object& object : objects) {
        detections.push_back({static_cast<std::size_t>(object.label), cv::Rect2d(object.rect),
                              static_cast<double>(object.prob),
                              app::measured(app::runLengthsOf(object.mask))});
    }
    return detections;
}

app::Detections detectAll(CvModel& model, const app::Dataset& dataset) {
    app::Detections found;
    for (const app::TruthPicture& picture : dataset.pictures) {
        std::vector<Object> objects;
        model.detect(cv::imread(shapesFile("pictures/" + picture.file)), objects);
        EXPECT_EQ(last_run_report().inference_status, 0) << picture.file;
        found.push_back(detectionsOf(objects));
    }
    return found;
}

TEST(ShapesDatasetOnDisk, HoldsEnoughPicturesOfManySizes) {
    const std::vector<std::string> files = shapesPictureFiles();
    EXPECT_GE(files.size(), 200U);
    std::set<std::pair<int, int>> sizes;
    int awkward = 0;
    for (const std::string& path : files) {
        const cv::Mat picture = cv::imread(path);
        ASSERT_FALSE(picture.empty()) << path;
        sizes.insert({picture.cols, picture.rows});
        awkward += picture.size() == cv::Size(320, 320) ? 0 : 1;
    }
    EXPECT_GE(awkward, 10);
    EXPECT_GE(sizes.size(), 10U);
}

/// AP at an overlap of one half, 0 for the masks of a model that makes none.
struct Ap50 {
    double box;
    double mask;
};

/// Measures a model over the held-out pictures, and prints what it finds.
Ap50 measure(CvModel& model, const app::Dataset& dataset, const std::string& title) {
    const app::Detections found = detectAll(model, dataset);
    const auto ap50 = [&](app::Shape shape) {
        return app::evaluate(dataset, found, shape).mean.ap50.value_or(0.0);
    };
    const Ap50 measured{ap50(app::Shape::kBox), ap50(app::Shape::kMask)};
    const std::string masks = measured.mask > 0 ? ", mask " + std::to_string(measured.mask) : "";
    std::cout << title << ": AP50 box " << measured.box << masks << '\n';
    return measured;
}

double fusedAp50(const app::Dataset& dataset) {
    const TemporaryFolder folder;
    YOLOv5 model(folder.write("fused.yaml", shapesConfig("shapes_fused.yaml")));
    EXPECT_EQ(last_run_report().init_status, 0);
    return measure(model, dataset, "fused, float").box;
}

TEST(ShapesAccuracy, FusedDetectorReachesItsBar) {
    EXPECT_GE(fusedAp50(readShapesDataset()), 0.97);
}

TEST(ShapesAccuracy, CutDetectorInInt8StaysCloseToTheFusedOne) {
    const app::Dataset dataset = readShapesDataset();
    const TemporaryFolder folder;
    YOLOv5Cutoff model(folder.write("cut.yaml", shapesConfig("shapes_cut.yaml")));
    ASSERT_EQ(last_run_report().init_status, 0);
    EXPECT_GE(measure(model, dataset, "cut, int8").box, fusedAp50(dataset) - 0.02);
}

TEST(ShapesAccuracy, SegmentationReachesItsBarsInFloatAndInt8) {
    const app::Dataset dataset = readShapesDataset();
    YOLOv8Seg floatModel(YAML::Load(shapesConfig("shapes_seg.yaml")));
    const Ap50 inFloat = measure(floatModel, dataset, "segmentation, float");
    EXPECT_GE(inFloat.box, 0.975);
    EXPECT_GE(inFloat.mask, 0.97);
    YOLOv8Seg int8Model(YAML::Load(shapesConfig("shapes_seg_int8.yaml")));
    const Ap50 inInt8 = measure(int8Model, dataset, "segmentation, int8");
    EXPECT_GE(inInt8.box, inFloat.box - 0.02);
    EXPECT_GE(inInt8.mask, inFloat.mask - 0.02);
}

}  // namespace
