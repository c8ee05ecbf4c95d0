// The sample networks, through the engine and the library, on pictures that training never saw.

#include "brellix/model_zoo.h"
#include "shapes_dataset.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <opencv2/imgcodecs.hpp>
#include <set>

namespace {

using namespace ai_orvo::model;
using namespace brellix::testing;

// Low enough that precision is known over all of recall.
constexpr float kConfidence = 0.01F;

std::vector<ScoredBox> detectAll(CvModel& model, const ShapesDataset& dataset) {
    std::vector<ScoredBox> detections;
    for (std::size_t image = 0; image < dataset.pictures.size(); ++image) {
        std::vector<Object> objects;
        model.detect(cv::imread(dataset.pictures[image]), objects);
        EXPECT_EQ(last_run_report().inference_status, 0) << dataset.pictures[image];
        for (const Object& object : objects) {
            detections.push_back(
                {static_cast<int>(image), object.label, cv::Rect2d(object.rect), object.prob});
        }
    }
    return detections;
}

TEST(ShapesDatasetOnDisk, HoldsEnoughPicturesOfManySizes) {
    const ShapesDataset dataset = readShapesDataset();
    EXPECT_GE(dataset.pictures.size(), 200U);
    std::set<std::pair<int, int>> sizes;
    int awkward = 0;
    for (const std::string& path : dataset.pictures) {
        const cv::Mat picture = cv::imread(path);
        ASSERT_FALSE(picture.empty()) << path;
        sizes.insert({picture.cols, picture.rows});
        awkward += picture.size() == cv::Size(320, 320) ? 0 : 1;
    }
    EXPECT_GE(awkward, 10);
    EXPECT_GE(sizes.size(), 10U);
}

TEST(ShapesAccuracy, FusedDetectorReachesItsBar) {
    const ShapesDataset dataset = readShapesDataset();
    const TemporaryFolder folder;
    YOLOv5 model(folder.write("fused.yaml", shapesConfig("shapes_fused.yaml", kConfidence)));
    ASSERT_EQ(last_run_report().init_status, 0);
    const double ap50 = averagePrecision(dataset.truth, detectAll(model, dataset), 0.5);
    RecordProperty("ap50", std::to_string(ap50));
    std::cout << "fused: AP50 " << ap50 << '\n';
    EXPECT_GE(ap50, 0.95);
}

}  // namespace
