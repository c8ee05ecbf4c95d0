#include "detect_fixture.h"

#include <opencv2/core.hpp>

namespace brellix::testing {
namespace {

using DetectOut = DetectTest;

bool isOfColor(const cv::Mat& picture, cv::Point place, const cv::Vec3b& color) {
    return picture.at<cv::Vec3b>(place) == color;
}

TEST_F(DetectOut, AnnotatedCopyHasTheSizeOfTheSourceAndShowsTheBoxes) {
    writePicture("a.png", {64, 64});
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--out", "seen"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("1 annotated picture written to seen"), std::string::npos) << result.err;
    const cv::Mat source = readPicture("a.png");
    const cv::Mat annotated = readPicture("seen/a.png");
    ASSERT_EQ(annotated.size(), source.size());
    ASSERT_EQ(annotated.type(), source.type());
    // The disc's upper and the cube's right edge, which no label covers, in the colours of classes 0 and 2.
    EXPECT_TRUE(isOfColor(annotated, {30, 19}, {0, 114, 189}));
    EXPECT_TRUE(isOfColor(annotated, {19, 59}, {237, 177, 32}));
    EXPECT_TRUE(isOfColor(annotated, {60, 4}, source.at<cv::Vec3b>(4, 60)));
}

TEST_F(DetectOut, FolderIsCreatedWithItsParents) {
    writePicture("a.jpg");
    EXPECT_EQ(run({"detect", "model.yaml", "a.jpg", "--out", "one/two"}).status, 0);
    EXPECT_EQ(readPicture("one/two/a.jpg").size(), cv::Size(64, 64));
}

TEST_F(DetectOut, SameNamesDoNotOverwriteEachOther) {
    makeFolder("a");
    makeFolder("b");
    writePicture("a/x.png", {64, 64});
    writePicture("b/x.png", {32, 96});
    const ProgramResult result = run({"detect", "model.yaml", "a/x.png", "b/x.png", "--out", "seen"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(readPicture("seen/x.png").size(), cv::Size(64, 64));
    EXPECT_EQ(readPicture("seen/x-2.png").size(), cv::Size(32, 96));
    EXPECT_NE(result.err.find("b/x.png: annotated copy is seen/x-2.png"), std::string::npos) << result.err;
}

TEST_F(DetectOut, FormatWithoutAnEncoderOfItsOwnBecomesPng) {
    writePicture("a.bmp");
    const ProgramResult result = run({"detect", "model.yaml", "a.bmp", "--out", "seen"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(readText("seen/a.png").substr(1, 3), "PNG");
    EXPECT_NE(result.err.find("a.bmp: annotated copy is seen/a.png"), std::string::npos) << result.err;
}

TEST_F(DetectOut, SourcesAreNeverOverwritten) {
    makeFolder("shots");
    writePicture("shots/a.png");
    const std::string before = readText("shots/a.png");
    const ProgramResult result = run({"detect", "model.yaml", "shots", "--out", "shots"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("shots/a.png is one of the inputs"), std::string::npos) << result.err;
    EXPECT_EQ(readText("shots/a.png"), before);
}

TEST_F(DetectOut, JsonFileNeverOverwritesAnInput) {
    writePicture("a.png");
    for (const char* name : {"a.png", "model.yaml", "network.onnx"}) {
        const std::string before = readText(name);
        const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", name});
        EXPECT_EQ(result.status, 2) << name;
        EXPECT_EQ(readText(name), before) << name;
    }
}

TEST_F(DetectOut, AnyNumberOfClassesCanBeDrawn) {
    std::vector<float> scores(90, 0.0F);
    scores[83] = 0.5F;
    writeTinyNetwork(path("network.onnx"), fusedNetwork(90, {{32.0F, 32.0F, 20.0F, 20.0F, 1.0F, scores}}));
    writeText("model.yaml",
              "model_path: network.onnx\nconf_thres: 0.25\nnms_thres: 0.65\nclass_num: 90\n"
              "input_size: [64, 64]\n");
    writePicture("a.png");
    EXPECT_EQ(run({"detect", "model.yaml", "a.png", "--out", "seen"}).status, 0);
    // The colours repeat after 80: class 83 has that of class 3.
    EXPECT_TRUE(isOfColor(readPicture("seen/a.png"), {42, 41}, {126, 47, 142}));
}

TEST_F(DetectOut, ObjectsWithoutAClassCanBeDrawn) {
    writeTinyNetwork(path("network.onnx"), fusedNetwork(0, {{32.0F, 32.0F, 20.0F, 20.0F, 1.0F, {}}}));
    // Only a negative threshold lets an object without a class score through. All rows pass then; one stays.
    writeText("model.yaml",
              "model_path: network.onnx\nconf_thres: -0.5\nnms_thres: -1\nclass_num: 0\n"
              "input_size: [64, 64]\n");
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--out", "seen", "--json", "-"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(jsonLines(result.out)[0]["objects"][0]["label"], -1);
    EXPECT_TRUE(exists("seen/a.png"));
}

}  // namespace
}  // namespace brellix::testing
