#include "model_fixture.h"

#include <cmath>

namespace brellix::testing {
namespace {

using nlohmann::json;

using Segmentation = ModelTest;

TEST_F(Segmentation, ObjectIsWhatTheNetworkSays) {
    const json object = onlyObject("seg.yaml");
    EXPECT_EQ(object["label"], 1);
    EXPECT_EQ(object["name"], "cone");
    EXPECT_EQ(object["box"], json({12, 20, 24, 24}));
    EXPECT_NEAR(object["prob"].get<double>(), 1.0 / (1.0 + std::exp(-1.0)), 1e-6);
}

TEST_F(Segmentation, MaskIsInJsonAsRunLengths) {
    const json object = onlyObject("seg.yaml");
    EXPECT_EQ(object["mask"]["size"], json({64, 64}));
    EXPECT_EQ(cv::norm(decodedMask(object), segmentationMask(), cv::NORM_INF), 0.0);
}

TEST_F(Segmentation, MaskSizeIsHeightThenWidthOfThePicture) {
    writePicture("a.png", {128, 64});
    const json object = onlyObject("seg.yaml");
    EXPECT_EQ(object["mask"]["size"], json({64, 128}));
    // 16 network pixels of padding above and below, then twice the size.
    EXPECT_EQ(object["box"], json({24, 8, 48, 48}));
    const cv::Mat mask = decodedMask(object);
    cv::Mat expected = cv::Mat::zeros(64, 128, CV_8U);
    expected(cv::Rect(24, 8, 40, 48)) = 255;
    EXPECT_EQ(cv::norm(mask, expected, cv::NORM_INF), 0.0);
}

TEST_F(Segmentation, EachPictureBeginsWithoutObjects) {
    writePicture("b.png");
    const ProgramResult result = run({"detect", "seg.yaml", "a.png", "b.png", "--json", "-"});
    const std::vector<json> lines = jsonLines(result.out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["objects"].size(), 1U);
    EXPECT_EQ(lines[1]["objects"], lines[0]["objects"]);
}

TEST_F(Segmentation, AnnotatedCopyHasItsMaskColoured) {
    // Large enough that the label does not cover the whole mask.
    writePicture("a.png", {256, 256});
    ASSERT_EQ(run({"detect", "seg.yaml", "a.png", "--out", "seen", "--quiet"}).status, 0);
    const cv::Mat copy = readPicture("seen/a.png");
    const auto inside = copy.at<cv::Vec3b>(160, 60);
    const auto outside = copy.at<cv::Vec3b>(240, 240);
    // Half of the picture, 0.8 of the colour of class 1, and 1.
    EXPECT_EQ(inside, cv::Vec3b(250, 187, 197));
    // Where nothing covers the picture it stands in for the colour, which brightens it.
    EXPECT_EQ(outside, cv::Vec3b(118, 157, 196));
}

TEST_F(Segmentation, LibrarysLinesStayOutOfStandardOutput) {
    const ProgramResult quiet = run({"detect", "seg.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(jsonLines(quiet.out).size(), 1U);
    EXPECT_EQ(quiet.err, "");
    const ProgramResult verbose = run({"detect", "seg.yaml", "a.png", "--json", "-", "--verbose"});
    EXPECT_EQ(jsonLines(verbose.out).size(), 1U);
    EXPECT_NE(verbose.err.find("YOLOv8-seg Inference runtime = "), std::string::npos) << verbose.err;
    EXPECT_NE(verbose.err.find("environment variable SPDLOG_LEVEL is not set"), std::string::npos)
        << verbose.err;
}

}  // namespace
}  // namespace brellix::testing
