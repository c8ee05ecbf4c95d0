#include "brellix/yolov5_cutoff.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"
#include "support/images.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::noisePicture;
using brellix::testing::standardOutputOf;

TEST(YOLOv5CutoffDetect, EngineReceivesTheLetterboxedBytes) {
    FakeEngine& engine = FakeEngine::reset();
    YOLOv5Cutoff model("net", "RKNN", {64, 32}, 0.5F, 0.65F, 2);
    const cv::Mat image = noisePicture(64, 32);
    std::vector<Object> objects(2);
    EXPECT_EQ(standardOutputOf([&] { model.detect(image, objects); }), "");

    ASSERT_EQ(engine.inputs.size(), 1U);
    const AIBuff& input = engine.inputs[0].at("images");
    EXPECT_EQ(input.type, 2);
    EXPECT_EQ(input.zp, 0);
    EXPECT_EQ(input.scale, 0.0F);
    ASSERT_EQ(input.data->size(), 64U * 32U * 3U);
    EXPECT_EQ(std::memcmp(input.data->data(), image.data, input.data->size()), 0);

    ASSERT_EQ(engine.preparedOutputs[0].size(), 3U);
    EXPECT_EQ(engine.preparedOutputs[0].at("/model.24/m.0/Conv_output_0").data->size(), 3U * 7U * 8U * 4U);
    EXPECT_EQ(engine.preparedOutputs[0].at("/model.24/m.2/Conv_output_0").data->size(), 3U * 7U * 2U);
    // Zero bytes with scale 0 are probabilities of one half: positions pass the filter, classes do not.
    EXPECT_TRUE(objects.empty());
}

/// A model whose decoding is replaced, as applications do.
class CountingModel : public YOLOv5Cutoff {
  public:
    using YOLOv5Cutoff::YOLOv5Cutoff;
    void postprocess(TensorMap& outputs, std::vector<Object>& objects) override {
        outputNames = outputs.size();
        objects.assign(2, Object());
    }
    std::size_t outputNames = 0;
};

TEST(YOLOv5CutoffDetect, CallsPostprocessThroughTheVirtualTable) {
    FakeEngine::reset();
    CountingModel model("net", "RKNN", cv::Size(64, 64), 0.5F, 0.65F, 1);
    std::vector<Object> objects;
    static_cast<CvModel&>(model).detect(noisePicture(10, 10), objects);
    EXPECT_EQ(model.outputNames, 3U);
    EXPECT_EQ(objects.size(), 2U);
}

}  // namespace
