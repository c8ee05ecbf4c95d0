// The sample networks, through the engine and the library, on pictures that training never saw.

#include "brellix/model_zoo.h"
#include "shapes_dataset.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <map>
#include <opencv2/imgcodecs.hpp>
#include <set>

namespace {

using namespace ai_orvo::model;
using namespace brellix::testing;

/// Everything that a model found, and how far each find covers the truths of its picture and label.
struct Detections {
    std::vector<ScoredBox> boxes;
    std::vector<std::map<std::size_t, double>> maskOverlaps;  ///< by detection: truth to overlap of the masks
};

double maskOverlap(const cv::Mat& a, const cv::Mat& b) {
    const double both = cv::countNonZero(a & b);
    const double either = cv::countNonZero(a | b);
    return either > 0 ? both / either : 0;
}

std::map<std::size_t, double> maskOverlapsOf(const Object& object, int image, const ShapesDataset& dataset) {
    std::map<std::size_t, double> overlaps;
    for (std::size_t i = 0; i < dataset.truth.size(); ++i) {
        const ScoredBox& truth = dataset.truth[i];
        if (truth.image == image && truth.label == object.label && !object.mask.empty()) {
            overlaps[i] = maskOverlap(object.mask, dataset.masks[i]);
        }
    }
    return overlaps;
}

Detections detectAll(CvModel& model, const ShapesDataset& dataset) {
    Detections found;
    for (std::size_t i = 0; i < dataset.pictures.size(); ++i) {
        const int image = static_cast<int>(i);
        std::vector<Object> objects;
        model.detect(cv::imread(dataset.pictures[i]), objects);
        EXPECT_EQ(last_run_report().inference_status, 0) << dataset.pictures[i];
        for (const Object& object : objects) {
            found.boxes.push_back({image, object.label, cv::Rect2d(object.rect), object.prob});
            found.maskOverlaps.push_back(maskOverlapsOf(object, image, dataset));
        }
    }
    return found;
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

/// AP at an overlap of one half.
struct Ap50 {
    double box;
    double mask;
};

/// Measures a model over the held-out pictures, and prints what it finds.
Ap50 measure(CvModel& model, const ShapesDataset& dataset, const std::string& title) {
    const Detections found = detectAll(model, dataset);
    const auto overlapOfMasks = [&found](std::size_t detection, std::size_t truth) {
        const auto overlap = found.maskOverlaps[detection].find(truth);
        return overlap == found.maskOverlaps[detection].end() ? 0.0 : overlap->second;
    };
    const Ap50 ap50{averagePrecision(dataset.truth, found.boxes, 0.5),
                    averagePrecision(dataset.truth, found.boxes, 0.5, overlapOfMasks)};
    const std::string masks = ap50.mask > 0 ? ", mask " + std::to_string(ap50.mask) : "";
    std::cout << title << ": AP50 box " << ap50.box << masks << '\n';
    return ap50;
}

double fusedAp50(const ShapesDataset& dataset) {
    const TemporaryFolder folder;
    YOLOv5 model(folder.write("fused.yaml", shapesConfig("shapes_fused.yaml")));
    EXPECT_EQ(last_run_report().init_status, 0);
    return measure(model, dataset, "fused, float").box;
}

TEST(ShapesAccuracy, FusedDetectorReachesItsBar) {
    EXPECT_GE(fusedAp50(readShapesDataset()), 0.97);
}

TEST(ShapesAccuracy, CutDetectorInInt8StaysCloseToTheFusedOne) {
    const ShapesDataset dataset = readShapesDataset();
    const TemporaryFolder folder;
    YOLOv5Cutoff model(folder.write("cut.yaml", shapesConfig("shapes_cut.yaml")));
    ASSERT_EQ(last_run_report().init_status, 0);
    EXPECT_GE(measure(model, dataset, "cut, int8").box, fusedAp50(dataset) - 0.02);
}

TEST(ShapesAccuracy, SegmentationReachesItsBarsInFloatAndInt8) {
    const ShapesDataset dataset = readShapesDataset();
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
