// Networks trained on photographs, held against the objects that an independent decoder found.

#include "brellix/model_zoo.h"
#include "evaluation/overlap.h"
#include "object_matching.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <optional>
#include <set>

namespace {

using namespace ai_orvo::model;
using brellix::app::boxOverlap;
using brellix::testing::matchObjects;
using brellix::testing::TemporaryFolder;
using nlohmann::json;

/// How far our objects may lie from the expected ones.
struct Tolerance {
    float prob;
    float pixels;       ///< for each of x, y, width, height
    double minOverlap;  ///< of matched boxes
    double maskPixels;  ///< share of the mask's pixels
};

constexpr float kAnyPixels = 1e9F;
constexpr Tolerance kFloatNetwork{0.02F, 2.0F, 0.5, 0.02};
constexpr Tolerance kInt8Network{0.05F, kAnyPixels, 0.9, 0.0};

/// An object as the independent decoder found it.
struct ExpectedObject {
    Object object;
    std::optional<int> maskPixels;
};

class RealNetworks : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* folder = std::getenv("BRELLIX_NETWORKS");
        if (folder == nullptr || *folder == '\0') {
            GTEST_SKIP() << "BRELLIX_NETWORKS names no folder of networks";
        }
        folder_ = folder;
        std::ifstream(folder_ + "/expected.json") >> expected_;
    }

    std::string networkPath(const std::string& name) const { return folder_ + "/" + name + ".onnx"; }

    std::string configText(const std::string& network, bool quantized = false) const {
        return "model_path: " + networkPath(network) +
               "\nconf_thres: 0.25\nnms_thres: 0.65\nclass_num: 80\ninput_size: [640, 640]\n" +
               "framework: ONNX\nis_quantized: " + (quantized ? "true\n" : "false\n");
    }

    void expectObjectsOf(CvModel& model, const std::string& network, const Tolerance& tolerance) const;

    std::string folder_;
    json expected_;
};

std::vector<ExpectedObject> objectsFrom(const json& entries) {
    std::vector<ExpectedObject> objects;
    for (const json& entry : entries) {
        const auto box = entry.at("box").get<std::vector<float>>();
        ExpectedObject expected;
        expected.object = {
            {box.at(0), box.at(1), box.at(2), box.at(3)}, entry.at("label"), entry.at("prob"), {}};
        if (entry.contains("mask_pixels")) {
            expected.maskPixels = entry.at("mask_pixels").get<int>();
        }
        objects.push_back(expected);
    }
    return objects;
}

std::vector<Object> objectsOf(const std::vector<ExpectedObject>& expected) {
    std::vector<Object> objects;
    for (const ExpectedObject& entry : expected) {
        objects.push_back(entry.object);
    }
    return objects;
}

void expectClose(const Object& found, const ExpectedObject& expected, const Tolerance& tolerance) {
    const Object& object = expected.object;
    EXPECT_NEAR(found.prob, object.prob, tolerance.prob);
    EXPECT_NEAR(found.rect.x, object.rect.x, tolerance.pixels);
    EXPECT_NEAR(found.rect.y, object.rect.y, tolerance.pixels);
    EXPECT_NEAR(found.rect.width, object.rect.width, tolerance.pixels);
    EXPECT_NEAR(found.rect.height, object.rect.height, tolerance.pixels);
    ASSERT_EQ(found.mask.empty(), !expected.maskPixels.has_value());
    if (expected.maskPixels) {
        EXPECT_NEAR(cv::countNonZero(found.mask), *expected.maskPixels,
                    *expected.maskPixels * tolerance.maskPixels);
    }
}

void RealNetworks::expectObjectsOf(CvModel& model, const std::string& network,
                                   const Tolerance& tolerance) const {
    ASSERT_FALSE(expected_.empty());
    for (const auto& [photo, byNetwork] : expected_.items()) {
        SCOPED_TRACE(photo);
        const std::vector<ExpectedObject> expected = objectsFrom(byNetwork.at(network));
        std::vector<Object> found;
        model.detect(cv::imread(folder_ + "/photos/" + photo), found);
        ASSERT_EQ(last_run_report().inference_status, 0);

        const auto pairs = matchObjects(found, objectsOf(expected), tolerance.minOverlap);
        EXPECT_EQ(found.size(), expected.size());
        EXPECT_EQ(pairs.size(), expected.size());
        for (const auto& [ours, theirs] : pairs) {
            expectClose(found[ours], expected[theirs], tolerance);
        }
    }
}

TEST_F(RealNetworks, FusedDetectorFindsTheExpectedObjects) {
    const TemporaryFolder folder;
    YOLOv5 model(folder.write("fused.yaml", configText("yolov5n_fused_640")));
    ASSERT_EQ(last_run_report().init_status, 0);
    expectObjectsOf(model, "yolov5n_fused_640", kFloatNetwork);
}

TEST_F(RealNetworks, CutDetectorFindsTheExpectedObjects) {
    const TemporaryFolder folder;
    YOLOv5Cutoff model(folder.write("cut.yaml", configText("yolov5n_cutoff_bgr_640")));
    ASSERT_EQ(last_run_report().init_status, 0);
    expectObjectsOf(model, "yolov5n_cutoff_bgr_640", kInt8Network);
}

TEST_F(RealNetworks, SegmentationFindsTheExpectedObjectsAndMasks) {
    YOLOv8Seg model(YAML::Load(configText("yolov8n-seg_heads_bgr_640")));
    expectObjectsOf(model, "yolov8n-seg_heads_bgr_640", kFloatNetwork);
}

#ifdef BRELLIX_WITH_ONNXRUNTIME
// The same detector as it was exported in the wild, which only this back-end takes.
TEST_F(RealNetworks, HalfPrecisionDynamicExportFindsTheObjectsOfTheFusedDetector) {
    const char* const backend = std::getenv("BRELLIX_ENGINE_BACKEND");
    if (backend != nullptr && std::string(backend) == "opencv_dnn") {
        GTEST_SKIP() << "the back-end opencv_dnn refuses it";
    }
    const TemporaryFolder folder;
    YOLOv5 model(folder.write("fp16.yaml", configText("yolov5n_export_fp16_dynamic")));
    ASSERT_EQ(last_run_report().init_status, 0);
    expectObjectsOf(model, "yolov5n_fused_640", kFloatNetwork);
}
#endif

/// How two runs of one network agree, over all photographs.
struct Agreement {
    int expected = 0;
    int found = 0;
    double probDrift = 0;
    double boxOverlap = 0;
    double maskOverlap = 0;
};

// A drift of one int8 step moves a probability by about this much; an object that close to the threshold may
// go.
constexpr float kThresholdMargin = 0.05F;

void compare(const std::vector<Object>& floats, const std::vector<Object>& int8s, float confidence,
             Agreement& agreement) {
    std::set<std::size_t> foundFloats;
    for (const auto& [a, b] : matchObjects(floats, int8s, 0.5)) {
        foundFloats.insert(a);
        ++agreement.found;
        agreement.probDrift +=
            std::abs(static_cast<double>(floats[a].prob) - static_cast<double>(int8s[b].prob));
        agreement.boxOverlap += boxOverlap(cv::Rect2d(floats[a].rect), cv::Rect2d(int8s[b].rect));
        agreement.maskOverlap += static_cast<double>(cv::countNonZero(floats[a].mask & int8s[b].mask)) /
                                 std::max(1, cv::countNonZero(floats[a].mask | int8s[b].mask));
    }
    for (std::size_t i = 0; i < floats.size(); ++i) {
        agreement.expected += floats[i].prob >= confidence + kThresholdMargin ? 1 : 0;
        EXPECT_TRUE(foundFloats.count(i) == 1 || floats[i].prob < confidence + kThresholdMargin)
            << "label " << floats[i].label << ", probability " << floats[i].prob;
    }
}

TEST_F(RealNetworks, SegmentationInInt8AgreesWithItselfInFloat) {
    const TemporaryFolder folder;
    const std::string network = folder.path() + "/network.onnx";
    std::filesystem::create_symlink(networkPath("yolov8n-seg_heads_bgr_640"), network);
    const auto text = [&](bool quantized) {
        YAML::Node config = YAML::Load(configText("yolov8n-seg_heads_bgr_640", quantized));
        config["model"] = "yolov8_seg";
        config["model_path"] = network;
        return YAML::Dump(config);
    };
    const std::string calibrate = std::string("'") + BRELLIX_PROGRAM + "' calibrate --quiet '" +
                                  folder.write("int8.yaml", text(true)) + "' '" + folder_ +
                                  "/photos' >/dev/null";
    ASSERT_EQ(std::system(calibrate.c_str()), 0) << calibrate;

    YOLOv8Seg floatModel(YAML::Load(text(false)));
    YOLOv8Seg int8Model(YAML::Load(text(true)));
    Agreement agreement;
    for (const auto& [photo, ignored] : expected_.items()) {
        SCOPED_TRACE(photo);
        const cv::Mat image = cv::imread(folder_ + "/photos/" + photo);
        std::vector<Object> floats;
        std::vector<Object> int8s;
        floatModel.detect(image, floats);
        int8Model.detect(image, int8s);
        compare(floats, int8s, floatModel.confThreshold, agreement);
    }
    ASSERT_GT(agreement.expected, 0);
    std::cout << "int8 against float: " << agreement.found << " objects, mean probability drift "
              << agreement.probDrift / agreement.found << ", box IoU "
              << agreement.boxOverlap / agreement.found << ", mask IoU "
              << agreement.maskOverlap / agreement.found << '\n';
    EXPECT_LE(agreement.probDrift / agreement.found, 0.02);
    EXPECT_GE(agreement.boxOverlap / agreement.found, 0.97);
    EXPECT_GE(agreement.maskOverlap / agreement.found, 0.97);
}

}  // namespace
