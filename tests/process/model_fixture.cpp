#include "model_fixture.h"

#include "support/coco_mask.h"

namespace brellix::testing {

ModelTest::ModelTest() {
    writeTinyNetwork(path("cut.onnx"), tinyCutNetwork());
    writeTinyNetwork(path("seg.onnx"), tinySegmentationNetwork());
    writeText("cut.yaml", detectorConfig("cut.onnx"));
    writeText("seg.yaml", segmentationConfig("ONNX", "false"));
    writeText("seg8.yaml", segmentationConfig("RKNN", "true"));
    writePicture("a.png");
}

cv::Mat ModelTest::segmentationMask() {
    cv::Mat mask = cv::Mat::zeros(64, 64, CV_8U);
    mask(cv::Rect(12, 20, 20, 24)) = 255;
    return mask;
}

nlohmann::json ModelTest::onlyObject(const std::string& config) const {
    const ProgramResult result = run({"detect", config, "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 0) << result.err;
    const std::vector<nlohmann::json> lines = jsonLines(result.out);
    if (lines.size() != 1 || lines[0]["objects"].size() != 1) {
        ADD_FAILURE() << "not one object: " << result.out;
        return {};
    }
    return lines[0]["objects"][0];
}

cv::Mat ModelTest::decodedMask(const nlohmann::json& object) {
    const nlohmann::json& size = object.at("mask").at("size");
    return decodeCocoMask(object.at("mask").at("counts"), {size.at(1), size.at(0)});
}

std::string ModelTest::detectorConfig(const std::string& network) {
    return "model_path: " + network +
           "\n"
           "conf_thres: 0.25\n"
           "nms_thres: 0.65\n"
           "class_num: 3\n"
           "input_size: [64, 64]\n"
           "class_mapping: {0: disc, 1: cone, 2: cube}\n";
}

std::string ModelTest::segmentationConfig(const std::string& framework, const std::string& isQuantized) {
    return detectorConfig("seg.onnx") + "framework: " + framework + "\nis_quantized: " + isQuantized + '\n';
}

TinyNetwork tinyCutNetwork() {
    TinyNetwork network = cutNetwork(
        3, kBackground, {{0, 1, 2, 3, {0.0F, 0.0F, 0.0F, 0.0F, 1.0F, kBackground, kBackground, 1.0F}}});
    network.metadata["anchors"] = kFixedAnchors;
    return network;
}

TinyNetwork tinySegmentationNetwork() {
    return segmentationNetwork(3, kBackground,
                               {{0, 3, 2, {1, 1, 2, 2}, {kBackground, 1.0F, kBackground}, 1.0F}});
}

}  // namespace brellix::testing
