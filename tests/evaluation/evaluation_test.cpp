#include "evaluation/evaluation.h"

#include <gtest/gtest.h>

namespace brellix::testing {
namespace {

using namespace app;

constexpr double kRounding = 1e-13;

/// A dataset of one picture of 200 x 200 and two classes.
class EvaluationTest : public ::testing::Test {
  protected:
    EvaluationTest() {
        dataset_.categories = {{1, "disc", {}, true}, {2, "cube", {}, false}};
        dataset_.pictures = {{1, "a.png", {200, 200}, {}}};
        detections_.resize(1);
    }

    void addTruth(const cv::Rect2d& box, std::size_t category = 0) {
        dataset_.pictures[0].objects.push_back({category, box, box.area(), false, maskOf(box)});
    }

    void addDetection(const cv::Rect2d& box, double score, std::size_t category = 0) {
        detections_[0].push_back({category, box, score, maskOf(box)});
    }

    static MeasuredMask maskOf(const cv::Rect2d& box) {
        cv::Mat mask = cv::Mat::zeros(200, 200, CV_8U);
        mask(cv::Rect(box)) = 255;
        return measured(runLengthsOf(mask));
    }

    Evaluation run(Shape shape = Shape::kBox) const { return evaluate(dataset_, detections_, shape); }

    Dataset dataset_;
    Detections detections_;
};

TEST_F(EvaluationTest, APerfectResultIsOneInEveryFigureThatExists) {
    addTruth({0, 0, 20, 20});
    addDetection({0, 0, 20, 20}, 0.9);
    for (const Shape shape : {Shape::kBox, Shape::kMask}) {
        const Figures figures = run(shape).mean;
        EXPECT_NEAR(*figures.ap, 1.0, kRounding);
        EXPECT_NEAR(*figures.ap75, 1.0, kRounding);
        EXPECT_NEAR(*figures.apSmall, 1.0, kRounding);
        EXPECT_EQ(*figures.ar1, 1.0);
        EXPECT_FALSE(figures.apMedium.has_value());
        EXPECT_FALSE(figures.arLarge.has_value());
    }
}

TEST_F(EvaluationTest, ClassesWithoutObjectsAreLeftOut) {
    addTruth({0, 0, 20, 20});
    addDetection({0, 0, 20, 20}, 0.9);
    addDetection({50, 50, 20, 20}, 0.9, 1);
    const Evaluation evaluation = run();
    EXPECT_NEAR(*evaluation.mean.ap, 1.0, kRounding);
    EXPECT_FALSE(evaluation.categories[1].figures.ap.has_value());
    EXPECT_FALSE(evaluation.categories[1].precision50.has_value());
    EXPECT_EQ(evaluation.categories[1].detections, 1U);
}

TEST_F(EvaluationTest, WithoutAnyObjectThereAreNoFigures) {
    addDetection({0, 0, 20, 20}, 0.9);
    EXPECT_FALSE(run().mean.ap.has_value());
    EXPECT_FALSE(run().mean.ar100.has_value());
}

TEST_F(EvaluationTest, TheMeanIsOverTheClasses) {
    addTruth({0, 0, 20, 20}, 0);
    addTruth({50, 50, 20, 20}, 1);
    addDetection({0, 0, 20, 20}, 0.9, 0);
    EXPECT_NEAR(*run().mean.ap, 0.5, kRounding);
}

TEST_F(EvaluationTest, AnotherClassAtTheRightPlaceFindsNothing) {
    addTruth({0, 0, 20, 20}, 0);
    addDetection({0, 0, 20, 20}, 0.9, 1);
    EXPECT_EQ(*run().mean.ap, 0.0);
}

TEST_F(EvaluationTest, ApIsTheMeanOverTheOverlaps) {
    // 6 of 10 rows: right at 0.50, 0.55 and 0.60.
    addTruth({0, 0, 20, 100});
    addDetection({0, 0, 20, 60}, 0.9);
    for (const Shape shape : {Shape::kBox, Shape::kMask}) {
        const Figures figures = run(shape).mean;
        EXPECT_NEAR(*figures.ap, 0.3, kRounding);
        EXPECT_NEAR(*figures.ap50, 1.0, kRounding);
        EXPECT_EQ(*figures.ap75, 0.0);
        EXPECT_NEAR(*figures.ar100, 0.3, kRounding);
    }
}

TEST_F(EvaluationTest, AHundredDetectionsOfAClassCount) {
    addTruth({0, 0, 20, 20});
    for (int i = 0; i < 99; ++i) {
        addDetection({100, 100, 20, 20}, 0.9);
    }
    addDetection({0, 0, 20, 20}, 0.8);
    EXPECT_NEAR(*run().mean.ap, 0.01, kRounding);
    addDetection({100, 100, 20, 20}, 0.9);
    EXPECT_EQ(*run().mean.ap, 0.0);
}

TEST_F(EvaluationTest, RecallIsLimitedToOneTenOrAHundredDetections) {
    addTruth({0, 0, 20, 20});
    for (int i = 0; i < 9; ++i) {
        addDetection({100, 100, 20, 20}, 0.9);
    }
    addDetection({0, 0, 20, 20}, 0.8);
    const Figures figures = run().mean;
    EXPECT_EQ(*figures.ar1, 0.0);
    EXPECT_EQ(*figures.ar10, 1.0);
    EXPECT_EQ(*figures.ar100, 1.0);
}

TEST_F(EvaluationTest, SizesFollowTheAreaOfTheTruthNotOfItsBox) {
    addTruth({0, 0, 40, 40});
    dataset_.pictures[0].objects[0].area = 500.0;
    addDetection({0, 0, 40, 40}, 0.9);
    EXPECT_NEAR(*run().mean.apSmall, 1.0, kRounding);
    EXPECT_FALSE(run().mean.apMedium.has_value());
}

}  // namespace
}  // namespace brellix::testing
