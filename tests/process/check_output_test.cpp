#include "check_fixture.h"

#include <algorithm>

namespace brellix::testing {
namespace {

using nlohmann::json;

using CheckOutput = CheckTest;

TEST_F(CheckOutput, TableSaysWhatToDoAtTheEnd) {
    writeText("model.yaml", replaced(goodConfig(), "class_num: 3", "class_num: 4"));
    const ProgramResult result = run({"check", "model.yaml"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(
        result.out.find("configuration  model.yaml\n"
                        "network        network.onnx\n"
                        "model          yolov5\n"
                        "\n"
                        "tensor  name     the model asks for  elements  the network has\n"
                        "input   image    1x3x64x64 float32   12288     1x3x64x64 float32  ok\n"
                        "output  output0  1x252x9 float32     2268      1x252x8 float32    other size\n"),
        std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("error    class_num      4, and the network has 3 classes\n"
                              "                        expected: 3\n"
                              "                        fix: write \"class_num: 3\"\n"
                              "                        in: model.yaml:4\n"
                              "\n"
                              "model.yaml: does not fit: 1 error, 1 warning\n"),
              std::string::npos)
        << result.out;
}

TEST_F(CheckOutput, TableOfWhatFitsEndsWithThat) {
    const ProgramResult result = run({"check", "model.yaml", "--conf", "2"});
    EXPECT_EQ(result.status, 0);
    const std::string answer = "\nmodel.yaml: fits, 1 warning\n";
    ASSERT_GE(result.out.size(), answer.size());
    EXPECT_EQ(result.out.substr(result.out.size() - answer.size()), answer);
}

TEST_F(CheckOutput, QuietIsTheExitStatusAlone) {
    const ProgramResult good = run({"check", "model.yaml", "--quiet"});
    EXPECT_EQ(good.status, 0);
    EXPECT_EQ(good.out + good.err, "");
    writeText("model.yaml", replaced(goodConfig(), "class_num: 3", "class_num: 4"));
    const ProgramResult bad = run({"check", "model.yaml", "-q"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.out + bad.err, "");
}

TEST_F(CheckOutput, TerminalObeysNothingOfTheNetwork) {
    TinyNetwork network = fusedNetwork(3, {});
    network.outputs[0].name = "out\x1b[2Jput\n";
    writeTinyNetwork(path("network.onnx"), network);
    const std::string out = run({"check", "model.yaml"}).out;
    EXPECT_NE(out.find("output0 (out?[2Jput?)"), std::string::npos) << out;
    EXPECT_EQ(out.find('\x1b'), std::string::npos);
    EXPECT_EQ(report("model.yaml")["tensors"][1]["found"]["name"], "out\x1b[2Jput\n");
}

TEST_F(CheckOutput, JsonHasTheDocumentedKeys) {
    const json answer = report("cut.yaml");
    EXPECT_EQ(answer["schema"], 1);
    EXPECT_EQ(answer["config"], "cut.yaml");
    EXPECT_EQ(answer["network"], "cut.onnx");
    EXPECT_EQ(answer["model"], "yolov5_cutoff");
    EXPECT_EQ(answer.size(), 7U);
    for (const json& tensor : answer["tensors"]) {
        EXPECT_EQ(tensor.size(), 6U);
        EXPECT_TRUE(tensor["side"] == "input" || tensor["side"] == "output");
        EXPECT_EQ(tensor["expected"].size(), 3U);
        EXPECT_EQ(tensor["found"].size(), 4U);
        EXPECT_EQ(tensor["verdict"], "ok");
    }
    const std::vector<std::string> severities = {"ok", "note", "warning", "error"};
    for (const json& one : answer["findings"]) {
        EXPECT_EQ(one.size(), 6U);
        EXPECT_EQ(std::count(severities.begin(), severities.end(), one["severity"]), 1) << one;
        for (const char* key : {"what", "where", "found", "expected", "fix"}) {
            EXPECT_TRUE(one[key].is_string()) << one;
        }
    }
}

TEST_F(CheckOutput, JsonOfOpenExtentsIsNull) {
    change("network.onnx", "network.onnx", [](onnx::ModelProto& model) { openShapes(model); });
    const json found = report("model.yaml")["tensors"][0]["found"];
    EXPECT_EQ(found["shape"], json::parse("[1,3,null,null]"));
    EXPECT_EQ(found["elements"], json());
}

TEST_F(CheckOutput, PathsOfAnyBytesStayJson) {
    writeText("bad\xff.yaml", goodConfig());
    const json answer = report("bad\xff.yaml");
    EXPECT_EQ(answer["config"], "bad\xEF\xBF\xBD.yaml");
}

TEST_F(CheckOutput, CommandsAreQuotedForTheShell) {
    change("network.onnx", "it's $HOME.onnx", [](onnx::ModelProto& model) { openShapes(model); });
    writeText("model.yaml", replaced(goodConfig(), "network.onnx", "\"it's $HOME.onnx\""));
    expectFinding(
        report("model.yaml"), "shape", "error",
        {"tools/prepare_network.py 'it'\\''s $HOME.onnx' -o 'it'\\''s $HOME_prepared.onnx' --size 64 64"});
}

TEST_F(CheckOutput, FullDiskIsAFailureAtWork) {
    EXPECT_EQ(runWith(StandardOutput::kFullDisk, {"check", "model.yaml"}).status, 3);
    EXPECT_EQ(runWith(StandardOutput::kFullDisk, {"check", "model.yaml", "--quiet"}).status, 0);
}

TEST_F(CheckOutput, HelpNamesEveryOption) {
    const ProgramResult result = run({"check", "--help"});
    EXPECT_EQ(result.status, 0);
    for (const char* option : {"CONFIG", "--names", "--model", "--conf", "--nms", "--json", "--quiet",
                               "Examples:", "Exit status:"}) {
        EXPECT_NE(result.out.find(option), std::string::npos) << option;
    }
}

}  // namespace
}  // namespace brellix::testing
