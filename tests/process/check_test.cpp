#include "check_fixture.h"

#include <cstdlib>

namespace brellix::testing {
namespace {

using nlohmann::json;
using Names = std::vector<std::string>;

using Check = CheckTest;

TEST_F(Check, PassesWhatFits) {
    for (const char* config : {"model.yaml", "cut.yaml", "seg.yaml", "seg8.yaml"}) {
        const json answer = report(config);
        EXPECT_EQ(answer["fits"], true) << answer.dump(1);
        EXPECT_EQ(errors(answer), Names{});
        expectFinding(answer, "class_num", "ok", {"3"});
        expectFinding(answer, "input_size", "ok", {"64 x 64"});
        for (const json& tensor : answer["tensors"]) {
            EXPECT_EQ(tensor["fits"], true) << tensor;
        }
        expectFinding(answer, "engine", "ok");
    }
}

TEST_F(Check, HasARowForEachTensorThatTheModelAsksFor) {
    const json tensors = report("seg8.yaml")["tensors"];
    ASSERT_EQ(tensors.size(), 11U);
    EXPECT_EQ(tensors[0]["expected"],
              json::parse(R"({"elements":12288,"shape":[1,3,64,64],"type":"8-bit image"})"));
    EXPECT_EQ(tensors[2]["name"], "output1");
    EXPECT_EQ(tensors[2]["expected"], json::parse(R"({"elements":192,"shape":[1,3,8,8],"type":"int8"})"));
    EXPECT_EQ(tensors[2]["found"],
              json::parse(R"({"name":"output1","elements":192,"shape":[1,3,8,8],"type":"float32"})"));
    EXPECT_EQ(tensors[10]["name"], "proto");
}

TEST_F(Check, SaysHowManyClassesTheNetworkHas) {
    for (const std::string config : {"model.yaml", "cut.yaml", "seg.yaml"}) {
        writeText(config, replaced(readText(config), "class_num: 3", "class_num: 80"));
        const json answer = report(config);
        expectFinding(answer, "class_num", "error",
                      {config + ":4", "80, and the network has 3 classes", "write \"class_num: 3\""});
        EXPECT_EQ(errors(answer), Names{"class_num"}) << answer.dump(1);
    }
}

TEST_F(Check, SaysTheInputSizeOfTheNetwork) {
    for (const std::string config : {"model.yaml", "cut.yaml", "seg.yaml"}) {
        writeText(config, replaced(readText(config), "[64, 64]", "[96, 96]"));
        const json answer = report(config);
        expectFinding(answer, "input_size", "error", {config + ":5", "write \"input_size: [64, 64]\""});
        EXPECT_EQ(errors(answer), Names{"input_size"}) << answer.dump(1);
    }
}

TEST_F(Check, TellsWidthFromHeight) {
    TinyNetwork network = tinyCutNetwork();
    network.width = 64;
    network.height = 96;
    for (std::size_t head = 0; head < 3; ++head) {
        const int stride = 8 << head;
        network.outputs[head].shape = {1, 24, 96 / stride, 64 / stride};
        network.outputs[head].values.assign(static_cast<std::size_t>(24 * (96 / stride) * (64 / stride)),
                                            0.0F);
    }
    writeTinyNetwork(path("cut.onnx"), network);
    writeText("cut.yaml", replaced(readText("cut.yaml"), "[64, 64]", "[96, 64]"));
    expectFinding(report("cut.yaml"), "input_size", "error", {"write \"input_size: [64, 96]\""});
    writeText("cut.yaml", replaced(readText("cut.yaml"), "[96, 64]", "[64, 96]"));
    EXPECT_EQ(report("cut.yaml")["fits"], true);
}

TEST_F(Check, WantsInputsThatTheStridesDivide) {
    writeText("model.yaml", replaced(readText("model.yaml"), "[64, 64]", "[64, 50]"));
    const json answer = report("model.yaml");
    EXPECT_EQ(answer["fits"], false);
    bool isNamed = false;
    for (const json& candidate : answer["findings"]) {
        isNamed = isNamed ||
                  (candidate["what"] == "input_size" &&
                   candidate["expected"].get<std::string>().find("multiples of 32") != std::string::npos);
    }
    EXPECT_TRUE(isNamed) << answer.dump(1);
}

TEST_F(Check, RefusesANetworkWhoseOwnSizeDoesNotWork) {
    TinyNetwork network = fusedNetwork(3, {});
    network.width = 60;
    writeTinyNetwork(path("network.onnx"), network);
    expectFinding(report("model.yaml"), "network input", "error", {"60 x 64", "multiples of 32", "--size"});
    TinyNetwork seg = tinySegmentationNetwork();
    seg.width = 96;
    writeTinyNetwork(path("seg.onnx"), seg);
    expectFinding(report("seg.yaml"), "network input", "error", {"96 x 64", "a square"});
}

TEST_F(Check, SegmentationWantsASquare) {
    writeText("seg.yaml", replaced(readText("seg.yaml"), "[64, 64]", "[64, 32]"));
    const json answer = report("seg.yaml");
    EXPECT_EQ(answer["fits"], false);
    EXPECT_NE(answer.dump().find("a width equal to the height"), std::string::npos);
}

TEST_F(Check, WantsTheBackEndsNameExactly) {
    writeText("seg.yaml", segmentationConfig("onnx", "false"));
    expectFinding(report("seg.yaml"), "framework", "error",
                  {"seg.yaml:7", "\"onnx\"", "TensorRT, RKNN or ONNX", "framework: ONNX"});
}

TEST_F(Check, CollectsEverythingThatIsWrong) {
    std::string config = segmentationConfig("onnx", "true");
    config = replaced(config, "class_num: 3", "class_num: 4");
    config = replaced(config, "[64, 64]", "[96, 96]");
    config = replaced(config, "conf_thres: 0.25", "conf_thres: 25");
    writeText("seg.yaml", config);
    writeText("seg.onnx.calibration.yaml", "damaged");
    const json answer = report("seg.yaml");
    EXPECT_EQ(errors(answer), (Names{"framework", "input_size", "class_num", "calibration"}));
    expectFinding(answer, "conf_thres", "warning", {"25.000", "a number from 0 to 1"});
}

TEST_F(Check, ThresholdsOutsideTheirRangeAreWarnings) {
    writeText("model.yaml", replaced(readText("model.yaml"), "nms_thres: 0.65", "nms_thres: .nan"));
    const json answer = report("model.yaml", {"--conf", "-1"});
    EXPECT_EQ(answer["fits"], true);
    expectFinding(answer, "nms_thres", "warning", {"model.yaml:3"});
    expectFinding(answer, "conf_thres", "warning", {"the command line", "-1.000"});
}

TEST_F(Check, OptionThatTheFileOverrulesIsAWarning) {
    writeText("model.yaml", "model: yolov5\n" + goodConfig());
    const json answer = report("model.yaml", {"--model", "yolov8_seg"});
    EXPECT_EQ(answer["fits"], true);
    expectFinding(answer, "model class", "warning", {"--model yolov8_seg is not used"});
}

TEST_F(Check, ComparesNamesWithTheClassCount) {
    expectFinding(report("model.yaml"), "class_mapping", "ok", {"3 names"});
    writeText("two.names", "disc\ncone\n");
    expectFinding(report("model.yaml", {"--names", "two.names"}), "names", "warning",
                  {"2 names", "two.names"});
    writeText("model.yaml", replaced(readText("model.yaml"), "class_mapping", "other"));
    expectFinding(report("model.yaml"), "class_mapping", "note", {"by their number"});
    EXPECT_EQ(run({"check", "model.yaml", "--names", "none"}).status, 2);
}

TEST_F(Check, SaysNothingOfKeysThatANetworkOfAnotherKindCannotTell) {
    const json answer = report("model.yaml", {"--model", "yolov5_cutoff"});
    EXPECT_EQ(errors(answer), Names{"model"}) << answer.dump(1);
    for (const char* key : {"class_num", "input_size"}) {
        EXPECT_EQ(finding(answer, key), json()) << answer.dump(1);
    }
}

TEST_F(Check, SaysThatAListOfNamesIsNoMap) {
    writeText("model.yaml",
              replaced(readText("model.yaml"), "{0: disc, 1: cone, 2: cube}", "[disc, cone, cube]"));
    const json answer = report("model.yaml");
    EXPECT_EQ(answer["fits"], true);
    expectFinding(answer, "class_mapping", "warning",
                  {"model.yaml:6", "a list of 3 elements", "a map from class numbers below 1000000 to names",
                   "class_mapping: {0: circle, 1: triangle}"});
}

TEST_F(Check, CountsClassesWithoutANameAmongOthersAsNameless) {
    writeText("model.yaml", replaced(readText("model.yaml"), "1: cone, ", ""));
    expectFinding(report("model.yaml"), "class_mapping", "warning",
                  {"class_mapping holds 2 names and class_num is 3", "called by their number"});
}

TEST_F(Check, SaysThatRowsAndColumnsAreExchanged) {
    TinyNetwork network = fusedNetwork(3, {});
    std::swap(network.outputs[0].shape[1], network.outputs[0].shape[2]);
    writeTinyNetwork(path("network.onnx"), network);
    const json answer = report("model.yaml");
    EXPECT_EQ(errors(answer), Names{"layout"}) << answer.dump(1);
    expectFinding(answer, "layout", "error", {"1x8x252", "one row a candidate", "transposition"});
    EXPECT_EQ(answer["tensors"][1]["verdict"], "other layout");
}

TEST_F(Check, NamesNetworksThatNoModelDecodes) {
    TinyNetwork network;
    network.outputs = {{"output0", {1, 7, 84}, std::vector<float>(7 * 84)}};
    writeTinyNetwork(path("network.onnx"), network);
    expectFinding(report("model.yaml"), "model", "error", {"YOLOv8 detection network", "no model decodes"});
    network.outputs = {{"output0", {1, 252, 40}, std::vector<float>(252 * 40)},
                       {"output1", {1, 32, 16, 16}, std::vector<float>(32 * 256)}};
    writeTinyNetwork(path("network.onnx"), network);
    expectFinding(report("model.yaml", {"--model", "yolov5"}), "model", "error",
                  {"YOLOv5 segmentation network"});
}

TEST_F(Check, SegmentationExportComesWithTheCommandThatPreparesIt) {
    TinyNetwork network;
    network.outputs = {{"output0", {1, 39, 84}, std::vector<float>(39 * 84)},
                       {"output1", {1, 32, 16, 16}, std::vector<float>(32 * 256)}};
    writeTinyNetwork(path("my export.onnx"), network);
    const std::string config = replaced(segmentationConfig("ONNX", "false"), "seg.onnx", "my export.onnx");
    const std::string command = "tools/prepare_network.py 'my export.onnx' -o 'my export_prepared.onnx'";
    writeText("seg.yaml", config);
    expectFinding(report("seg.yaml"), "model", "error", {"as it is exported", command});
    writeText("seg.yaml", "model: yolov8_seg\n" + config);
    expectFinding(report("seg.yaml"), "model", "error", {"as it is exported", command});
}

TEST_F(Check, DetectorThatShouldBeCutComesWithTheCommandThatCutsIt) {
    expectFinding(
        report("model.yaml", {"--model", "yolov5_cutoff"}), "model", "error",
        {"tools/prepare_network.py network.onnx -o network_cut.onnx --cut", "or write \"model: yolov5\""});
}

TEST_F(Check, MissingOutputsAreNamed) {
    change("seg.onnx", "seg.onnx",
           [](onnx::ModelProto& model) { model.mutable_graph()->mutable_output()->RemoveLast(); });
    const json answer = report("seg.yaml", {"--model", "yolov8_seg"});
    EXPECT_EQ(errors(answer), Names{"output proto"}) << answer.dump(1);
    EXPECT_EQ(answer["tensors"][10]["found"], json());
}

TEST_F(Check, FurtherInputIsRefused) {
    change("network.onnx", "network.onnx", [](onnx::ModelProto& model) {
        onnx::ValueInfoProto& input = *model.mutable_graph()->add_input();
        input.CopyFrom(model.graph().input(0));
        input.set_name("another");
    });
    EXPECT_EQ(report("model.yaml")["fits"], false);
}

TEST_F(Check, ChannelsLastInputIsRefused) {
    change("network.onnx", "network.onnx", [](onnx::ModelProto& model) {
        auto& shape =
            *model.mutable_graph()->mutable_input(0)->mutable_type()->mutable_tensor_type()->mutable_shape();
        shape.mutable_dim(1)->set_dim_value(64);
        shape.mutable_dim(3)->set_dim_value(3);
    });
    expectFinding(report("model.yaml"), "input image", "error", {"1x64x64x3", "planar input"});
}

TEST_F(Check, OutputOfAnotherNameMatchesWhereItIsTheOnlyOne) {
    TinyNetwork network = fusedNetwork(3, {});
    network.inputName = "images";
    network.outputs[0].name = "output";
    writeTinyNetwork(path("network.onnx"), network);
    EXPECT_EQ(report("model.yaml")["fits"], true);
}

TEST_F(Check, HalfPrecisionAndOpenShapesComeWithTheCommand) {
    change("network.onnx", "network.onnx", [](onnx::ModelProto& model) {
        setTypes(model, onnx::TensorProto::FLOAT16);
        openShapes(model);
    });
    const json answer = report("model.yaml");
    const std::string command = "tools/prepare_network.py network.onnx -o network_prepared.onnx --size 64 64";
    expectFinding(answer, "element type", "error", {"float16 inputs, outputs", "float32", command});
    expectFinding(answer, "shape", "error", {"image 1x3x?x?", "a static shape", command});
    EXPECT_EQ(errors(answer), (Names{"element type", "shape"})) << answer.dump(1);
}

TEST_F(Check, OnnxRuntimeTakesHalfPrecisionAndOpenShapes) {
#ifndef BRELLIX_WITH_ONNXRUNTIME
    GTEST_SKIP() << "built without ONNX Runtime";
#endif
    ::setenv("BRELLIX_ENGINE_BACKEND", "onnxruntime", 1);
    change("network.onnx", "network.onnx", [](onnx::ModelProto& model) {
        setTypes(model, onnx::TensorProto::FLOAT16);
        openShapes(model);
    });
    const json answer = report("model.yaml");
    EXPECT_EQ(finding(answer, "element type"), json()) << answer.dump(1);
    EXPECT_EQ(finding(answer, "shape"), json()) << answer.dump(1);
    for (const json& tensor : answer.at("tensors")) {
        EXPECT_EQ(tensor.at("verdict"), "ok") << tensor;
    }
}

TEST_F(Check, HalfPrecisionWeightsAreFound) {
    change("network.onnx", "network.onnx", [](onnx::ModelProto& model) {
        onnx::TensorProto& weights = *model.mutable_graph()->add_initializer();
        weights.set_name("half");
        weights.set_data_type(onnx::TensorProto::FLOAT16);
        weights.add_dims(1);
        weights.add_int32_data(0);
    });
    expectFinding(report("model.yaml"), "element type", "error", {"float16 weights"});
}

TEST_F(Check, NodesThatTheBackEndRefusesAreNamed) {
    change("network.onnx", "network.onnx", [](onnx::ModelProto& model) {
        model.mutable_opset_import(0)->set_version(13);
        onnx::NodeProto& node = *model.mutable_graph()->add_node();
        node.set_op_type("Split");
        node.set_name("parts");
        node.add_input("mean");
        node.add_input("sizes");
        node.add_output("part");
        model.mutable_graph()->add_node()->CopyFrom(node);
    });
    const json answer = report("model.yaml");
    expectFinding(answer, "graph", "error", {"Split 'parts' computes its sizes"});
    expectFinding(answer, "opset", "note", {"13"});
}

TEST_F(Check, UnknownOperatorIsRefused) {
    change("network.onnx", "network.onnx", [](onnx::ModelProto& model) {
        model.mutable_graph()->mutable_node(0)->set_op_type("NoSuchOperator");
    });
    expectFinding(report("model.yaml"), "graph", "error", {"NoSuchOperator"});
}

TEST_F(Check, WhatOnlyTheEngineSeesIsSaidByIt) {
    // The onnx library knows the operator, OpenCV does not.
    change("network.onnx", "network.onnx", [](onnx::ModelProto& model) {
        onnx::GraphProto& graph = *model.mutable_graph();
        onnx::NodeProto& node = *graph.add_node();
        node.set_op_type("Det");
        node.add_input("image");
        node.add_output("determinant");
        onnx::ValueInfoProto& output = *graph.add_output();
        output.set_name("determinant");
        output.mutable_type()->mutable_tensor_type()->set_elem_type(onnx::TensorProto::FLOAT);
        auto& shape = *output.mutable_type()->mutable_tensor_type()->mutable_shape();
        shape.add_dim()->set_dim_value(1);
        shape.add_dim()->set_dim_value(3);
    });
    expectFinding(report("model.yaml", {"--model", "yolov5"}), "engine", "error",
                  {"refuses the network: code 4: network 'network.onnx'"});
}

TEST_F(Check, NetworkOfAnotherFormatCannotBeCompared) {
    writeText("network.rknn", "what a board loads");
    writeText("model.yaml", replaced(readText("model.yaml"), "network.onnx", "network.rknn"));
    const json answer = report("model.yaml", {"--model", "yolov5"});
    EXPECT_EQ(answer["fits"], true);
    EXPECT_EQ(answer["tensors"], json::array());
    expectFinding(answer, "network", "warning", {"network.rknn", "cannot be compared", "the engine decides"});
    for (const char* key : {"class_num", "input_size"}) {
        EXPECT_EQ(finding(answer, key), json()) << answer.dump(1);
    }
    const ProgramResult unsaid = run({"check", "model.yaml"});
    EXPECT_EQ(unsaid.status, 2);
    EXPECT_NE(unsaid.err.find("this is no ONNX file; say it with the key \"model\" or with --model"),
              std::string::npos)
        << unsaid.err;
}

TEST_F(Check, DamagedNetworkDoesNotFit) {
    writeText("network.onnx", readText("network.onnx").substr(0, 100));
    expectFinding(report("model.yaml", {"--model", "yolov5"}), "network", "error", {"truncated or damaged"});
}

TEST_F(Check, MissingOrUnusableFilesAreWrongUse) {
    EXPECT_EQ(run({"check"}).status, 2);
    EXPECT_EQ(run({"check", "none.yaml"}).status, 2);
    writeText("model.yaml", "model_path: [");
    EXPECT_EQ(run({"check", "model.yaml"}).status, 2);
    writeText("model.yaml", replaced(goodConfig(), "class_num: 3", "class_num: many"));
    const ProgramResult result = run({"check", "model.yaml"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("model.yaml:4: \"class_num\" is \"many\""), std::string::npos) << result.err;
}

}  // namespace
}  // namespace brellix::testing
