#include "compare/worst_pictures.h"
#include "model_fixture.h"

#include <yaml-cpp/yaml.h>

namespace brellix::testing {
namespace {

using nlohmann::json;

/// "model.yaml" sees a disc (0.375 at [22, 19, 20, 10]) and a cube (0.875 at [4, 36, 16, 24]); "other.yaml"
/// is for a network that a test writes.
class Compare : public ModelTest {
  protected:
    void writeOther(const std::vector<Candidate>& candidates) const {
        writeTinyNetwork(path("other.onnx"), fusedNetwork(3, candidates));
        writeText("other.yaml", detectorConfig("other.onnx"));
    }

    ProgramResult compare(const std::vector<std::string>& options) const {
        std::vector<std::string> arguments = {"compare", "model.yaml", "other.yaml", "a.png"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    json report(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> all = {"--json", "-"};
        all.insert(all.end(), options.begin(), options.end());
        const ProgramResult result = compare(all);
        EXPECT_EQ(result.status, 0) << result.err;
        return json::parse(result.out, nullptr, false);
    }

    /// Expects that one limit is exceeded, and that a line with `words` says so.
    void expectExceeded(const std::vector<std::string>& options, const std::string& words) const {
        const ProgramResult result = compare(options);
        EXPECT_EQ(result.status, 1) << result.err;
        EXPECT_EQ(result.err, "brellix: limit exceeded: " + words + '\n');
    }

    /// How many pixels differ from the picture's one colour.
    static int pixelsDrawn(const cv::Mat& drawing) {
        cv::Mat isPlain;
        cv::inRange(drawing, cv::Scalar(90, 120, 150), cv::Scalar(90, 120, 150), isPlain);
        return static_cast<int>(isPlain.total()) - cv::countNonZero(isPlain);
    }

    static Candidate disc() { return {32.0F, 24.0F, 20.0F, 10.0F, 0.75F, {0.5F, 0.0F, 0.0F}}; }
    static Candidate cube() { return {12.0F, 48.0F, 16.0F, 24.0F, 1.0F, {0.0F, 0.25F, 0.875F}}; }
};

TEST_F(Compare, AConfigurationAgreesWithItself) {
    writeOther({disc(), cube()});
    const ProgramResult result = compare({"--max-missed", "0", "--max-extra", "0", "--max-changed", "0",
                                          "--max-drift", "0", "--min-box-iou", "1"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "A                     model.yaml, 2 objects\n"
              "B                     other.yaml, 2 objects\n"
              "pictures              1\n"
              "in both               2\n"
              "missed (only in A)    0\n"
              "extra (only in B)     0\n"
              "of another class      0\n"
              "box IoU               mean 1.0000, worst 1.0000 (disc in a.png)\n"
              "probability drift     mean 0.0000, p95 0.0000, worst 0.0000 (disc in a.png)\n");
}

TEST_F(Compare, MissedAndExtraObjectsAreCounted) {
    writeOther({cube(), {50.0F, 10.0F, 8.0F, 8.0F, 1.0F, {0.5F, 0.0F, 0.0F}}});
    const json figures = report();
    EXPECT_EQ(figures["matched"], 1);
    EXPECT_EQ(figures["missed"], json({{"all", 1}, {"near_threshold", 0}}));
    EXPECT_EQ(figures["extra"], json({{"all", 1}, {"near_threshold", 0}}));
    expectExceeded({"-q", "--max-missed", "0"},
                   "1 missed, not counting those near the threshold, allowed are 0");
    expectExceeded({"-q", "--max-extra", "0"},
                   "1 extra, not counting those near the threshold, allowed are 0");
    EXPECT_EQ(compare({"--max-missed", "1", "--max-extra", "1"}).status, 0);
}

TEST_F(Compare, ObjectsNearTheThresholdMayComeAndGo) {
    // 0.27 is less than 0.05 above the threshold of 0.25.
    writeOther({disc(), cube(), {50.0F, 10.0F, 8.0F, 8.0F, 1.0F, {0.27F, 0.0F, 0.0F}}});
    EXPECT_EQ(report()["extra"], json({{"all", 1}, {"near_threshold", 1}}));
    EXPECT_EQ(compare({"--max-extra", "0"}).status, 0);
    expectExceeded({"-q", "--max-extra", "0", "--margin", "0.01"},
                   "1 extra, not counting those near the threshold, allowed are 0");
}

TEST_F(Compare, WithoutAMarginNothingIsNearTheThreshold) {
    // Objectness and class probability exceed 0.25 each, their product of 0.16 does not.
    writeOther({disc(), cube(), {50.0F, 10.0F, 8.0F, 8.0F, 0.4F, {0.4F, 0.0F, 0.0F}}});
    EXPECT_EQ(report()["extra"], json({{"all", 1}, {"near_threshold", 1}}));
    EXPECT_EQ(report({"--margin", "0"})["extra"], json({{"all", 1}, {"near_threshold", 0}}));
    expectExceeded({"-q", "--max-extra", "0", "--margin", "0"},
                   "1 extra, not counting those near the threshold, allowed are 0");
}

TEST_F(Compare, WhatTheOtherThresholdLeavesOutByFarIsMissed) {
    writeOther({disc(), cube()});
    const auto demand = [this](const std::string& threshold) {
        writeText("other.yaml", "model_path: other.onnx\nconf_thres: " + threshold +
                                    "\nnms_thres: 0.65\nclass_num: 3\ninput_size: [64, 64]\n");
    };
    // The disc is 0.375; its class probability may be up to the root of that, 0.61.
    demand("0.65");
    EXPECT_EQ(report()["missed"], json({{"all", 1}, {"near_threshold", 1}}));
    demand("0.7");
    EXPECT_EQ(report()["missed"], json({{"all", 1}, {"near_threshold", 0}}));
    const ProgramResult result = compare({"--max-missed", "0"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(
        result.err,
        "brellix: A and B have different confidence thresholds (conf_thres): what the lower one alone lets "
        "through is missed or extra; --conf sets both\n"
        "brellix: limit exceeded: 1 missed, not counting those near the threshold, allowed are 0\n");
    EXPECT_EQ(compare({"--max-missed", "0", "--conf", "0.25"}).err, "");
}

TEST_F(Compare, AnotherClassAtThePlaceIsNeitherMissedNorExtra) {
    writeOther({disc(), {12.0F, 48.0F, 16.0F, 24.0F, 1.0F, {0.0F, 0.875F, 0.25F}}});
    const json figures = report();
    EXPECT_EQ(figures["class_changed"], 1);
    EXPECT_EQ(figures["missed"]["all"], 0);
    EXPECT_EQ(figures["extra"]["all"], 0);
    EXPECT_EQ(figures["worst_pictures"][0]["differences"][0],
              "of another class: cube, 87.5 % in A, cone, 87.5 % in B");
    expectExceeded({"-q", "--max-changed", "0"}, "1 of another class, allowed are 0");
}

TEST_F(Compare, DriftAndOverlapAreMeasuredOnWhatBothFound) {
    // 0.75 * 0.625 instead of 0.75 * 0.5; two pixels further right 180 of 220 are in common.
    writeOther({{34.0F, 24.0F, 20.0F, 10.0F, 0.75F, {0.625F, 0.0F, 0.0F}}, cube()});
    const json figures = report();
    EXPECT_EQ(figures["drift"]["mean"], 0.09375 / 2.0);
    EXPECT_EQ(figures["drift"]["p95"], 0.09375);
    EXPECT_EQ(figures["drift"]["worst"], json({{"value", 0.09375}, {"name", "disc"}, {"source", "a.png"}}));
    EXPECT_NEAR(figures["box_iou"]["worst"]["value"].get<double>(), 180.0 / 220.0, 1e-12);
    EXPECT_EQ(figures["mask_iou"], nullptr);
    expectExceeded({"-q", "--max-drift", "0.09"},
                   "the worst probability drift is 0.0938 (a.png), allowed is 0.0900");
    expectExceeded({"-q", "--min-box-iou", "0.82"}, "the worst box IoU is 0.8182 (a.png), allowed is 0.8200");
    EXPECT_EQ(compare({"--max-drift", "0.1", "--min-box-iou", "0.8"}).status, 0);
}

TEST_F(Compare, IouSaysFromWhichOverlapTwoAreOne) {
    writeOther({{34.0F, 24.0F, 20.0F, 10.0F, 0.75F, {0.5F, 0.0F, 0.0F}}, cube()});
    EXPECT_EQ(report()["matched"], 2);
    EXPECT_EQ(report({"--iou", "0.9"})["matched"], 1);
}

TEST_F(Compare, ALimitThatNothingCanBeHeldAgainstIsExceeded) {
    writeOther({});
    EXPECT_EQ(report()["drift"], nullptr);
    expectExceeded(
        {"-q", "--max-drift", "1"},
        "there is no probability drift to hold against the limit: no object that has one was found by both");
    writeOther({disc(), cube()});
    expectExceeded(
        {"-q", "--min-mask-iou", "0"},
        "there is no mask IoU to hold against the limit: no object that has one was found by both");
}

TEST_F(Compare, ExceededLimitsAreSaidWithAsManyDigitsAsTellThemApart) {
    // The disc's probability differs by 2^-14 * 0.75 = 0.0000458 from A's 0.375.
    writeOther({{32.0F, 24.0F, 20.0F, 10.0F, 0.75F, {0.50006103515625F, 0.0F, 0.0F}}, cube()});
    expectExceeded({"-q", "--max-drift", "0.00001"},
                   "the worst probability drift is 0.00005 (a.png), allowed is 0.00001");
    expectExceeded({"-q", "--max-drift", "0"},
                   "the worst probability drift is 0.00005 (a.png), allowed is 0.00000");
    expectExceeded({"-q", "--max-drift", "0.0000457"},
                   "the worst probability drift is 0.0000458 (a.png), allowed is 0.0000457");
    writeOther({{34.0F, 24.0F, 20.0F, 10.0F, 0.75F, {0.5F, 0.0F, 0.0F}}, cube()});
    expectExceeded({"-q", "--min-box-iou", "0.9"}, "the worst box IoU is 0.8182 (a.png), allowed is 0.9000");
}

TEST_F(Compare, LimitsThatNothingCouldExceedAreRefused) {
    writeOther({});
    for (const char* option : {"--max-missed", "--max-extra", "--max-changed", "--worst"}) {
        for (const char* value : {"-1", "18446744073709551615"}) {
            const ProgramResult result = compare({option, value});
            EXPECT_EQ(result.status, 2) << option << value;
            EXPECT_NE(result.err.find(std::string(option) + ": "), std::string::npos) << result.err;
        }
    }
    for (const char* option : {"--iou", "--margin", "--max-drift", "--min-box-iou", "--min-mask-iou"}) {
        for (const char* value : {"nan", "1.1"}) {
            const ProgramResult result = compare({option, value});
            EXPECT_EQ(result.status, 2) << option << value;
            EXPECT_NE(result.err.find(std::string(option) + ": "), std::string::npos) << result.err;
        }
    }
    EXPECT_EQ(compare({"-q", "--max-missed", "2", "--max-extra", "0", "--worst", "0", "--iou", "1"}).status,
              0);
}

TEST_F(Compare, ThresholdsGoToBothSides) {
    writeOther({disc(), cube()});
    const json figures = report({"--conf", "0.6"});
    EXPECT_EQ(figures["a"]["objects"], 1);
    EXPECT_EQ(figures["b"]["objects"], 1);
}

TEST_F(Compare, SaturatedBytesAreThoseOfTheModelsOwnOutputs) {
    const ProgramResult result = run({"compare", "cut.yaml", "cut.yaml", "a.png", "--json", "-"});
    ASSERT_EQ(result.status, 0) << result.err;
    const json head = json::parse(result.out)["b"]["int8_outputs"][0];
    // 24 channels of 8 x 8 cells; one cell's four zeros and two ones stand out of the background.
    EXPECT_EQ(head["tensor"], "/model.24/m.0/Conv_output_0");
    EXPECT_EQ(head["bytes"], 1536);
    EXPECT_EQ(head["lowest"], 1530);
    EXPECT_EQ(head["highest"], 2);
    EXPECT_EQ(head["saturated"], 1532.0 / 1536.0);
    EXPECT_EQ(head["cut_off"], json()) << "neither side has floats";
}

TEST_F(Compare, BytesAtTheEndsAreCutOffOnlyWhereTheFloatsLieBeyondTheGrid) {
    ASSERT_EQ(run({"calibrate", "seg8.yaml", "a.png"}).status, 0);
    // Prototype 0 is 1 in one half and -1 in the other, the 31 others are 0 (16 x 16 each).
    const auto proto = [this] {
        const ProgramResult result = run({"compare", "seg.yaml", "seg8.yaml", "a.png", "--json", "-"});
        EXPECT_EQ(result.status, 0) << result.err;
        const json figures = json::parse(result.out);
        EXPECT_EQ(figures["a"]["int8_outputs"], json::array());
        return figures["b"]["int8_outputs"].back();
    };
    const json whole = proto();
    EXPECT_EQ(whole["tensor"], "proto");
    // The zero point is a whole number, so that the grid ends at one of the two values and near the other.
    EXPECT_EQ(whole["lowest"].get<int>() + whole["highest"].get<int>(), 128);
    EXPECT_EQ(whole["cut_off"], 0);
    YAML::Node calibration = YAML::LoadFile(path("seg.onnx.calibration.yaml"));
    for (const char* end : {"min", "max"}) {
        YAML::Node range = calibration["tensors"]["proto"][end];
        range = range.as<float>() / 2;
    }
    writeText("seg.onnx.calibration.yaml", YAML::Dump(calibration));
    EXPECT_EQ(proto()["cut_off"], 256);
}

TEST_F(Compare, MasksAndBytesOfAFloatAndAnInt8ConfigurationAreCompared) {
    ASSERT_EQ(run({"calibrate", "seg8.yaml", "a.png"}).status, 0);
    const ProgramResult result = run({"compare", "seg.yaml", "seg8.yaml", "a.png"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find("mask IoU              mean 1.0000, worst 1.0000 (cone in a.png)"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(result.out.find("8-bit outputs of A"), std::string::npos);
    EXPECT_NE(result.out.find("8-bit outputs of B"), std::string::npos);
    EXPECT_NE(result.out.find("proto "), std::string::npos);
}

TEST_F(Compare, TheWorstPicturesAreDrawnSideBySide) {
    writeOther({cube()});
    writePicture("b.png");
    const ProgramResult result =
        run({"compare", "model.yaml", "other.yaml", "a.png", "b.png", "--out", "worst", "--worst", "1"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_FALSE(exists("worst/worst-2-b.png"));
    const cv::Mat sheet = readPicture("worst/worst-1-a.png");
    ASSERT_FALSE(sheet.empty());
    EXPECT_EQ(sheet.cols, 2 * 640 + 3 * 12);
    EXPECT_GT(sheet.rows, 640 + 34);
    const cv::Mat inA = sheet(cv::Rect(12, 34, 640, 640));
    const cv::Mat inB = sheet(cv::Rect(640 + 2 * 12, 34, 640, 640));
    // The left edge of the disc, in a drawing of ten times the size.
    for (const cv::Mat& half : {inA, inB}) {
        EXPECT_EQ(half.at<cv::Vec3b>(240, 220), cv::Vec3b(0, 0, 255));
    }
    // Only A has it, and writes its name there.
    EXPECT_GT(pixelsDrawn(inA), pixelsDrawn(inB));
}

TEST(WorstPictures, TheWorstComeFirstAndOfEqualsTheEarlier) {
    app::WorstPictures worst(2);
    const auto offer = [&worst](const std::string& source, double severity) {
        worst.offer(severity, [&] { return app::WorstPicture{source, severity, {}, {}}; });
    };
    offer("mild", 0.5);
    offer("bad", 2.0);
    offer("as bad", 2.0);
    offer("fine", 0.0);
    ASSERT_EQ(worst.pictures().size(), 2U);
    EXPECT_EQ(worst.pictures()[0].source, "bad");
    EXPECT_EQ(worst.pictures()[1].source, "as bad");
}

TEST_F(Compare, PicturesWithoutAnyDifferenceAreNotWorst) {
    writeOther({disc(), cube()});
    EXPECT_EQ(report({"--out", "worst"})["worst_pictures"], json::array());
    EXPECT_FALSE(exists("worst/worst-1-a.png"));
}

TEST_F(Compare, ABrokenPictureIsReportedAndLeftOut) {
    writeOther({disc(), cube()});
    writeText("bad.png", "no picture");
    const ProgramResult result = compare({"bad.png"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("bad.png: "), std::string::npos);
    EXPECT_NE(result.out.find("pictures              1, 1 more failed"), std::string::npos) << result.out;
}

TEST_F(Compare, ResultsDoNotOverwriteWhatIsRead) {
    writeOther({disc()});
    for (const char* target : {"a.png", "model.yaml", "other.yaml", "other.onnx"}) {
        const ProgramResult result = compare({"--json", target});
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.err.find("would be overwritten"), std::string::npos) << result.err;
    }
}

TEST_F(Compare, DifferentClassesAreWarnedOf) {
    writeOther({disc(), cube()});
    writeText("other.yaml", detectorConfig("other.onnx") + "# renamed\n");
    std::string config = readText("other.yaml");
    config.replace(config.find("cone"), 4, "ball");
    writeText("other.yaml", config);
    const ProgramResult result = compare({});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("A and B call their classes differently"), std::string::npos) << result.err;
    writeTinyNetwork(path("other.onnx"), fusedNetwork(4, {}));
    writeText("other.yaml",
              "model_path: other.onnx\nconf_thres: 0.25\nnms_thres: 0.65\nclass_num: 4\n"
              "input_size: [64, 64]\n");
    EXPECT_EQ(compare({}).err, "brellix: warning: A has 3 classes (class_num), B has 4\n");
}

TEST_F(Compare, NamesThatDoNotFitAreWarnedOf) {
    writeOther({disc(), cube()});
    writeText("names.txt", "ball\n");
    EXPECT_EQ(
        compare({"--names", "names.txt"}).err,
        "brellix: warning: names.txt holds 1 name and class_num is 3: classes without a name are called "
        "by their number\n");
}

TEST_F(Compare, ABadConfigurationOfEitherSideIsWrongUse) {
    writeOther({disc()});
    EXPECT_EQ(run({"compare", "model.yaml", "nowhere.yaml", "a.png"}).status, 2);
    EXPECT_EQ(run({"compare", "nowhere.yaml", "model.yaml", "a.png"}).status, 2);
    EXPECT_EQ(run({"compare", "model.yaml", "other.yaml"}).status, 2);
    EXPECT_EQ(compare({"--iou", "2"}).status, 2);
}

}  // namespace
}  // namespace brellix::testing
