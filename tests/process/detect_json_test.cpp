#include "detect_fixture.h"

#include <set>

namespace brellix::testing {
namespace {

using nlohmann::json;

using DetectJson = DetectTest;

std::set<std::string> keysOf(const json& object) {
    std::set<std::string> keys;
    for (const auto& entry : object.items()) {
        keys.insert(entry.key());
    }
    return keys;
}

TEST_F(DetectJson, LineHasExactlyTheDocumentedKeys) {
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::vector<json> lines = jsonLines(result.out);
    ASSERT_EQ(lines.size(), 1U);
    const json& line = lines[0];
    EXPECT_EQ(keysOf(line),
              (std::set<std::string>{"schema", "source", "frame", "width", "height", "objects", "ms"}));
    EXPECT_EQ(line["schema"], 1);
    EXPECT_EQ(line["source"], "a.png");
    EXPECT_EQ(line["frame"], 0);
    EXPECT_EQ(line["width"], 64);
    EXPECT_EQ(line["height"], 64);
    EXPECT_EQ(keysOf(line["ms"]), (std::set<std::string>{"pre", "infer", "post"}));
    for (const json& time : line["ms"]) {
        EXPECT_TRUE(time.is_number());
        EXPECT_GE(time.get<double>(), 0.0);
    }
}

TEST_F(DetectJson, ObjectsAreWhatTheNetworkSays) {
    writePicture("a.png");
    const std::vector<json> lines = jsonLines(run({"detect", "model.yaml", "a.png", "--json", "-"}).out);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0]["objects"],
              json::parse(R"([{"label": 0, "name": "disc", "prob": 0.375, "box": [22, 19, 20, 10]},
                              {"label": 2, "name": "cube", "prob": 0.875, "box": [4, 36, 16, 24]}])"));
}

TEST_F(DetectJson, BoxesAreInPixelsOfThePicture) {
    writePicture("large.png", {128, 128});
    writePicture("wide.png", {128, 64});
    const std::vector<json> lines =
        jsonLines(run({"detect", "model.yaml", "large.png", "wide.png", "--json", "-"}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["objects"][0]["box"], json({44, 38, 40, 20}));
    // 16 network pixels of padding above and below, then twice the size.
    EXPECT_EQ(lines[1]["objects"][0]["box"], json({44, 6, 40, 20}));
    EXPECT_EQ(lines[1]["width"], 128);
    EXPECT_EQ(lines[1]["height"], 64);
}

/// The bytes of a JPEG file whose EXIF data say that it has to be turned by 90 degrees.
std::string lyingOnItsSide(const std::string& jpeg) {
    const std::string tiff("II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0", 26);
    const std::string exif = std::string("Exif\0\0", 6) + tiff;
    const std::string head("\xFF\xE1\0", 3);
    const char length = static_cast<char>(exif.size() + 2);
    return jpeg.substr(0, 2) + head + length + exif + jpeg.substr(2);
}

TEST_F(DetectJson, PictureIsTurnedUprightAsItsExifDataSay) {
    writePicture("a.jpg", {128, 64});
    writeText("b.jpg", lyingOnItsSide(readText("a.jpg")));
    const std::vector<json> lines =
        jsonLines(run({"detect", "model.yaml", "a.jpg", "b.jpg", "--json", "-"}).out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["width"], 128);
    EXPECT_EQ(lines[0]["height"], 64);
    EXPECT_EQ(lines[1]["width"], 64);
    EXPECT_EQ(lines[1]["height"], 128);
}

TEST_F(DetectJson, StandardOutputHoldsNothingElse) {
    writePicture("a.png");
    writePicture("b.png");
    const ProgramResult result =
        run({"detect", "model.yaml", "a.png", "b.png", "--json", "-", "--out", "seen"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(jsonLines(result.out).size(), 2U);
    EXPECT_EQ(result.out.back(), '\n');
}

TEST_F(DetectJson, FileHoldsTheLinesAndStandardOutputTheTable) {
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "results.jsonl"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(jsonLines(readText("results.jsonl")).size(), 1U);
    EXPECT_EQ(result.out.substr(0, 7), "picture");
}

TEST_F(DetectJson, ProbabilitiesAreWrittenShort) {
    writeTinyNetwork(path("network.onnx"),
                     fusedNetwork(3, {{32.0F, 32.0F, 8.0F, 8.0F, 1.0F, {0.82F, 0.0F, 0.0F}}}));
    writePicture("a.png");
    const std::string out = run({"detect", "model.yaml", "a.png", "--json", "-"}).out;
    EXPECT_NE(out.find("\"prob\":0.82,"), std::string::npos) << out;
}

TEST_F(DetectJson, PathThatIsNoUnicodeStillGivesJson) {
    writePicture("a.png");
    const std::string odd = "caf\xE9.png";
    writeText(odd, readText("a.png"));
    const ProgramResult result = run({"detect", "model.yaml", odd, "--json", "-"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(sources(result.out), (std::vector<std::string>{"caf\xEF\xBF\xBD.png"}));
}

TEST_F(DetectJson, NamesComeFromAFileWhereOneIsGiven) {
    writePicture("a.png");
    writeText("names.txt", "ball\r\ncone\r\nbox\r\n");
    const ProgramResult result =
        run({"detect", "model.yaml", "a.png", "--names", "names.txt", "--json", "-"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(jsonLines(result.out)[0]["objects"][0]["name"], "ball");
    EXPECT_EQ(jsonLines(result.out)[0]["objects"][1]["name"], "box");
}

TEST_F(DetectJson, TooFewNamesAreFilledWithNumbersAndWarnedOf) {
    writePicture("a.png");
    writeText("names.txt", "ball\n");
    const ProgramResult result =
        run({"detect", "model.yaml", "a.png", "--names", "names.txt", "--json", "-"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("names.txt holds 1 name and class_num is 3"), std::string::npos) << result.err;
    EXPECT_EQ(jsonLines(result.out)[0]["objects"][1]["name"], "2");
}

TEST_F(DetectJson, WithoutAnyNamesClassesAreNumbers) {
    writePicture("a.png");
    std::string config = goodConfig();
    writeText("model.yaml", config.erase(config.find("class_mapping")));
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(jsonLines(result.out)[0]["objects"][0]["name"], "0");
}

TEST_F(DetectJson, AClassWithoutANameAmongOthersIsANumber) {
    writePicture("a.png");
    const auto namesWith = [this](const std::string& mapping) {
        std::string config = goodConfig();
        writeText("model.yaml", config.erase(config.find("class_mapping")) + "class_mapping: " + mapping);
        const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "-"});
        const nlohmann::json line = jsonLines(result.out).at(0);
        std::vector<std::string> names;
        for (const nlohmann::json& object : line["objects"]) {
            names.push_back(object["name"]);
        }
        return names;
    };
    EXPECT_EQ(namesWith("{1: cone, 2: cube}"), (std::vector<std::string>{"0", "cube"}));
    EXPECT_EQ(namesWith("[disc, cone, cube]"), (std::vector<std::string>{"0", "2"}));
    writeText("names.txt", "ball\n\n\n");
    const ProgramResult result =
        run({"detect", "model.yaml", "a.png", "--names", "names.txt", "--json", "-"});
    EXPECT_EQ(jsonLines(result.out)[0]["objects"][1]["name"], "2");
}

TEST_F(DetectJson, MissingNamesFileIsWrongUse) {
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--names", "none.txt"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("none.txt: No such file"), std::string::npos) << result.err;
}

TEST_F(DetectJson, VerboseShowsTheLibrarysLinesOnStandardError) {
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "-", "--verbose"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(jsonLines(result.out).size(), 1U);
    EXPECT_NE(result.err.find("dw: 0, dh: 0, ratio: 1\n"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("Destruct yolov5\n"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace brellix::testing
