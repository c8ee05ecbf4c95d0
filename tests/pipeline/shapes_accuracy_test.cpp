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

/// Prints and returns the AP50 of a model over the held-out pictures.
double boxAp50(CvModel& model, const ShapesDataset& dataset, const std::string& title) {
    const double ap50 = averagePrecision(dataset.truth, detectAll(model, dataset), 0.5);
    std::cout << title << ": AP50 " << ap50 << '\n';
    return ap50;
}

double fusedAp50(const ShapesDataset& dataset) {
    const TemporaryFolder folder;
    YOLOv5 model(folder.write("fused.yaml", shapesConfig("shapes_fused.yaml")));
    EXPECT_EQ(last_run_report().init_status, 0);
    return boxAp50(model, dataset, "fused, float");
}

TEST(ShapesAccuracy, FusedDetectorReachesItsBar) {
    EXPECT_GE(fusedAp50(readShapesDataset()), 0.95);
}

TEST(ShapesAccuracy, CutDetectorInInt8StaysCloseToTheFusedOne) {
    const ShapesDataset dataset = readShapesDataset();
    const TemporaryFolder folder;
    YOLOv5Cutoff model(folder.write("cut.yaml", shapesConfig("shapes_cut.yaml")));
    ASSERT_EQ(last_run_report().init_status, 0);
    EXPECT_GE(boxAp50(model, dataset, "cut, int8"), fusedAp50(dataset) - 0.02);
}

}  // namespace
