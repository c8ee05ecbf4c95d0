// Candidates, prototypes, objects and masks of the segmentation model, from seeded tensors.

#include "identity/record.h"
#include "identity/seeded.h"
#include "support/fake_engine.h"
#include "support/tensor_values.h"

#include "brellix/letterbox.h"
#include "brellix/yolov8_seg.h"

#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

#include <memory>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv8Seg;

constexpr int kBins = 16;
constexpr int kHeads = 3;

/// Once with float tensors, once with 8-bit ones.
class SegmentationIdentity : public ::testing::TestWithParam<bool> {
  protected:
    SegmentationIdentity() { FakeEngine::reset(); }

    static std::string named(const std::string& stage) {
        return "segmentation." + stage + (GetParam() ? "_int8" : "_float");
    }

    /// A model of a square input, letterboxed for `picture`.
    static std::unique_ptr<YOLOv8Seg> modelFor(int side, const cv::Size& picture, Seeded& seeded) {
        YAML::Node config;
        config["model_path"] = "network";
        config["framework"] = "ONNX";
        config["class_num"] = seeded.integer(1, 6);
        config["conf_thres"] = seeded.oneOf({0.3F, 0.5F, 0.7F});
        config["nms_thres"] = seeded.oneOf({0.0F, 0.2F, 0.45F, 0.65F, 1.0F});
        config["input_size"] = std::vector<int>{side, side};
        config["is_quantized"] = GetParam();
        auto model = std::make_unique<YOLOv8Seg>(config);
        model->maxDetections = seeded.oneOf({100, 100, 5});
        cv::Mat letterboxed;
        model->letterboxInfo =
            ai_orvo::model::letterbox(cv::Mat::zeros(picture, CV_8UC3), letterboxed, model->inputSize);
        return model;
    }

    /// One of a small input, for a small picture.
    static std::unique_ptr<YOLOv8Seg> smallModel(Seeded& seeded) {
        const int side = seeded.oneOf({32, 64, 96});
        const int width = seeded.integer(12, 150);
        const int height = seeded.integer(12, 150);
        return modelFor(side, {width, height}, seeded);
    }

    static AIBuff tensor(Seeded& seeded, int elements, float low, float high) {
        const auto count = static_cast<std::size_t>(elements);
        if (!GetParam()) {
            return floatTensor(seeded.reals(count, low, high));
        }
        const float scale = (high - low) / 255.0F;
        return int8Tensor(seeded.bytes(count), static_cast<int>(-128.0F - low / scale), scale);
    }

    /// All ten tensors. Large inputs are quiet: few of their cells hold a candidate.
    static TensorMap outputsFor(const YOLOv8Seg& model, Seeded& seeded) {
        TensorMap outputs;
        const float highestScore = model.inputSize.width > 200 ? -0.5F : 2.0F;
        for (int head = 0; head < kHeads; ++head) {
            const int grid = model.inputSize.width / model.strides[head];
            const auto name = [&](int part) { return "output" + std::to_string(kHeads * head + part); };
            outputs[name(0)] = tensor(seeded, 4 * kBins * grid * grid, -4.0F, 4.0F);
            outputs[name(1)] = tensor(seeded, model.classNum * grid * grid, -4.0F, highestScore);
            outputs[name(2)] = tensor(seeded, model.maskCoefCount * grid * grid, -1.0F, 1.0F);
        }
        const int pixels = model.protoWidth * model.protoHeight;
        outputs["proto"] = tensor(seeded, model.maskCoefCount * pixels, -1.0F, 1.0F);
        return outputs;
    }
};

/// Everything that the decoding of one head gives. \return the number of candidates.
int addHead(Digest& digest, YOLOv8Seg& model, TensorMap& outputs, int head) {
    std::vector<cv::Rect> boxes;
    std::vector<float> maskCoefs;
    std::vector<float> scores;
    std::vector<int> classIds;
    const auto output = [&](int part) -> AIBuff& {
        return outputs["output" + std::to_string(kHeads * head + part)];
    };
    const int side = model.inputSize.width;
    const int stride = model.strides[head];
    const auto decode = model.isQuantized ? &YOLOv8Seg::decodeBoxes_i8 : &YOLOv8Seg::decodeBoxes_fp32;
    const int count =
        (model.*decode)(output(0), output(1), output(2), side / stride, side / stride, side, side, stride,
                        kBins, boxes, maskCoefs, scores, classIds, model.confThreshold);
    digest.add(boxes);
    digest.add(maskCoefs);
    digest.add(scores);
    digest.add(classIds);
    return count;
}

TEST_P(SegmentationIdentity, CandidatesAndPrototypes) {
    Seeded seeded(41);
    Digest candidates;
    Digest prototypes;
    int found = 0;
    for (int i = 0; i < 60; ++i) {
        const std::unique_ptr<YOLOv8Seg> owner = smallModel(seeded);
        YOLOv8Seg& model = *owner;
        TensorMap outputs = outputsFor(model, seeded);
        for (int head = 0; head < kHeads; ++head) {
            found += addHead(candidates, model, outputs, head);
        }
        cv::Mat matrix;
        const auto decode = model.isQuantized ? &YOLOv8Seg::decodeMask_i8 : &YOLOv8Seg::decodeMask_fp32;
        (model.*decode)(outputs["proto"], matrix);
        prototypes.add(matrix);
    }
    EXPECT_GT(found, 1000);
    EXPECT_TRUE(Record::instance().agrees(named("candidates"), candidates));
    EXPECT_TRUE(Record::instance().agrees(named("prototypes"), prototypes));
}

/// What a digest of objects was made of.
struct Seen {
    std::size_t objects = 0;
    int maskPixels = 0;
};

void addObjects(Digest& digest, YOLOv8Seg& model, TensorMap& outputs, Seen& seen) {
    std::vector<Object> objects;
    model.postprocess(outputs, objects);
    digest.add(objects);
    seen.objects += objects.size();
    for (const Object& object : objects) {
        seen.maskPixels += cv::countNonZero(object.mask);
    }
}

TEST_P(SegmentationIdentity, ObjectsAndMasks) {
    Seeded seeded(42);
    Digest digest;
    Seen seen;
    for (int i = 0; i < 80; ++i) {
        const std::unique_ptr<YOLOv8Seg> owner = smallModel(seeded);
        YOLOv8Seg& model = *owner;
        TensorMap outputs = outputsFor(model, seeded);
        addObjects(digest, model, outputs, seen);
    }
    EXPECT_GT(seen.objects, 500U);
    EXPECT_GT(seen.maskPixels, 10000);
    EXPECT_TRUE(Record::instance().agrees(named("objects"), digest));
}

TEST_P(SegmentationIdentity, ObjectsAndMasksOfPicturesOfOrdinarySize) {
    Seeded seeded(43);
    Digest digest;
    Seen seen;
    for (const cv::Size picture : {cv::Size(1280, 720), {640, 640}, {401, 900}, {160, 160}, {12, 1200}}) {
        for (const int side : {320, 640}) {
            const std::unique_ptr<YOLOv8Seg> owner = modelFor(side, picture, seeded);
            YOLOv8Seg& model = *owner;
            model.confThreshold = 0.35F;
            TensorMap outputs = outputsFor(model, seeded);
            addObjects(digest, model, outputs, seen);
        }
    }
    EXPECT_GT(seen.objects, 100U);
    EXPECT_GT(seen.maskPixels, 100000);
    EXPECT_TRUE(Record::instance().agrees(named("objects_of_ordinary_size"), digest));
}

INSTANTIATE_TEST_SUITE_P(FloatAndInt8, SegmentationIdentity, ::testing::Bool(),
                         [](const auto& suite) { return suite.param ? "Int8" : "Float"; });

}  // namespace
}  // namespace brellix::testing
