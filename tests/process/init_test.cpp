#include "check_fixture.h"

#include <yaml-cpp/yaml.h>

#include <filesystem>

namespace brellix::testing {
namespace {

class Init : public CheckTest {
  protected:
    /// Runs and expects `status`, nothing on standard output, and each of `words` on standard error.
    ProgramResult expect(int status, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& words = {}) const {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, status) << result.err;
        EXPECT_EQ(result.out, "");
        for (const std::string& word : words) {
            EXPECT_NE(result.err.find(word), std::string::npos) << word << " is not in: " << result.err;
        }
        return result;
    }

    void tellNames(const std::string& network, const std::string& names) const {
        change(network, network, [&names](onnx::ModelProto& model) {
            onnx::StringStringEntryProto& entry = *model.add_metadata_props();
            entry.set_key("names");
            entry.set_value(names);
        });
    }

    YAML::Node written(const std::string& name) const { return YAML::Load(readText(name)); }

    /// \return the names of classes 0, 1 and so on.
    std::vector<std::string> classNames(const std::string& name) const {
        const YAML::Node mapping = written(name)["class_mapping"];
        std::vector<std::string> names;
        for (std::size_t label = 0; label < mapping.size(); ++label) {
            names.push_back(mapping[label].as<std::string>());
        }
        return names;
    }
};

TEST_F(Init, WritesWhatDetectRuns) {
    for (const char* config : {"cut.yaml", "seg.yaml"}) {
        std::filesystem::remove(path(config));
    }
    for (const std::string stem : {"network", "cut", "seg"}) {
        expect(0, {"init", stem + ".onnx"},
               {stem + ".yaml: written for yolov", ", 3 classes, 64 x 64",
                stem + ".yaml: passes brellix check; next: brellix detect " + stem + ".yaml PICTURE"});
        EXPECT_EQ(written(stem + ".yaml")["class_num"].as<int>(), 3);
        EXPECT_EQ(written(stem + ".yaml")["input_size"].as<std::vector<int>>(), (std::vector<int>{64, 64}));
        EXPECT_EQ(run({"check", stem + ".yaml", "-q"}).status, 0);
        const ProgramResult detected = run({"detect", stem + ".yaml", "a.png"});
        EXPECT_EQ(detected.status, 0) << detected.err;
        EXPECT_EQ(detected.out.find("nothing found"), std::string::npos) << detected.out;
    }
}

TEST_F(Init, FolderBehindALinkThatLeadsNowhereIsWrongUse) {
    std::filesystem::create_symlink("loop", path("loop"));
    static_cast<void>(expect(2, {"init", "network.onnx", "-o", "loop/new.yaml"},
                             {"brellix: the folder ", "loop: Too many levels of symbolic links"}));
}

TEST_F(Init, WritesTheKeysOfTheClass) {
    static_cast<void>(expect(0, {"init", "cut.onnx", "-o", "new.yaml"}));
    const YAML::Node cut = written("new.yaml");
    EXPECT_EQ(cut["model"].as<std::string>(), "yolov5_cutoff");
    EXPECT_EQ(cut["conf_thres"].as<float>(), 0.25F);
    EXPECT_EQ(cut["nms_thres"].as<float>(), 0.65F);
    EXPECT_FALSE(cut["framework"].IsDefined());
    static_cast<void>(
        expect(0, {"init", "seg.onnx", "-o", "seg8.yaml", "--framework", "RKNN", "--quantized", "-f"}));
    const YAML::Node seg = written("seg8.yaml");
    EXPECT_EQ(seg["model"].as<std::string>(), "yolov8_seg");
    EXPECT_EQ(seg["framework"].as<std::string>(), "RKNN");
    EXPECT_TRUE(seg["is_quantized"].as<bool>());
    static_cast<void>(expect(0, {"init", "seg.onnx", "-o", "seg.yaml", "-f"}));
    EXPECT_EQ(written("seg.yaml")["framework"].as<std::string>(), "ONNX");
    EXPECT_FALSE(written("seg.yaml")["is_quantized"].as<bool>());
}

TEST_F(Init, ExplainsEachKey) {
    static_cast<void>(expect(0, {"init", "seg.onnx", "-o", "new.yaml"}));
    const std::string text = readText("new.yaml");
    for (const auto& entry : written("new.yaml")) {
        const std::string key = entry.first.as<std::string>() + ":";
        const std::size_t line = text.find('\n' + key);
        ASSERT_NE(line, std::string::npos) << key;
        const std::size_t above = text.rfind('\n', line - 1);
        EXPECT_EQ(text[above + 1], '#') << "no comment above " << key;
    }
}

TEST_F(Init, TakesNamesFromTheMetadata) {
    tellNames("network.onnx", R"({0: 'disc', 1: "cat's", 2: 'a: "b" # \\ \u00e9\n'})");
    static_cast<void>(expect(0, {"init", "network.onnx"}));
    const YAML::Node names = written("network.yaml")["class_mapping"];
    EXPECT_EQ(names[0].as<std::string>(), "disc");
    EXPECT_EQ(names[1].as<std::string>(), "cat's");
    EXPECT_EQ(names[2].as<std::string>(), "a: \"b\" # \\ \xC3\xA9\n");
    writePicture("b.png");
    EXPECT_NE(run({"detect", "network.yaml", "b.png"}).out.find("disc"), std::string::npos);
}

TEST_F(Init, NamesOfTheOptionWinOverTheMetadata) {
    tellNames("network.onnx", "{0: 'a', 1: 'b', 2: 'c'}");
    writeText("my.names", "one\ntwo\r\nthree\n");
    static_cast<void>(expect(0, {"init", "network.onnx", "--names", "my.names"}));
    EXPECT_EQ(written("network.yaml")["class_mapping"][1].as<std::string>(), "two");
    static_cast<void>(expect(2, {"init", "network.onnx", "--names", "none", "-f"}, {"none"}));
}

TEST_F(Init, ALinkStaysOneAndItsTargetIsReplaced) {
    makeFolder("shared");
    writeText("shared/old.yaml", "older");
    std::filesystem::create_symlink("shared/old.yaml", path("network.yaml"));
    static_cast<void>(expect(0, {"init", "network.onnx", "-f"}));
    EXPECT_TRUE(std::filesystem::is_symlink(path("network.yaml")));
    EXPECT_NE(readText("shared/old.yaml").find("model_path: "), std::string::npos);
}

TEST_F(Init, NothingThatLiesBesideTheConfigurationIsLost) {
    const std::string network = readText("network.onnx");
    writeText("new.yaml.unfinished", network);
    expect(0, {"init", "new.yaml.unfinished", "--out", "new.yaml"});
    EXPECT_EQ(written("new.yaml")["model"].as<std::string>(), "yolov5");
    EXPECT_EQ(readText("new.yaml.unfinished"), network);
}

TEST_F(Init, ClassesWithoutNamesGetNumbers) {
    static_cast<void>(expect(0, {"init", "network.onnx"}));
    EXPECT_EQ(written("network.yaml")["class_mapping"][2].as<std::string>(), "2");
    tellNames("network.onnx", "__import__('os').system('touch ran')");
    static_cast<void>(
        expect(0, {"init", "network.onnx", "-f"}, {"warning: network.onnx: the metadata \"names\""}));
    EXPECT_EQ(written("network.yaml")["class_mapping"][2].as<std::string>(), "2");
    EXPECT_FALSE(exists("ran"));
}

TEST_F(Init, NamesThatAreTooManyOrTooFewAreSaid) {
    tellNames("network.onnx", "['a', 'b', 'c', 'd']");
    static_cast<void>(expect(0, {"init", "network.onnx"},
                             {"warning: 4 names (from the network's metadata) for 3 classes: "
                              "1 name past the last class left out\n"}));
    EXPECT_EQ(written("network.yaml")["class_mapping"].size(), 3U);
    writeText("my.names", "one\ntwo\n");
    static_cast<void>(expect(0, {"init", "network.onnx", "-f", "--names", "my.names"},
                             {"warning: 2 names (from a list) for 3 classes: "
                              "1 class without a name called by number\n"}));
    EXPECT_EQ(classNames("network.yaml"), (std::vector<std::string>{"one", "two", "2"}));
}

TEST_F(Init, NamesThatAreNumberedOtherwiseAreSaid) {
    tellNames("network.onnx", "{1: 'a', 2: 'b', 3: 'c'}");
    static_cast<void>(
        expect(0, {"init", "network.onnx"},
               {"warning: 3 names (from the network's metadata) for 3 classes: "
                "1 name past the last class left out, 1 class without a name called by number\n"}));
    EXPECT_EQ(classNames("network.yaml"), (std::vector<std::string>{"0", "a", "b"}));
}

TEST_F(Init, WritesAPathThatIsRightFromTheConfiguration) {
    makeFolder("nets");
    makeFolder("configs");
    std::filesystem::rename(path("network.onnx"), path("nets/my \"net\".onnx"));
    static_cast<void>(expect(0, {"init", "nets/my \"net\".onnx", "-o", "configs/new.yaml"}));
    EXPECT_EQ(written("configs/new.yaml")["model_path"].as<std::string>(), "../nets/my \"net\".onnx");
    EXPECT_EQ(run({"check", "configs/new.yaml", "-q"}).status, 0);
    static_cast<void>(
        expect(0, {"init", "nets/my \"net\".onnx"}, {"next: brellix detect 'nets/my \"net\".yaml' PICTURE"}));
    EXPECT_EQ(written("nets/my \"net\".yaml")["model_path"].as<std::string>(), "my \"net\".onnx");
}

TEST_F(Init, StandardOutputGetsTheConfigurationAlone) {
    const ProgramResult result = run({"init", "network.onnx", "-o", "-"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(YAML::Load(result.out)["model_path"].as<std::string>(), "network.onnx");
    EXPECT_FALSE(exists("network.yaml"));
}

TEST_F(Init, ExistingFileIsReplacedOnlyByForce) {
    const std::string before = readText("model.yaml");
    expect(2, {"init", "network.onnx", "-o", "model.yaml"},
           {"model.yaml exists already", "--force", "--out"});
    EXPECT_EQ(readText("model.yaml"), before);
    expect(0, {"init", "network.onnx", "-o", "model.yaml", "--force"});
    EXPECT_NE(readText("model.yaml"), before);
    const std::string network = readText("network.onnx");
    expect(2, {"init", "network.onnx", "-o", "network.onnx", "--force"}, {"one of the inputs"});
    EXPECT_EQ(readText("network.onnx"), network);
}

TEST_F(Init, NetworkOfNoModelIsTheAnswerNoWithWhatItLacks) {
    change("cut.onnx", "cut.onnx",
           [](onnx::ModelProto& model) { model.mutable_graph()->mutable_output()->RemoveLast(); });
    std::filesystem::remove(path("cut.yaml"));
    expect(1, {"init", "cut.onnx"},
           {"no model decodes its 2 outputs", "for yolov5_cutoff it lacks /model.24/m.2/Conv_output_0",
            "for yolov8_seg it lacks output0, output1", "tools/prepare_network.py"});
    EXPECT_FALSE(exists("cut.yaml"));
}

TEST_F(Init, OrdinaryExportsComeWithTheirCommands) {
    change("network.onnx", "wild.onnx", [](onnx::ModelProto& model) {
        setTypes(model, onnx::TensorProto::FLOAT16);
        openShapes(model);
    });
    expect(
        1, {"init", "wild.onnx"},
        {"a YOLOv5 network with its detection layer", "float16 inputs, outputs", "open: input image 1x3x?x?",
         "tools/prepare_network.py wild.onnx -o wild_prepared.onnx --size 640 640",
         "tools/prepare_network.py wild.onnx -o wild_cut.onnx --cut --size 640 640"});
    TinyNetwork network;
    network.outputs = {{"output0", {1, 39, 84}, std::vector<float>(39 * 84)},
                       {"output1", {1, 32, 16, 16}, std::vector<float>(32 * 256)}};
    writeTinyNetwork(path("-export.onnx"), network);
    expect(1, {"init", "--", "-export.onnx"},
           {"a YOLOv8 segmentation network as it is exported", "it lacks output2",
            "tools/prepare_network.py ./-export.onnx -o ./-export_prepared.onnx,"});
}

TEST_F(Init, OwnAnchorsAreWrittenAndThenRefused) {
    TinyNetwork network = tinyCutNetwork();
    network.metadata["anchors"] =
        "[[[5,6],[8,14],[15,11]],[[30,61],[62,45],[59,119]],[[116,90],[156,198],[373,326]]]";
    writeTinyNetwork(path("own.onnx"), network);
    expect(1, {"init", "own.onnx"}, {"trained with its own", "written, but it does not pass brellix check"});
    EXPECT_TRUE(exists("own.yaml"));
}

TEST_F(Init, WhatIsNoOnnxNetworkIsWrongUse) {
    writeText("network.rknn", "what a board loads");
    expect(2, {"init", "network.rknn"}, {"only ONNX networks can be recognised", "by hand"});
    expect(2, {"init", "none.onnx"}, {"none.onnx"});
    expect(2, {"init", "cut.onnx", "--framework", "onnx"}, {"--framework"});
    expect(2, {"init"}, {"NETWORK"});
}

TEST_F(Init, OptionsOfAnotherClassAreSaidToHaveNoEffect) {
    expect(0, {"init", "network.onnx", "--quantized"},
           {"brellix: --quantized has no effect: yolov5 does not read it\n"});
    expect(0, {"init", "cut.onnx", "--force", "--framework", "RKNN"},
           {"brellix: --framework has no effect: yolov5_cutoff does not read it\n"});
    expect(0, {"init", "network.onnx", "--force", "--framework", "RKNN", "--quantized"},
           {"brellix: --framework and --quantized have no effect: yolov5 reads neither\n"});
}

TEST_F(Init, ReplacedFileKeepsItsPermissions) {
    namespace fs = std::filesystem;
    for (const fs::perms permissions : {fs::perms(0600), fs::perms(0664), fs::perms(0440)}) {
        writeText("network.yaml", "a: b\n");
        fs::permissions(path("network.yaml"), permissions);
        EXPECT_EQ(run({"init", "network.onnx", "--force"}).status, 0);
        EXPECT_EQ(fs::status(path("network.yaml")).permissions(), permissions);
        fs::remove(path("network.yaml"));
    }
}

TEST_F(Init, FileThatCannotBeWrittenIsAFailure) {
    expect(3, {"init", "network.onnx", "-o", "none/new.yaml"}, {"cannot write to none/new.yaml"});
    EXPECT_EQ(runWith(StandardOutput::kFullDisk, {"init", "network.onnx", "-o", "-"}).status, 3);
}

TEST_F(Init, HelpNamesEveryOption) {
    const ProgramResult result = run({"init", "--help"});
    EXPECT_EQ(result.status, 0);
    for (const char* option : {"NETWORK", "--out", "--force", "--names", "--framework", "--quantized",
                               "--quiet", "Examples:", "Exit status:"}) {
        EXPECT_NE(result.out.find(option), std::string::npos) << option;
    }
}

}  // namespace
}  // namespace brellix::testing
