#include "model_fixture.h"

#include <cmath>
#include <filesystem>

namespace brellix::testing {
namespace {

using nlohmann::json;

class Calibrate : public ModelTest {
  protected:
    /// Runs and expects a refusal with `status` that names each of `words`.
    void expectRefusal(int status, const std::vector<std::string>& arguments,
                       const std::vector<std::string>& words) const {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, status) << result.err;
        EXPECT_EQ(result.out, "");
        for (const std::string& word : words) {
            EXPECT_NE(result.err.find(word), std::string::npos) << word << " is not in: " << result.err;
        }
    }
};

/// The probability of a logit of 1 that went through an 8-bit grid over `range`.
double probabilityThroughGrid(double range) {
    const double scale = range / 255.0;
    return 1.0 / (1.0 + std::exp(-std::round(1.0 / scale) * scale));
}

TEST_F(Calibrate, WritesRangesThatReachUpToEightForTheCutDetector) {
    const ProgramResult result = run({"calibrate", "cut.yaml", "a.png"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readText("cut.onnx.calibration.yaml"),
              "schema: 1\n"
              "tensors:\n"
              "  \"/model.24/m.0/Conv_output_0\": {min: -11, max: 8, symmetric: false}\n"
              "  \"/model.24/m.1/Conv_output_0\": {min: -11, max: 8, symmetric: false}\n"
              "  \"/model.24/m.2/Conv_output_0\": {min: -11, max: 8, symmetric: false}\n");
}

TEST_F(Calibrate, FileIsWhatTheEngineUsesAfterwards) {
    EXPECT_NEAR(onlyObject("cut.yaml")["prob"].get<double>(), std::pow(probabilityThroughGrid(12.0), 2),
                1e-6);
    ASSERT_EQ(run({"calibrate", "cut.yaml", "a.png"}).status, 0);
    const json object = onlyObject("cut.yaml");
    EXPECT_NEAR(object["prob"].get<double>(), std::pow(probabilityThroughGrid(19.0), 2), 1e-6);
    EXPECT_EQ(object["box"], json({20, 5, 16, 30}));
}

TEST_F(Calibrate, MaskCoefficientsBecomeSymmetric) {
    // A zero point of -128 wraps the largest coefficient around: the mask is then the other half of the box.
    const json before = onlyObject("seg8.yaml");
    EXPECT_GT(cv::norm(decodedMask(before), segmentationMask(), cv::NORM_INF), 0.0);
    const ProgramResult result = run({"calibrate", "seg8.yaml", "a.png"});
    ASSERT_EQ(result.status, 0) << result.err;
    const json after = onlyObject("seg8.yaml");
    EXPECT_EQ(cv::norm(decodedMask(after), segmentationMask(), cv::NORM_INF), 0.0);
    EXPECT_EQ(after["box"], json({12, 20, 24, 24}));
    EXPECT_NEAR(after["prob"].get<double>(), probabilityThroughGrid(19.0), 1e-6);
}

TEST_F(Calibrate, SegmentationTensorsAreTreatedByWhatTheyHold) {
    ASSERT_EQ(run({"calibrate", "seg.yaml", "a.png"}).status, 0);
    EXPECT_EQ(readText("seg.onnx.calibration.yaml"),
              "schema: 1\n"
              "tensors:\n"
              "  \"output0\": {min: 0, max: 80, symmetric: false}\n"
              "  \"output1\": {min: -11, max: 8, symmetric: false}\n"
              "  \"output2\": {min: 0, max: 1, symmetric: true}\n"
              "  \"output3\": {min: 0, max: 0, symmetric: false}\n"
              "  \"output4\": {min: -11, max: 8, symmetric: false}\n"
              "  \"output5\": {min: 0, max: 0, symmetric: true}\n"
              "  \"output6\": {min: 0, max: 0, symmetric: false}\n"
              "  \"output7\": {min: -11, max: 8, symmetric: false}\n"
              "  \"output8\": {min: 0, max: 0, symmetric: true}\n"
              "  \"proto\": {min: -1, max: 1, symmetric: false}\n");
}

TEST_F(Calibrate, RangesAreThoseOfAllPictures) {
    TinyNetwork network = tinyCutNetwork();
    network.outputs[0].brightnessGain = 16.0F;
    network.outputs[1].brightnessGain = -16.0F;
    writeTinyNetwork(path("cut.onnx"), network);
    writePicture("black.png", {64, 64}, {0, 0, 0});
    writePicture("white.png", {64, 64}, {255, 255, 255});
    const ProgramResult result = run({"calibrate", "cut.yaml", "black.png", "white.png", "a.png"});
    ASSERT_EQ(result.status, 0) << result.err;
    const std::string file = readText("cut.onnx.calibration.yaml");
    // Logits from -11 to 1 on black; 16 more, and 16 less in the second output, on white.
    EXPECT_NE(file.find("m.0/Conv_output_0\": {min: -11, max: 17"), std::string::npos) << file;
    EXPECT_NE(file.find("m.1/Conv_output_0\": {min: -27, max: 8,"), std::string::npos) << file;
}

TEST_F(Calibrate, TableShowsRangesAndGrids) {
    const ProgramResult result = run({"calibrate", "cut.yaml", "a.png"});
    EXPECT_EQ(result.err, "");
    EXPECT_NE(
        result.out.find("/model.24/m.2/Conv_output_0     -11.000       8.000    0.074510          20\n"),
        std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("\n1 picture; written to cut.onnx.calibration.yaml\n"), std::string::npos)
        << result.out;
}

TEST_F(Calibrate, QuietSaysNothing) {
    const ProgramResult result = run({"calibrate", "seg.yaml", "a.png", "--quiet"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_TRUE(exists("seg.onnx.calibration.yaml"));
}

TEST_F(Calibrate, NoteSaysWhereACalibrationOfAFloatModelWorks) {
    const ProgramResult result = run({"calibrate", "seg.yaml", "a.png"});
    EXPECT_NE(result.err.find("seg.yaml says is_quantized: false"), std::string::npos) << result.err;
}

TEST_F(Calibrate, ExistingFileIsReplacedOnlyByForce) {
    writeText("cut.onnx.calibration.yaml", "damaged");
    expectRefusal(2, {"calibrate", "cut.yaml", "a.png"},
                  {"cut.onnx.calibration.yaml exists already", "--force", "--out"});
    EXPECT_EQ(readText("cut.onnx.calibration.yaml"), "damaged");
    EXPECT_EQ(run({"calibrate", "cut.yaml", "a.png", "--force"}).status, 0);
    EXPECT_EQ(readText("cut.onnx.calibration.yaml").substr(0, 10), "schema: 1\n");
}

TEST_F(Calibrate, OutWritesAnotherFile) {
    EXPECT_EQ(run({"calibrate", "cut.yaml", "a.png", "--out", "other.yaml"}).status, 0);
    EXPECT_FALSE(exists("cut.onnx.calibration.yaml"));
    EXPECT_EQ(readText("other.yaml").substr(0, 10), "schema: 1\n");
    EXPECT_FALSE(exists("other.yaml.unfinished"));
}

TEST_F(Calibrate, ALinkStaysOneAndItsTargetIsReplaced) {
    makeFolder("shared");
    writeText("shared/old.yaml", "damaged");
    std::filesystem::create_symlink("shared/old.yaml", path("cut.onnx.calibration.yaml"));
    std::filesystem::create_symlink("shared/new.yaml", path("new.yaml"));
    ASSERT_EQ(run({"calibrate", "cut.yaml", "a.png", "--force"}).status, 0);
    ASSERT_EQ(run({"calibrate", "cut.yaml", "a.png", "--out", "new.yaml"}).status, 0);
    for (const char* name : {"cut.onnx.calibration.yaml", "new.yaml"}) {
        EXPECT_TRUE(std::filesystem::is_symlink(path(name))) << name;
    }
    for (const char* name : {"shared/old.yaml", "shared/new.yaml"}) {
        EXPECT_EQ(readText(name).substr(0, 10), "schema: 1\n") << name;
    }
}

TEST_F(Calibrate, AFolderThatIsMissingBehindALinkIsSaidBeforeTheWork) {
    std::filesystem::create_symlink("gone/new.yaml", path("new.yaml"));
    writeText("broken.png", "no picture at all");
    expectRefusal(3, {"calibrate", "cut.yaml", "broken.png", "--out", "new.yaml"},
                  {"brellix: cannot write to new.yaml: No such file"});
}

TEST_F(Calibrate, InputsAreNeverOverwritten) {
    for (const char* input : {"cut.yaml", "cut.onnx", "a.png"}) {
        const std::string before = readText(input);
        expectRefusal(2, {"calibrate", "cut.yaml", "a.png", "--force", "--out", input},
                      {"--out", input, "is one of the inputs"});
        EXPECT_EQ(readText(input), before);
    }
}

TEST_F(Calibrate, FileThatCannotBeWrittenIsAFailure) {
    expectRefusal(3, {"calibrate", "cut.yaml", "a.png", "--out", "none/file.yaml"},
                  {"cannot write to none/file.yaml: No such file"});
    makeFolder("folder");
    expectRefusal(2, {"calibrate", "cut.yaml", "a.png", "--out", "folder", "--force"},
                  {"folder is no regular file"});
    expectRefusal(2, {"calibrate", "cut.yaml", "a.png", "--out", "-"}, {"--out: write to a file"});
}

TEST_F(Calibrate, ModelWithoutEightBitOutputsIsRefusedWithTheReason) {
    expectRefusal(2, {"calibrate", "model.yaml", "a.png"}, {"model.yaml", "yolov5", "float32"});
    EXPECT_FALSE(exists("network.onnx.calibration.yaml"));
}

TEST_F(Calibrate, NetworkOfAnotherClassIsRefused) {
    expectRefusal(
        2, {"calibrate", "model.yaml", "a.png", "--model", "yolov5_cutoff"},
        {"\"model\" is yolov5_cutoff", "network.onnx is a YOLOv5 network with its detection layer", "--cut"});
    EXPECT_FALSE(exists("network.onnx.calibration.yaml"));
}

TEST_F(Calibrate, MissingPicturesAreWrongUse) {
    expectRefusal(2, {"calibrate", "cut.yaml", "none.png"}, {"none.png", "no such file"});
    expectRefusal(2, {"calibrate", "cut.yaml"}, {"INPUT", "required"});
}

TEST_F(Calibrate, BrokenPictureIsPassedOverAndReported) {
    writeText("broken.png", "no picture at all");
    const ProgramResult result = run({"calibrate", "cut.yaml", "broken.png", "a.png"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("brellix: broken.png: not a picture"), std::string::npos) << result.err;
    EXPECT_NE(result.out.find("1 picture, 1 picture failed; written to "), std::string::npos) << result.out;
    EXPECT_TRUE(exists("cut.onnx.calibration.yaml"));
}

TEST_F(Calibrate, NothingIsWrittenWithoutAnyGoodPicture) {
    writeText("broken.png", "no picture at all");
    expectRefusal(3, {"calibrate", "cut.yaml", "broken.png"}, {"no picture could be used"});
    EXPECT_FALSE(exists("cut.onnx.calibration.yaml"));
}

}  // namespace
}  // namespace brellix::testing
