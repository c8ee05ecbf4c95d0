#include "model_fixture.h"

#include "masks/run_length.h"

namespace brellix::testing {
namespace {

using nlohmann::json;

/// The sum of 101 numbers, each with an error of a few units in the last place.
constexpr double kRounding = 1e-13;

/// "truth.json" says what the networks see on "a.png": a disc and a cube.
class Eval : public ModelTest {
  protected:
    Eval() {
        truth_ = {
            {"images", json::array({image(1, "a.png")})},
            {"categories", {{{"id", 5}, {"name", "cube"}}, {{"id", 90}, {"name", "disc"}}}},
            {"annotations", {annotation(1, 1, 90, {22, 19, 20, 10}), annotation(2, 1, 5, {4, 36, 16, 24})}}};
        writeTruth("truth.json");
    }

    static json image(int id, const std::string& name) {
        return {{"id", id}, {"file_name", name}, {"width", 64}, {"height", 64}};
    }

    static json annotation(int id, int imageId, int category, const std::vector<double>& box) {
        return {{"id", id},
                {"image_id", imageId},
                {"category_id", category},
                {"bbox", box},
                {"area", box[2] * box[3]}};
    }

    void writeTruth(const std::string& name) const { writeText(name, truth_.dump()); }

    ProgramResult eval(const std::vector<std::string>& options,
                       const std::string& dataset = "truth.json") const {
        std::vector<std::string> arguments = {"eval", "model.yaml", dataset};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    /// The figures that --json gives; fails the test unless the run ends with `status`.
    json figures(const std::vector<std::string>& options = {}, int status = 0,
                 const std::string& dataset = "truth.json") const {
        std::vector<std::string> all = {"--json", "-"};
        all.insert(all.end(), options.begin(), options.end());
        const ProgramResult result = eval(all, dataset);
        EXPECT_EQ(result.status, status) << result.err;
        return json::parse(result.out, nullptr, false);
    }

    void expectRefusal(const std::vector<std::string>& options, const std::vector<std::string>& words,
                       const std::string& dataset = "truth.json") const {
        const ProgramResult result = eval(options, dataset);
        EXPECT_EQ(result.status, 2) << result.err;
        EXPECT_EQ(result.out, "");
        for (const std::string& word : words) {
            EXPECT_NE(result.err.find(word), std::string::npos) << word << " is not in: " << result.err;
        }
    }

    json truth_;
};

TEST_F(Eval, WhatIsFoundExactlyIsOne) {
    const json report = figures();
    EXPECT_EQ(report["schema"], 1);
    EXPECT_EQ(report["pictures"], 1);
    EXPECT_EQ(report["objects"], 2);
    EXPECT_EQ(report["mask"], nullptr);
    const json& box = report["box"];
    EXPECT_NEAR(box["AP"].get<double>(), 1.0, kRounding);
    EXPECT_NEAR(box["AP_small"].get<double>(), 1.0, kRounding);
    EXPECT_EQ(box["AP_large"], nullptr);
    ASSERT_EQ(box["classes"].size(), 2U);
    EXPECT_EQ(box["classes"][0]["name"], "cube");
    EXPECT_EQ(box["classes"][0]["category_id"], 5);
    EXPECT_EQ(box["classes"][0]["label"], 2);
    EXPECT_EQ(box["classes"][0]["precision50"].size(), 101U);
}

TEST_F(Eval, TheTableHasARowForAllAndForEachClass) {
    const ProgramResult result = eval({});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out,
              "boxes        objects      AP50      AP75   AP50-95     small    medium     large     AR100\n"
              "all classes        2     1.000     1.000     1.000     1.000         -         -     1.000\n"
              "cube               1     1.000     1.000     1.000     1.000         -         -     1.000\n"
              "disc               1     1.000     1.000     1.000     1.000         -         -     1.000\n"
              "\n"
              "1 picture; confidence from 0.001, suppression at 0.650\n");
}

TEST_F(Eval, TheThresholdIsLowUnlessTheCommandLineSaysOtherwise) {
    EXPECT_EQ(figures()["detections"], 3);
    EXPECT_NEAR(figures()["conf"].get<double>(), 0.001, 1e-12);
    EXPECT_EQ(figures({"--conf", "0.2"})["detections"], 2);
}

TEST_F(Eval, AMissedObjectLowersItsClass) {
    truth_["annotations"].push_back(annotation(3, 1, 90, {0, 0, 5, 5}));
    writeTruth("truth.json");
    const json box = figures()["box"];
    EXPECT_NEAR(box["classes"][1]["AP"].get<double>(), 51.0 / 101.0, kRounding);
    EXPECT_NEAR(box["AP"].get<double>(), (1.0 + 51.0 / 101.0) / 2.0, kRounding);
    EXPECT_EQ(box["classes"][1]["AR100"], 0.5);
}

TEST_F(Eval, ObjectsOfAMissingPictureAreMissedAndTheStatusSaysSo) {
    truth_["images"].push_back(image(2, "gone.png"));
    truth_["annotations"].push_back(annotation(3, 2, 90, {22, 19, 20, 10}));
    writeTruth("truth.json");
    const json report = figures({}, 3);
    EXPECT_EQ(report["failed"], 1);
    EXPECT_NEAR(report["box"]["classes"][1]["AP"].get<double>(), 51.0 / 101.0, kRounding);
    const ProgramResult result = eval({});
    EXPECT_NE(result.err.find("gone.png: No such file"), std::string::npos) << result.err;
    EXPECT_NE(result.out.find("2 pictures, 1 picture failed (their objects count as missed)"),
              std::string::npos);
}

TEST_F(Eval, APictureOfAnotherSizeThanTheDatasetSaysFails) {
    writePicture("a.png", {32, 64});
    const ProgramResult result = eval({});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("a.png: the picture has 32 x 64 pixels, and the dataset says 64 x 64"),
              std::string::npos)
        << result.err;
}

TEST_F(Eval, PicturesAreFoundInTheFoldersAroundTheFile) {
    makeFolder("set/annotations");
    makeFolder("set/val");
    writePicture("set/val/b.png");
    truth_["images"] = json::array({image(1, "b.png")});
    writeTruth("set/annotations/truth.json");
    EXPECT_NEAR(figures({}, 0, "set/annotations/truth.json")["box"]["AP"].get<double>(), 1.0, kRounding);
    writeTruth("set/truth.json");
    EXPECT_NEAR(figures({}, 0, "set/truth.json")["box"]["AP"].get<double>(), 1.0, kRounding);
    writeTruth("truth.json");
    EXPECT_NEAR(figures({"--images", "set/val"})["box"]["AP"].get<double>(), 1.0, kRounding);
    expectRefusal({"--images", "set"}, {"none of its 1 picture is in set", "b.png", "--images DIR"});
}

TEST_F(Eval, OfTheFoldersAroundTheFileTheOneWithTheMostPicturesIsTaken) {
    makeFolder("set/annotations");
    makeFolder("set/val");
    for (const char* picture : {"set/val/b.png", "set/val/c.png", "set/annotations/b.png"}) {
        writePicture(picture);
    }
    truth_["images"] = {image(1, "b.png"), image(2, "c.png")};
    writeTruth("set/annotations/truth.json");
    EXPECT_EQ(figures({}, 0, "set/annotations/truth.json")["failed"], 0);
}

TEST_F(Eval, PicturesThatAreOneInTheirFolderAreRefused) {
    makeFolder("set");
    writePicture("set/b.png");
    truth_["images"] = {image(1, "b.png"), image(2, "../set/b.png")};
    writeTruth("truth.json");
    expectRefusal({}, {"the image 2 is \"../set/b.png\"", "no other entry has", "set/b.png"});
}

TEST_F(Eval, CategoriesThatTheNetworkDoesNotHaveAreRefused) {
    truth_["categories"][1]["name"] = "ball";
    writeTruth("truth.json");
    expectRefusal({}, {"\"ball\" (id 90)", "disc, cone, cube", "--names FILE"});
    writeText("names.txt", "ball\ncone\ncube\n");
    EXPECT_NEAR(figures({"--names", "names.txt"})["box"]["AP"].get<double>(), 1.0, kRounding);
    expectRefusal({"--by-order"}, {"2 categories", "class_num of the configuration is 3"});
}

TEST_F(Eval, DetectionsAreWrittenAsTheyWereMeasured) {
    ASSERT_EQ(eval({"--detections", "found.json", "--quiet"}).status, 0);
    const json found = json::parse(readText("found.json"));
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(
        found[0],
        json({{"image_id", 1}, {"category_id", 90}, {"bbox", {22.0, 19.0, 20.0, 10.0}}, {"score", 0.375}}));
    ASSERT_EQ(eval({"--detections", "found.json", "--quiet", "--conf", "0.99"}).status, 0);
    EXPECT_EQ(json::parse(readText("found.json")), json::array());
}

TEST_F(Eval, DetectionsOfClassesThatTheDatasetLacksAreCountedAndLeftOut) {
    truth_["categories"] = json::array({{{"id", 5}, {"name", "cube"}}});
    truth_["annotations"] = json::array({annotation(2, 1, 5, {4, 36, 16, 24})});
    writeTruth("truth.json");
    const json report = figures();
    EXPECT_EQ(report["detections"], 1);
    EXPECT_EQ(report["detections_without_category"], 2);
    EXPECT_NEAR(report["box"]["AP"].get<double>(), 1.0, kRounding);
}

TEST_F(Eval, MasksAreMeasuredWhereBothHaveThem) {
    truth_["annotations"] = json::array({annotation(1, 1, 90, {12, 20, 24, 24})});
    truth_["annotations"][0]["segmentation"] = {{"size", {64, 64}},
                                                {"counts", app::cocoRunLengths(segmentationMask())}};
    truth_["categories"][1]["name"] = "cone";
    writeTruth("truth.json");
    const ProgramResult result =
        run({"eval", "seg.yaml", "truth.json", "--json", "-", "--detections", "found.json"});
    ASSERT_EQ(result.status, 0) << result.err;
    const json report = json::parse(result.out);
    EXPECT_NEAR(report["box"]["AP"].get<double>(), 1.0, kRounding);
    EXPECT_NEAR(report["mask"]["AP"].get<double>(), 1.0, kRounding);
    const json found = json::parse(readText("found.json"));
    EXPECT_EQ(found[0]["segmentation"], truth_["annotations"][0]["segmentation"]);
}

TEST_F(Eval, APictureOfAnotherSizeThanAMaskFails) {
    truth_["images"][0].erase("width");
    truth_["images"][0].erase("height");
    truth_["categories"][1]["name"] = "cone";
    truth_["annotations"] = json::array({annotation(1, 1, 90, {12, 20, 24, 24})});
    truth_["annotations"][0]["segmentation"] = {{"size", {32, 64}}, {"counts", {0, 2048}}};
    writeTruth("truth.json");
    const ProgramResult result = run({"eval", "seg.yaml", "truth.json", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("a.png: the picture has 64 x 64 pixels, and a mask of the dataset has 64 x 32"),
              std::string::npos)
        << result.err;
    const json report = json::parse(result.out);
    EXPECT_EQ(report["failed"], 1);
    EXPECT_EQ(report["detections"], 0);
}

TEST_F(Eval, MasksAreNotMeasuredWhereTheTruthLacksOne) {
    truth_["categories"][1]["name"] = "cone";
    writeTruth("truth.json");
    const ProgramResult result = run({"eval", "seg.yaml", "truth.json", "--json", "-"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(json::parse(result.out)["mask"], nullptr);
    EXPECT_NE(result.err.find("masks are not measured"), std::string::npos) << result.err;
}

TEST_F(Eval, LabelsBesidePicturesAreADatasetToo) {
    makeFolder("yolo/images");
    makeFolder("yolo/labels");
    writePicture("yolo/images/b.png");
    // The disc and the cube, as shares of 64 pixels.
    writeText("yolo/labels/b.txt", "0 0.5 0.375 0.3125 0.15625\n2 0.1875 0.75 0.25 0.375\n");
    const json report = figures({}, 0, "yolo");
    EXPECT_EQ(report["objects"], 2);
    EXPECT_NEAR(report["box"]["AP"].get<double>(), 1.0, kRounding);
    EXPECT_EQ(report["box"]["classes"][1]["name"], "cube");
    writeText("yolo/labels/b.txt", "3 0.5 0.375 0.3125 0.15625\n");
    expectRefusal({}, {"b.txt:1: the class is 3", "class_num of the configuration is 3"}, "yolo");
}

TEST_F(Eval, LabelsWhoseNamesAreOthersGoByOrder) {
    makeFolder("yolo");
    writePicture("yolo/b.png");
    writeText("yolo/b.txt", "3 0.5 0.375 0.3125 0.15625\n7 0.1875 0.75 0.25 0.375\n");
    writeText("yolo/data.yaml", "val: .\nnames: {3: Scheibe, 5: Kegel, 7: Quader}\n");
    expectRefusal({}, {"\"Scheibe\" (id 3)", "--by-order"}, "yolo");
    const json box = figures({"--by-order"}, 0, "yolo")["box"];
    EXPECT_NEAR(box["AP"].get<double>(), 1.0, kRounding);
    EXPECT_EQ(box["classes"][2]["label"], 2);
}

TEST_F(Eval, ObjectsOfABrokenPictureWithLabelsAreMissed) {
    makeFolder("yolo");
    writePicture("yolo/a.png");
    writeText("yolo/b.png", "no picture");
    writeText("yolo/a.txt", "0 0.5 0.375 0.3125 0.15625\n");
    writeText("yolo/b.txt", "0 0.5 0.375 0.3125 0.15625\n");
    const json report = figures({}, 3, "yolo");
    EXPECT_EQ(report["objects"], 2);
    EXPECT_EQ(report["failed"], 1);
    EXPECT_EQ(report["box"]["AR100"], 0.5);
}

TEST_F(Eval, LimitTakesTheFirstPictures) {
    truth_["images"].push_back(image(2, "gone.png"));
    writeTruth("truth.json");
    EXPECT_EQ(figures({"--limit", "1"})["pictures"], 1);
}

TEST_F(Eval, ThePlotIsAPictureWithTheClassesColours) {
    ASSERT_EQ(eval({"--plot", "pr.png", "--quiet"}).status, 0);
    const cv::Mat plot = readPicture("pr.png");
    ASSERT_FALSE(plot.empty());
    EXPECT_GT(plot.cols, 800);
    EXPECT_EQ(plot.at<cv::Vec3b>(0, 0), cv::Vec3b(255, 255, 255));
    // The mean runs along the upper edge at precision 1.
    EXPECT_LT(plot.at<cv::Vec3b>(50, 350)[0], 60);
    expectRefusal({"--plot", "pr.txt"}, {"--plot: pr.txt has no extension of a picture"});
}

TEST_F(Eval, APlotIsTouchedOnlyWhenItCanBeDrawn) {
    writeText("pr.png", "older");
    const ProgramResult result = eval({"--plot", "pr.png", "--json", "none/figures.json"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("cannot write to none/figures.json"), std::string::npos) << result.err;
    EXPECT_EQ(readText("pr.png"), "older");
}

TEST_F(Eval, APlotThatCannotBeWrittenIsSaidBeforeTheWork) {
    makeFolder("folder.png");
    writePicture("a.png", {32, 64});
    for (const char* plot : {"none/pr.png", "folder.png"}) {
        const ProgramResult result = eval({"--plot", plot});
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.err.find(std::string("brellix: cannot write to ") + plot + ": "), 0U) << result.err;
    }
}

TEST_F(Eval, ResultsDoNotOverwriteWhatIsRead) {
    for (const char* option : {"--json", "--detections"}) {
        for (const char* target : {"truth.json", "a.png", "model.yaml", "network.onnx"}) {
            expectRefusal({option, target}, {std::string(option) + ": " + target, "would be overwritten"});
        }
    }
    expectRefusal({"--plot", "a.png"}, {"--plot: a.png is one of the inputs"});
    expectRefusal({"--detections", "-"}, {"--detections: write to a file"});
}

TEST_F(Eval, BadDatasetsAreRefused) {
    expectRefusal({}, {"dataset nowhere.json: No such file"}, "nowhere.json");
    writeText("bad.json", "{\"images\": 5}");
    expectRefusal({}, {"bad.json: there is no array \"categories\""}, "bad.json");
}

TEST_F(Eval, QuietWritesNothingToStandardOutput) {
    const ProgramResult result = eval({"--quiet"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST_F(Eval, HelpSaysThatConfThresIsNotUsed) {
    const ProgramResult result = run({"eval", "--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("0.001"), std::string::npos);
    EXPECT_NE(result.out.find("conf_thres"), std::string::npos);
}

}  // namespace
}  // namespace brellix::testing
