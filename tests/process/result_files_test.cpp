#include "model_fixture.h"

#include <filesystem>

namespace brellix::testing {
namespace {

using Arguments = std::vector<std::string>;

/// Results go neither over what a run reads nor over each other.
class ResultFiles : public ModelTest {
  protected:
    ResultFiles() {
        writeText("names.txt", "disc\ncone\ncube\n");
        writeText("cut.onnx.calibration.yaml", "");
        EXPECT_EQ(run({"calibrate", "cut.yaml", "a.png", "--force"}).status, 0);
    }

    /// Expects that the run is refused with `words`, and that `file` stays as it is.
    void expectKept(const std::string& file, const Arguments& arguments, const std::string& words) const {
        const std::string before = readText(file);
        ASSERT_NE(before, "") << file;
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 2) << words;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(words), std::string::npos) << words << " is not in: " << result.err;
        EXPECT_EQ(readText(file), before) << file;
    }

    void expectInputKept(const std::string& file, const Arguments& arguments,
                         const std::string& option) const {
        expectKept(file, arguments, option + ": " + file + " is one of the inputs and would be overwritten");
    }

    void expectRefused(const Arguments& arguments, const std::string& words) const {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 2) << words;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(words), std::string::npos) << words << " is not in: " << result.err;
    }

    void writeYoloDataset() const {
        makeFolder("yolo/images");
        makeFolder("yolo/labels");
        writePicture("yolo/images/b.png");
        writeText("yolo/labels/b.txt", "0 0.5 0.375 0.3125 0.15625\n");
        writeText("yolo/data.yaml", "val: images\nnames: [disc, cone, cube]\n");
    }

    void writeCocoDataset() const {
        writeText("truth.json",
                  R"({"images": [{"id": 1, "file_name": "a.png", "width": 64, "height": 64}],
                      "categories": [{"id": 1, "name": "disc"}],
                      "annotations": [{"id": 1, "image_id": 1, "category_id": 1, "bbox": [22, 19, 20, 10]}]})");
    }
};

TEST_F(ResultFiles, NamesAreKept) {
    writeCocoDataset();
    const Arguments rest = {"--names", "names.txt", "--json", "names.txt"};
    for (Arguments arguments :
         {Arguments{"detect", "model.yaml", "a.png"}, Arguments{"compare", "model.yaml", "cut.yaml", "a.png"},
          Arguments{"eval", "model.yaml", "truth.json"}}) {
        arguments.insert(arguments.end(), rest.begin(), rest.end());
        expectInputKept("names.txt", arguments, "--json");
    }
    expectInputKept("names.txt",
                    {"init", "network.onnx", "--names", "names.txt", "--force", "-o", "names.txt"}, "--out");
}

TEST_F(ResultFiles, CalibrationIsKept) {
    writeCocoDataset();
    const std::string file = "cut.onnx.calibration.yaml";
    expectInputKept(file, {"detect", "cut.yaml", "a.png", "--json", file}, "--json");
    expectInputKept(file, {"bench", "cut.yaml", "a.png", "--json", file}, "--json");
    expectInputKept(file, {"compare", "model.yaml", "cut.yaml", "a.png", "--json", file}, "--json");
    expectInputKept(file, {"eval", "cut.yaml", "truth.json", "--detections", file}, "--detections");
}

TEST_F(ResultFiles, GroundTruthIsKept) {
    writeYoloDataset();
    for (const char* file : {"yolo/labels/b.txt", "yolo/data.yaml", "yolo/images/b.png"}) {
        for (const char* option : {"--json", "--detections"}) {
            expectInputKept(file, {"eval", "model.yaml", "yolo", option, file}, option);
        }
    }
}

TEST_F(ResultFiles, InputsAreKnownByAnyPath) {
    std::filesystem::create_hard_link(path("a.png"), path("hard.png"));
    std::filesystem::create_symlink("a.png", path("soft.png"));
    for (const char* name : {"hard.png", "soft.png", "./a.png"}) {
        const std::string words = std::string("--json: ") + name + " is one of the inputs";
        expectKept("a.png", {"detect", "model.yaml", "a.png", "--json", name}, words);
    }
    makeFolder("seen");
    std::filesystem::create_hard_link(path("a.png"), path("seen/a.png"));
    expectKept("a.png", {"detect", "model.yaml", "a.png", "--out", "seen"},
               "--out: seen/a.png is one of the inputs");
}

TEST_F(ResultFiles, ResultsAreKeptApart) {
    writeCocoDataset();
    expectRefused({"eval", "model.yaml", "truth.json", "--json", "s.json", "--detections", "./s.json"},
                  "--detections: ./s.json is where --json writes, too");
    expectRefused({"eval", "model.yaml", "truth.json", "--json", "p.png", "--plot", "p.png"},
                  "--json: p.png is where --plot writes, too");
    EXPECT_FALSE(exists("s.json"));
    EXPECT_FALSE(exists("p.png"));
    makeFolder("seen");
    expectRefused({"detect", "model.yaml", "a.png", "--json", "seen/a.png", "--out", "seen"},
                  "--out: seen/a.png is where --json writes, too");
    expectRefused({"detect", "model.yaml", "a.png", "--json", "seen/a_0_0_disc.jpg", "--crops", "seen"},
                  "--crops: seen/a_0_0_disc.jpg is where --json writes, too");
}

TEST_F(ResultFiles, FiguresAreKeptFromTheWorstPictures) {
    makeFolder("seen");
    const ProgramResult result =
        run({"compare", "model.yaml", "cut.yaml", "a.png", "--json", "seen/worst-1-a.png", "--out", "seen"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("--out: seen/worst-1-a.png is where --json writes, too"), std::string::npos)
        << result.err;
    EXPECT_EQ(nlohmann::json::parse(readText("seen/worst-1-a.png"))["pictures"], 1);
    EXPECT_NE(result.out.find("pictures              1\n"), std::string::npos) << result.out;
}

TEST_F(ResultFiles, StandardOutputIsNotWrittenByItsName) {
    writeCocoDataset();
    for (const std::string name : {"/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"}) {
        const std::string words = ": " + name + " cannot be written by its name; give -";
        expectRefused({"detect", "model.yaml", "a.png", "--json", name}, "--json" + words);
        expectRefused({"bench", "model.yaml", "a.png", "--json", name}, "--json" + words);
        expectRefused({"compare", "model.yaml", "cut.yaml", "a.png", "--json", name}, "--json" + words);
        expectRefused({"eval", "model.yaml", "truth.json", "--detections", name}, "--detections" + words);
        expectRefused({"init", "network.onnx", "--force", "-o", name}, "--out" + words);
        expectRefused({"calibrate", "cut.yaml", "a.png", "--force", "-o", name}, "--out" + words);
    }
}

TEST_F(ResultFiles, OneDeviceMayTakeThemAll) {
    writeCocoDataset();
    const ProgramResult result = run(
        {"eval", "model.yaml", "truth.json", "--quiet", "--json", "/dev/null", "--detections", "/dev/null"});
    EXPECT_EQ(result.status, 0) << result.err;
}

TEST_F(ResultFiles, OneFolderMayTakeCopiesAndCrops) {
    makeFolder("seen");
    const ProgramResult result =
        run({"detect", "model.yaml", "a.png", "--out", "seen", "--crops", "seen", "--json", "seen/a.jsonl"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(exists("seen/a.png"));
    EXPECT_TRUE(exists("seen/a_0_0_disc.jpg"));
}

}  // namespace
}  // namespace brellix::testing
