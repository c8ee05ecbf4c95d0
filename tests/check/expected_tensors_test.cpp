#include "network/expected_tensors.h"
#include "network/network_anchors.h"

#include "support/fake_engine.h"
#include "support/temporary_folder.h"

#include <brellix/yolov5.h>
#include <brellix/yolov5_cutoff.h>
#include <brellix/yolov8_seg.h>

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

namespace brellix::app {
namespace {

using ai_orvo::alg::common::AIEngineConfig;
using ai_orvo::alg::common::TensorMap;
using ai_orvo::model::CvModel;
using brellix::testing::FakeEngine;

std::vector<ModelSettings> allSettings() {
    std::vector<ModelSettings> settings;
    for (const cv::Size size :
         {cv::Size{64, 64}, cv::Size{640, 640}, cv::Size{320, 192}, cv::Size{96, 416}}) {
        for (const int classNum : {0, 1, 3, 80}) {
            settings.push_back({ModelClass::kYoloV5, size, classNum, "", false});
            settings.push_back({ModelClass::kYoloV5Cutoff, size, classNum, "", false});
            for (const char* framework : {"TensorRT", "RKNN", "ONNX"}) {
                settings.push_back({ModelClass::kYoloV8Seg, size, classNum, framework, false});
                settings.push_back({ModelClass::kYoloV8Seg, size, classNum, framework, true});
            }
        }
    }
    return settings;
}

/// The model that the library makes of these settings, behind an engine that accepts everything. Its outputs
/// stay zero, which the threshold keeps out.
class RealModel {
  public:
    explicit RealModel(const ModelSettings& settings) {
        FakeEngine::reset();
        std::ostringstream text;
        text << "model_path: network\nconf_thres: 0.99\nnms_thres: 0.65\nclass_num: " << settings.classNum
             << "\ninput_size: [" << settings.inputSize.width << ", " << settings.inputSize.height
             << "]\nframework: " << settings.framework
             << "\nis_quantized: " << (settings.isQuantized ? "true" : "false") << '\n';
        const std::string path = folder_.write("model.yaml", text.str());
        switch (settings.modelClass) {
            case ModelClass::kYoloV5:
                model_ = std::make_unique<ai_orvo::model::YOLOv5>(path);
                break;
            case ModelClass::kYoloV5Cutoff:
                model_ = std::make_unique<ai_orvo::model::YOLOv5Cutoff>(path);
                break;
            case ModelClass::kYoloV8Seg:
                model_ = std::make_unique<ai_orvo::model::YOLOv8Seg>(path);
                break;
        }
    }

    CvModel& operator*() { return *model_; }

  private:
    brellix::testing::TemporaryFolder folder_;
    std::unique_ptr<CvModel> model_;
};

std::string text(const ModelSettings& settings) {
    std::ostringstream stream;
    stream << nameOf(settings.modelClass) << ' ' << settings.inputSize << ' ' << settings.classNum << ' '
           << settings.framework << ' ' << settings.isQuantized;
    return stream.str();
}

std::size_t bytesOf(const ExpectedTensor& tensor) {
    return static_cast<std::size_t>(tensor.elements) * (tensor.form == TensorForm::kFloat32 ? 4 : 1);
}

TEST(ExpectedTensors, EngineTablesAreThoseOfTheConstructedModels) {
    for (const ModelSettings& settings : allSettings()) {
        RealModel model(settings);
        const AIEngineConfig& real = (*model).config;
        const AIEngineConfig expected = engineTables(settings);
        EXPECT_EQ(expected.input_sizes, real.input_sizes) << text(settings);
        EXPECT_EQ(expected.output_sizes, real.output_sizes) << text(settings);
        EXPECT_EQ(expected.input_shapes, real.input_shapes) << text(settings);
        EXPECT_EQ(expected.output_shapes, real.output_shapes) << text(settings);
        EXPECT_EQ(expected.input_types, real.input_types) << text(settings);
        EXPECT_EQ(expected.output_types, real.output_types) << text(settings);
        EXPECT_EQ(expected.framework, real.framework) << text(settings);
        EXPECT_EQ(expected.rknn_flag, real.rknn_flag) << text(settings);
    }
}

TEST(ExpectedTensors, ShapesHoldTheElements) {
    for (const ModelSettings& settings : allSettings()) {
        for (const ExpectedTensor& tensor : expectedTensors(settings)) {
            std::int64_t product = 1;
            for (const std::int64_t extent : tensor.shape) {
                product *= extent;
            }
            EXPECT_EQ(product, tensor.elements) << text(settings) << ' ' << tensor.name;
        }
    }
}

TEST(ExpectedTensors, FormsAreTheBuffersThatTheModelsHandOver) {
    for (const ModelSettings& settings : allSettings()) {
        RealModel model(settings);
        const cv::Mat picture = cv::Mat::zeros(settings.inputSize, CV_8UC3);
        std::vector<ai_orvo::model::Object> objects;
        (*model).detect(picture, objects);
        ASSERT_EQ(FakeEngine::instance().inputs.size(), 1U);
        const TensorMap& inputs = FakeEngine::instance().inputs[0];
        const TensorMap& outputs = FakeEngine::instance().preparedOutputs[0];
        const std::vector<ExpectedTensor> tensors = expectedTensors(settings);
        EXPECT_EQ(tensors.size(), inputs.size() + outputs.size()) << text(settings);
        for (const ExpectedTensor& tensor : tensors) {
            const TensorMap& side = tensor.isInput ? inputs : outputs;
            ASSERT_EQ(side.count(tensor.name), 1U) << text(settings) << ' ' << tensor.name;
            EXPECT_EQ(side.at(tensor.name).data->size(), bytesOf(tensor))
                << text(settings) << ' ' << tensor.name;
        }
    }
}

TEST(ExpectedTensors, FixedAnchorsAreThoseOfTheCutDetector) {
    RealModel model({ModelClass::kYoloV5Cutoff, {64, 64}, 3, "", false});
    const auto& cut = dynamic_cast<const ai_orvo::model::YOLOv5Cutoff&>(*model);
    for (std::size_t head = 0; head < 3; ++head) {
        for (std::size_t anchor = 0; anchor < 3; ++anchor) {
            for (std::size_t side = 0; side < 2; ++side) {
                EXPECT_EQ(fixedAnchors()[head][anchor][side], cut.anchors[head][anchor][side]);
            }
        }
    }
}

}  // namespace
}  // namespace brellix::app
