#include "detect_fixture.h"

#include <filesystem>

namespace brellix::testing {
namespace {

class Configuration : public DetectTest {
  protected:
    Configuration() { writePicture("a.png"); }

    /// Runs with `config` and expects a refusal that names each of `words`.
    void expectRefusal(const std::string& config, const std::vector<std::string>& words) const {
        writeText("model.yaml", config);
        expectRefusalOf("model.yaml", words);
    }

    void expectRefusalOf(const std::string& configPath, const std::vector<std::string>& words) const {
        const ProgramResult result = run({"detect", configPath, "a.png", "--json", "-"});
        EXPECT_EQ(result.status, 2) << result.err;
        EXPECT_EQ(result.out, "");
        for (const std::string& word : words) {
            EXPECT_NE(result.err.find(word), std::string::npos) << word << " is not in: " << result.err;
        }
    }

    static std::string without(const std::string& key) {
        std::string config = goodConfig();
        const std::size_t start = config.find(key);
        if (start == std::string::npos) {
            return config;
        }
        return config.erase(start, config.find('\n', start) + 1 - start);
    }

    static std::string with(const std::string& line) {
        return without(line.substr(0, line.find(':') + 1)) + line + '\n';
    }
};

TEST_F(Configuration, MissingFileIsNamed) {
    expectRefusalOf("none.yaml", {"none.yaml", "No such file"});
}

TEST_F(Configuration, FolderInPlaceOfTheFileIsNamed) {
    makeFolder("folder");
    expectRefusalOf("folder", {"folder", "this is a folder"});
}

TEST_F(Configuration, BrokenYamlIsLocated) {
    expectRefusal("model_path: network.onnx\ninput_size: [64, 64\n", {"model.yaml:3:1", "not valid YAML"});
}

TEST_F(Configuration, NetworkOrPictureInItsPlaceIsSaid) {
    for (const std::string path : {"network.onnx", "a.png"}) {
        expectRefusalOf(path, {path + ": this is no text, expected a YAML file", "brellix init NETWORK"});
    }
}

TEST_F(Configuration, NestingBeyondTheParsersLimitIsSaid) {
    const std::string brackets(20000, '[');
    expectRefusal("model_path: " + brackets, {"model.yaml:1:", "too deep inside each other"});
}

TEST_F(Configuration, ClassNumbersThatFillTheMemoryAreRefused) {
    for (const std::string number : {"1000000", "600000000", "2147483647", "0x7fffffff"}) {
        expectRefusal(with("class_mapping: {0: disc, " + number + ": cone}"),
                      {"model.yaml:", "class_mapping", "class number", "below 1000000"});
    }
}

TEST_F(Configuration, NamesOfOtherFormsArePassedOver) {
    for (const std::string names :
         {"[disc, cone]", "{disc: 0}", "{-1: disc}", "{99999999999: disc}", "~", "{[1]: x}"}) {
        writeText("model.yaml", with("class_mapping: " + names));
        const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "-"});
        EXPECT_EQ(result.status, 0) << names << ": " << result.err;
    }
}

TEST_F(Configuration, EmptyFileIsRefused) {
    expectRefusal("", {"model.yaml", "holds nothing", "model_path"});
}

TEST_F(Configuration, ListInPlaceOfKeysIsRefused) {
    expectRefusal("- model_path\n- 3\n", {"model.yaml", "a list of 2 elements"});
}

TEST_F(Configuration, EachMissingKeyIsNamedWithAnExample) {
    for (const std::string key : {"model_path", "conf_thres", "nms_thres", "class_num", "input_size"}) {
        expectRefusal(without(key + ':'), {"model.yaml", '"' + key + "\" is missing", "add for example"});
    }
}

TEST_F(Configuration, ValueThatDoesNotConvertIsShownWithItsLine) {
    expectRefusal(with("conf_thres: high"), {"model.yaml:6", "conf_thres", "\"high\"", "conf_thres: 0.25"});
    expectRefusal(with("nms_thres: [1]"), {"nms_thres", "a list of 1 element"});
    expectRefusal(with("class_num: 3.5"), {"class_num", "\"3.5\"", "whole number"});
    expectRefusal(with("class_num: ~"), {"class_num", "empty"});
    expectRefusal(with("class_num: -1"), {"class_num", "-1"});
    expectRefusal(with("model_path: {a: b}"), {"model_path", "a map"});
    expectRefusal(with("model_path: "), {"model_path", "empty"});
}

TEST_F(Configuration, InputSizeMustFitTheGrids) {
    expectRefusal(with("input_size: 64"), {"input_size", "\"64\"", "[640, 640]"});
    expectRefusal(with("input_size: [64]"), {"input_size", "a list of 1 element"});
    expectRefusal(with("input_size: [64, 50]"), {"input_size", "64 x 50", "multiples of 32"});
    expectRefusal(with("input_size: [0, 64]"), {"input_size", "0 x 64"});
    expectRefusal(with("input_size: [-64, 64]"), {"input_size", "-64 x 64"});
    expectRefusal(with("input_size: [4294967360, 64]"), {"input_size", "4294967360 x 64", "too large"});
    expectRefusal(with("input_size: [9223372036854775776, 9223372036854775776]"), {"too large"});
    expectRefusal(with("class_num: 2147483647"), {"2147483647 classes", "too large"});
}

TEST_F(Configuration, MissingNetworkIsNamed) {
    expectRefusal(with("model_path: other.onnx"), {"model.yaml:6", "other.onnx", "no such file"});
}

TEST_F(Configuration, FolderInPlaceOfTheNetworkIsNamed) {
    makeFolder("folder.onnx");
    expectRefusal(with("model_path: folder.onnx"), {"folder.onnx", "this is a folder"});
}

TEST_F(Configuration, DamagedNetworkIsWrongUse) {
    writeText("network.onnx", "this is not a network");
    expectRefusal(with("model: yolov5"), {"brellix: network.onnx: network: ", "truncated or damaged"});
}

TEST_F(Configuration, NetworkOfAnotherFormatIsLeftToTheEngine) {
    writeText("network.rknn", "what a board loads");
    expectRefusal(without("model_path:") + "model: yolov5\nmodel_path: network.rknn\n",
                  {"warning: network.rknn: network: no ONNX file",
                   "brellix_ai_engine: ", "the engine refused this network for yolov5"});
}

TEST_F(Configuration, NetworkThatDoesNotFitTheClassNumberIsWrongUse) {
    expectRefusal(with("class_num: 7"),
                  {"brellix: model.yaml:6: \"class_num\" is 7, and the network has 3 classes, expected 3; "
                   "write \"class_num: 3\"\n"});
}

TEST_F(Configuration, EachThingThatDoesNotFitIsALine) {
    std::string config = with("class_num: 7");
    config.replace(config.find("[64, 64]"), 8, "[96, 64]");
    expectRefusal(config,
                  {"brellix: model.yaml:4: \"input_size\" is 96 x 64, and the network's input is 64 x 64",
                   "\nbrellix: model.yaml:6: \"class_num\" is 7"});
}

TEST_F(Configuration, UnknownModelClassIsNamed) {
    expectRefusal(with("model: yolov99"), {"model.yaml", "yolov99", "yolov5"});
}

TEST_F(Configuration, KeyOfTheFileWinsOverTheOption) {
    writeText("model.yaml", with("model: yolov5"));
    EXPECT_EQ(run({"detect", "model.yaml", "a.png", "--model", "yolov5"}).status, 0);
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--model", "yolov5_cutoff"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("--model yolov5_cutoff is not used"), std::string::npos) << result.err;
}

TEST_F(Configuration, NetworkIsFoundBesideTheConfiguration) {
    makeFolder("models");
    for (const char* name : {"network.onnx", "model.yaml"}) {
        std::filesystem::rename(path(name), path(std::string("models/") + name));
    }
    const ProgramResult result = run({"detect", "models/model.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 0) << result.err;
    ASSERT_EQ(jsonLines(result.out).size(), 1U);
    EXPECT_EQ(jsonLines(result.out)[0]["objects"].size(), 2U);
}

TEST_F(Configuration, NetworkNamedWithItsFoldersIsFoundBesideTheConfiguration) {
    makeFolder("models");
    std::filesystem::rename(path("network.onnx"), path("models/network.onnx"));
    writeText("models/model.yaml", with("model_path: elsewhere/models/network.onnx"));
    const ProgramResult result = run({"detect", "models/model.yaml", "a.png", "--verbose"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.err.find("models/network.onnx (found beside the configuration)"), std::string::npos)
        << result.err;
}

TEST_F(Configuration, WorkingDirectoryWinsOverTheConfigurationsFolder) {
    makeFolder("models");
    writeText("models/network.onnx", "this is not a network");
    writeText("models/model.yaml", goodConfig());
    EXPECT_EQ(run({"detect", "models/model.yaml", "a.png"}).status, 0);
}

TEST_F(Configuration, ThresholdOutsideItsRangeIsAWarning) {
    writeText("model.yaml", with("conf_thres: 25"));
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("\"conf_thres\" is 25.000, expected a number from 0 to 1"), std::string::npos)
        << result.err;
    EXPECT_EQ(jsonLines(result.out)[0]["objects"].size(), 0U);
}

}  // namespace
}  // namespace brellix::testing
