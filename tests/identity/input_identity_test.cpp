// What the models hand to the engine: letterboxed pictures and both forms of the tensor.

#include "identity/record.h"
#include "identity/sample_pictures.h"
#include "identity/seeded.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"

#include "brellix/letterbox.h"
#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "brellix/yolov8_seg.h"

#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::CvModel;
using ai_orvo::model::Object;
using ai_orvo::model::YOLOv5;
using ai_orvo::model::YOLOv5Cutoff;
using ai_orvo::model::YOLOv8Seg;

const std::vector<cv::Size>& inputSizes() {
    static const std::vector<cv::Size> sizes = {{64, 64}, {320, 320}, {96, 160}, {416, 256}};
    return sizes;
}

/// Noise of many sizes, thin ones among them, whole multiples of the inputs, and the sample pictures.
std::vector<cv::Mat> pictures() {
    std::vector<cv::Mat> list = samplePictures();
    Seeded seeded(21);
    for (const cv::Size size :
         {cv::Size(1, 1), {5, 300}, {400, 9}, {64, 64}, {128, 128}, {640, 640}, {832, 512}}) {
        list.push_back(seeded.image(size, 3));
    }
    for (int i = 0; i < 25; ++i) {
        const int width = seeded.integer(8, 500);
        list.push_back(seeded.image({width, seeded.integer(8, 500)}, 3));
    }
    return list;
}

YAML::Node segConfig(const cv::Size& input, const char* framework, bool isQuantized) {
    YAML::Node config;
    config["model_path"] = "network";
    config["framework"] = framework;
    config["class_num"] = 4;
    config["conf_thres"] = 0.5F;
    config["nms_thres"] = 0.5F;
    config["input_size"] = std::vector<int>{input.width, input.height};
    config["is_quantized"] = isQuantized;
    return config;
}

/// Takes in every tensor that the engine was handed, and how it was named.
void addInputs(Digest& digest) {
    for (const auto& inputs : FakeEngine::instance().inputs) {
        for (const auto& [name, tensor] : inputs) {
            digest.add(name);
            digest.add(tensor);
        }
    }
}

/// Runs `model` over all pictures, with an engine that finds nothing.
void detectAll(CvModel& model, Digest& digest) {
    FakeEngine::instance().inputs.clear();
    for (const cv::Mat& picture : pictures()) {
        std::vector<Object> objects;
        standardOutputOf([&] { model.detect(picture, objects); });
    }
    addInputs(digest);
}

/// What a detector and a segmentation model hand over for each network size.
template <typename Detector>
void addTensors(Digest& ofDetector, Digest& ofSegmentation, const char* framework, bool isQuantized) {
    FakeEngine::reset();
    for (const cv::Size& input : inputSizes()) {
        Detector detector("network", "RKNN", input, 0.5F, 0.5F, 4);
        detectAll(detector, ofDetector);
        YOLOv8Seg segmentation(segConfig(input, framework, isQuantized));
        detectAll(segmentation, ofSegmentation);
    }
}

TEST(InputIdentity, SamplePicturesAreDecodedAlike) {
    Digest digest;
    for (const cv::Mat& picture : samplePictures()) {
        digest.add(picture);
    }
    EXPECT_TRUE(Record::instance().agrees("input.sample_pictures", digest));
}

TEST(InputIdentity, Letterbox) {
    Digest digest;
    for (const cv::Mat& picture : pictures()) {
        for (cv::Size input : inputSizes()) {
            cv::Mat letterboxed;
            digest.add(ai_orvo::model::letterbox(picture, letterboxed, input));
            digest.add(letterboxed);
        }
    }
    EXPECT_TRUE(Record::instance().agrees("input.letterbox", digest));
}

TEST(InputIdentity, LetterboxOfOtherTypes) {
    Seeded seeded(22);
    Digest digest;
    for (int i = 0; i < 60; ++i) {
        const int channels = seeded.oneOf({1, 4});
        const int width = seeded.integer(10, 300);
        const int height = seeded.integer(10, 300);
        cv::Size input = seeded.oneOf({cv::Size(64, 64), cv::Size(96, 160), cv::Size(33, 47)});
        cv::Mat letterboxed;
        digest.add(ai_orvo::model::letterbox(seeded.image({width, height}, channels), letterboxed, input));
        digest.add(letterboxed);
    }
    EXPECT_TRUE(Record::instance().agrees("input.letterbox_of_other_types", digest));
}

TEST(InputIdentity, FloatTensors) {
    Digest rgb;
    Digest bgr;
    addTensors<YOLOv5>(rgb, bgr, "ONNX", false);
    EXPECT_TRUE(Record::instance().agrees("input.tensor_float_rgb", rgb));
    EXPECT_TRUE(Record::instance().agrees("input.tensor_float_bgr", bgr));
}

TEST(InputIdentity, ByteTensors) {
    Digest cut;
    Digest seg;
    addTensors<YOLOv5Cutoff>(cut, seg, "RKNN", true);
    EXPECT_TRUE(Record::instance().agrees("input.tensor_bytes", cut));
    EXPECT_TRUE(Record::instance().agrees("input.tensor_bytes_segmentation", seg));
}

}  // namespace
}  // namespace brellix::testing
