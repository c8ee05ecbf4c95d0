#include "reference/cutoff_boxes.h"
#include "reference/fused_boxes.h"
#include "reference/input_tensor.h"
#include "reference/letterbox.h"
#include "reference/seg_objects.h"
#include "support/capture_stdout.h"
#include "support/comparison.h"
#include "support/fake_engine.h"
#include "support/random.h"
#include "support/tensor_values.h"
#include "support/yolov8_seg_tensors.h"

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "brellix/yolov8_seg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv5;
using ai_orvo::model::YOLOv5Cutoff;
using ai_orvo::model::YOLOv8Seg;

int candidatesOf(const cv::Size& input) {
    int cells = 0;
    for (const int stride : {8, 16, 32}) {
        cells += (input.width / stride) * (input.height / stride);
    }
    return 3 * cells;
}

/// Boxes inside the network's input, a few of them probable.
AIBuff randomOutput(Random& random, const cv::Size& input, int classNum) {
    std::vector<float> values;
    for (int row = 0; row < candidatesOf(input); ++row) {
        values.push_back(random.real(0.0F, static_cast<float>(input.width)));
        values.push_back(random.real(0.0F, static_cast<float>(input.height)));
        values.push_back(random.real(1.0F, static_cast<float>(input.width) * 0.5F));
        values.push_back(random.real(1.0F, static_cast<float>(input.height) * 0.5F));
        for (int i = 0; i <= classNum; ++i) {
            values.push_back(random.real(0.0F, 1.0F));
        }
    }
    return floatTensor(values);
}

/// Writes `answer` into the tensors that the engine is given, which have to be as large.
FakeEngine::Inference answerWith(const TensorMap& answer) {
    return [answer](TensorMap&, TensorMap& outputs) {
        EXPECT_EQ(outputs.size(), answer.size());
        for (const auto& [name, tensor] : answer) {
            AIBuff& output = outputs.at(name);
            EXPECT_EQ(output.data->size(), tensor.data->size()) << name;
            *output.data = *tensor.data;
            output.zp = tensor.zp;
            output.scale = tensor.scale;
        }
        return 0;
    };
}

/// The only tensor that the engine was handed has this name and these bytes.
void expectInput(const char* name, const std::vector<std::int8_t>& bytes) {
    const FakeEngine& engine = FakeEngine::instance();
    ASSERT_EQ(engine.inputs.size(), 1U);
    ASSERT_EQ(engine.inputs.front().size(), 1U);
    EXPECT_EQ(*engine.inputs.front().at(name).data, bytes);
}

template <typename Model>
std::pair<std::vector<Object>, std::string> detected(Model& model, const cv::Mat& image,
                                                     const TensorMap& answer) {
    FakeEngine::reset().inference = answerWith(answer);
    std::vector<Object> objects;
    std::string printed = standardOutputOf([&] { model.detect(image, objects); });
    return {std::move(objects), std::move(printed)};
}

std::size_t compareFused(Random& random, const cv::Size& input, const cv::Mat& image) {
    const int classNum = random.integer(1, 9);
    const AIBuff answer = randomOutput(random, input, classNum);
    cv::Mat letterboxed;
    const LetterboxInfo info = reference::letterbox(image, letterboxed, input);
    const reference::FusedSettings settings{info, 0.7F, 0.45F, classNum, candidatesOf(input)};

    YOLOv5 model("network", "RKNN", input, settings.confThreshold, settings.nmsThreshold, classNum);
    const auto [objects, printed] = detected(model, image, {{"output0", answer}});

    EXPECT_EQ(printed, reference::letterboxLine(info));
    EXPECT_TRUE(sameLetterbox(model.letterbox_info, info));
    expectInput("image", reference::floatBlob(letterboxed, true));
    EXPECT_TRUE(sameObjects(objects, reference::detectFused(settings, answer)));
    return objects.size();
}

/// Random bytes for the three heads of the cut detector.
TensorMap randomHeads(Random& random, const reference::CutoffSettings& settings) {
    TensorMap heads;
    for (std::size_t head = 0; head < reference::kCutoffHeadNames.size(); ++head) {
        const int stride = reference::kCutoffStrides[head];
        const int cells = (settings.inputSize.width / stride) * (settings.inputSize.height / stride);
        const auto bytes = static_cast<std::size_t>(3 * settings.channelsPerAnchor * cells);
        const int zeroPoint = random.integer(-20, 20);
        heads[reference::kCutoffHeadNames.at(head)] = int8Tensor(random.bytes(bytes), zeroPoint, 0.05F);
    }
    return heads;
}

std::size_t compareCut(Random& random, const cv::Size& input, const cv::Mat& image) {
    const int classNum = random.integer(1, 9);
    cv::Mat letterboxed;
    const LetterboxInfo info = reference::letterbox(image, letterboxed, input);
    const reference::CutoffSettings settings{input, info, 0.7F, 0.45F, classNum, classNum + 5};
    const TensorMap answer = randomHeads(random, settings);

    YOLOv5Cutoff model("network", "RKNN", input, settings.confThreshold, settings.nmsThreshold, classNum);
    const auto [objects, printed] = detected(model, image, answer);

    EXPECT_EQ(printed, "");
    EXPECT_TRUE(sameLetterbox(model.letterbox_info, info));
    expectInput("images", reference::rawBytes(letterboxed));
    // Many bytes are equal, and so are many probabilities.
    const std::vector<Object> candidates = reference::decodeCutoffHeads(settings, answer);
    EXPECT_TRUE(isGreedySuppression(candidates, objects, settings.nmsThreshold));
    return objects.size();
}

std::vector<Object> withoutMasks(std::vector<Object> objects) {
    for (Object& object : objects) {
        object.mask.release();
    }
    return objects;
}

/// Without the masks, which tests of their own compare.
std::size_t compareSegmentation(Random& random, const cv::Size& input, const cv::Mat& image,
                                const char* framework) {
    const bool isQuantized = random.chance(0.5);
    cv::Mat letterboxed;
    reference::SegSettings settings = segSettingsFor(image.size(), input, random, isQuantized);
    settings.letterbox = reference::letterbox(image, letterboxed, input);
    settings.nmsThreshold = 0.65F;
    settings.maxDetections = 100;
    TensorMap answer = randomSegOutputs(random, settings);

    YAML::Node config = segConfig(settings);
    config["framework"] = framework;
    YOLOv8Seg model(config);
    applySettings(model, settings);
    model.letterboxInfo = LetterboxInfo();
    const std::vector<Object> objects = detected(model, image, answer).first;

    EXPECT_TRUE(sameLetterbox(model.letterboxInfo, settings.letterbox));
    const bool takesBytes = std::string(framework) == "RKNN";
    expectInput("images",
                takesBytes ? reference::rawBytes(letterboxed) : reference::floatBlob(letterboxed, false));
    std::vector<Object> expected;
    reference::detectSeg(settings, answer, expected);
    EXPECT_TRUE(sameObjects(withoutMasks(objects), withoutMasks(expected)));
    return objects.size();
}

/// A model, and how one picture's way through it is held against the references: what crosses the engine's
/// border, and what comes out.
struct Kind {
    const char* name;
    /// \return how many objects came out.
    std::size_t (*compare)(Random&, const cv::Size& input, const cv::Mat& image);
    bool makesMasks;
};

const std::vector<Kind> kKinds = {{"Fused", compareFused, false},
                                  {"Cut", compareCut, false},
                                  {"SegmentationOfFloats",
                                   [](Random& random, const cv::Size& input, const cv::Mat& image) {
                                       return compareSegmentation(random, input, image, "ONNX");
                                   },
                                   true},
                                  {"SegmentationOfBytes",
                                   [](Random& random, const cv::Size& input, const cv::Mat& image) {
                                       return compareSegmentation(random, input, image, "RKNN");
                                   },
                                   true}};

class DetectProperty : public ::testing::TestWithParam<Kind> {
  protected:
    /// Masks ask for a square input of whole cells.
    std::size_t compare(Random& random, const cv::Size& input, const cv::Mat& image) const {
        const cv::Size square{(input.width + 31) / 32 * 32, (input.width + 31) / 32 * 32};
        return GetParam().compare(random, GetParam().makesMasks ? square : input, image);
    }

    /// The shortest side that leaves masks a row of their plane.
    int shortest() const { return GetParam().makesMasks ? 80 : 20; }
};

TEST_P(DetectProperty, APictureGivesTheTensorsAndObjectsOfTheReference) {
    Random random(31);
    std::size_t found = 0;
    for (int i = 0; i < 60; ++i) {
        const cv::Size input = random.oneOf(
            {cv::Size(64, 64), cv::Size(96, 64), cv::Size(64, 160), cv::Size(100, 75), cv::Size(33, 47)});
        const cv::Size size{random.integer(shortest(), 500), random.integer(shortest(), 500)};
        SCOPED_TRACE(::testing::Message() << "picture " << size << " input " << input);
        found += compare(random, input, random.image(size, CV_8UC3));
    }
    EXPECT_GT(found, 500U);
}

TEST_P(DetectProperty, APartOfAPictureIsReadWithItsOwnRowsOnly) {
    Random random(32);
    for (int i = 0; i < 20; ++i) {
        const cv::Mat parent = random.image({300, 200}, CV_8UC3);
        const cv::Rect part{random.integer(0, 100), random.integer(0, 60), random.integer(30, 200),
                            random.integer(30, 140)};
        SCOPED_TRACE(::testing::Message() << "part " << part);
        compare(random, {64, 64}, parent(part));
    }
}

TEST_P(DetectProperty, WholeFactorsAndOtherTypesGiveTheTensorsOfTheReference) {
    Random random(34);
    for (const int factor : {2, 3, 4, 5}) {
        compare(random, {96, 64}, random.image({64 * factor, 64 * factor}, CV_8UC3));
        compare(random, {64, 64}, random.image({64 * factor, 40 * factor}, CV_8UC3));
    }
    compare(random, {64, 64}, random.image({70, 50}, CV_8UC1));
    compare(random, {64, 64}, random.image({50, 70}, CV_8UC4));
}

TEST_P(DetectProperty, FramesDoNotLeakIntoEachOther) {
    // Memory is used again: what the last frame left must be overwritten, whatever its size was.
    Random random(35);
    for (int i = 0; i < 12; ++i) {
        compare(random, {64, 64}, random.image({random.integer(30, 200), 60}, CV_8UC3));
    }
}

TEST_P(DetectProperty, APictureOfTheInputSizeIsNotTouched) {
    Random random(33);
    EXPECT_GT(compare(random, {128, 128}, random.image({128, 128}, CV_8UC3)), 5U);
}

INSTANTIATE_TEST_SUITE_P(Models, DetectProperty, ::testing::ValuesIn(kKinds),
                         [](const auto& kind) { return kind.param.name; });

TEST(Yolov5DetectProperty, AnEngineThatWritesNothingFindsNothing) {
    Random random(35);
    compareFused(random, {64, 64}, random.image({80, 60}, CV_8UC3));
    FakeEngine& engine = FakeEngine::reset();
    YOLOv5 model("network", "RKNN", {64, 64}, 0.0F, 0.45F, 2);
    std::vector<Object> objects;
    standardOutputOf([&] { model.detect(random.image({80, 60}, CV_8UC3), objects); });
    EXPECT_TRUE(objects.empty());
    // What the frame before left in memory that is used again is cleared.
    const std::vector<std::int8_t>& prepared = *engine.preparedOutputs.at(0).at("output0").data;
    EXPECT_EQ(std::count(prepared.begin(), prepared.end(), 0), static_cast<std::ptrdiff_t>(prepared.size()));
}

TEST(Yolov5DetectProperty, AnEngineMayKeepTheTensorsOfAFrame) {
    Random random(36);
    std::vector<TensorMap> kept;
    std::vector<TensorMap> copies;
    FakeEngine& engine = FakeEngine::reset();
    engine.inference = [&](TensorMap& inputs, TensorMap& outputs) {
        outputs["output0"].data->assign(outputs["output0"].data->size(), 1);
        kept.insert(kept.end(), {inputs, outputs});
        copies.insert(copies.end(), {deepCopy(inputs), deepCopy(outputs)});
        return 0;
    };
    YOLOv5 model("network", "RKNN", {64, 64}, 0.5F, 0.45F, 2);
    for (int i = 0; i < 5; ++i) {
        std::vector<Object> objects;
        standardOutputOf([&] { model.detect(random.image({90, 60}, CV_8UC3), objects); });
    }
    for (std::size_t i = 0; i < kept.size(); ++i) {
        for (const auto& [name, tensor] : copies[i]) {
            EXPECT_EQ(*kept[i].at(name).data, *tensor.data) << name << " of map " << i;
        }
    }
}

}  // namespace
}  // namespace brellix::testing
