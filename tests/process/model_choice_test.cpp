#include "model_fixture.h"

namespace brellix::testing {
namespace {

using nlohmann::json;

class ModelChoice : public ModelTest {
  protected:
    /// Runs with `config` and expects a refusal that names each of `words`, and nothing on standard output.
    void expectRefusal(const std::string& config, const std::vector<std::string>& words,
                       const std::vector<std::string>& options = {}) const {
        writeText("model.yaml", config);
        std::vector<std::string> arguments = {"detect", "model.yaml", "a.png", "--json", "-"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 2) << result.err;
        EXPECT_EQ(result.out, "");
        for (const std::string& word : words) {
            EXPECT_NE(result.err.find(word), std::string::npos) << word << " is not in: " << result.err;
        }
    }

    std::string chosenClass(const std::string& config) const {
        const std::string said = run({"detect", config, "a.png", "--verbose"}).err;
        const std::string lead = "brellix: model class: ";
        const std::size_t start = said.find(lead);
        return start == std::string::npos
                   ? "(none)"
                   : said.substr(start + lead.size(), said.find('\n', start) - start - lead.size());
    }
};

TEST_F(ModelChoice, FollowsTheOutputsWhereNobodySaysIt) {
    EXPECT_EQ(chosenClass("model.yaml"), "yolov5");
    EXPECT_EQ(chosenClass("cut.yaml"), "yolov5_cutoff");
    EXPECT_EQ(chosenClass("seg.yaml"), "yolov8_seg");
}

TEST_F(ModelChoice, OutputsOfNoClassAreNamed) {
    TinyNetwork network = tinyCutNetwork();
    network.outputs[1].name = "middle";
    writeTinyNetwork(path("network.onnx"), network);
    expectRefusal(goodConfig(), {"3 outputs of network.onnx: /model.24/m.0/Conv_output_0, middle, ",
                                 "cannot be guessed", "--model", "yolov8_seg"});
}

TEST_F(ModelChoice, NetworkThatCannotBeReadIsNamed) {
    writeText("network.onnx", "this is not a network");
    expectRefusal(goodConfig(), {"network.onnx", "cannot be guessed", "another format", "--model"});
}

TEST_F(ModelChoice, SaidClassIsNotGuessedAgain) {
    expectRefusal(detectorConfig("cut.onnx"),
                  {"\"model\" is yolov5, expected a network for it", "cut.onnx", "cut before",
                   "write \"model: yolov5_cutoff\""},
                  {"--model", "yolov5"});
    expectRefusal(
        "model: yolov5_cutoff\n" + goodConfig(),
        {"model.yaml:1: \"model\" is yolov5_cutoff", "network.onnx", "--cut", "or write \"model: yolov5\""});
}

TEST_F(ModelChoice, CutDetectorFindsWhatTheNetworkSays) {
    const json object = onlyObject("cut.yaml");
    EXPECT_EQ(object["label"], 2);
    EXPECT_EQ(object["name"], "cube");
    EXPECT_EQ(object["box"], json({20, 5, 16, 30}));
    EXPECT_FALSE(object.contains("mask"));
}

TEST_F(ModelChoice, SegmentationNeedsItsOwnKeys) {
    expectRefusal(detectorConfig("seg.onnx"), {"model.yaml", "\"framework\" is missing", "framework: ONNX"});
    expectRefusal(detectorConfig("seg.onnx") + "framework: ONNX\n",
                  {"\"is_quantized\" is missing", "is_quantized: false"});
    expectRefusal(segmentationConfig("onnx", "false"),
                  {"model.yaml:7", "\"framework\" is \"onnx\"", "TensorRT, RKNN or ONNX"});
    expectRefusal(segmentationConfig("ONNX", "1"),
                  {"model.yaml:8", "\"is_quantized\" is \"1\"", "true or false"});
}

TEST_F(ModelChoice, SegmentationNeedsASquareInput) {
    std::string config = segmentationConfig("ONNX", "false");
    config.replace(config.find("[64, 64]"), 8, "[64, 32]");
    expectRefusal(config, {"model.yaml:5", "input_size", "64 x 32", "a width equal to the height"});
}

TEST_F(ModelChoice, EachFrameworkAndFormOfTruthIsTaken) {
    for (const char* framework : {"TensorRT", "RKNN", "ONNX"}) {
        for (const char* isQuantized : {"true", "no"}) {
            writeText("seg.yaml", segmentationConfig(framework, isQuantized));
            EXPECT_EQ(onlyObject("seg.yaml")["label"], 1) << framework << ' ' << isQuantized;
        }
    }
}

TEST_F(ModelChoice, SegmentationNetworkWithOtherClassesIsWrongUse) {
    std::string config = segmentationConfig("ONNX", "false");
    config.replace(config.find("class_num: 3"), 12, "class_num: 4");
    expectRefusal(config, {"model.yaml:4: \"class_num\" is 4, and the network has 3 classes"});
}

TEST_F(ModelChoice, SegmentationNetworkThatTheEngineRefusesIsWrongUse) {
    writeText("seg.rknn", "what a board loads");
    std::string config = "model: yolov8_seg\n" + segmentationConfig("RKNN", "true");
    config.replace(config.find("seg.onnx"), 8, "seg.rknn");
    expectRefusal(config, {"brellix_ai_engine: ", "seg.rknn", "the model refused model.yaml"});
}

}  // namespace
}  // namespace brellix::testing
