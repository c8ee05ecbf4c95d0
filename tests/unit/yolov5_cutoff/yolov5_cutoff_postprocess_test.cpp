#include "brellix/quantization.h"
#include "brellix/yolov5_cutoff.h"
#include "support/fake_engine.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;

TEST(YOLOv5CutoffPostprocess, MissingOutputsAreInserted) {
    FakeEngine::reset();
    YOLOv5Cutoff model("net", "RKNN", {64, 64}, 0.5F, 0.65F, 2);
    TensorMap outputs;
    std::vector<Object> objects(2);
    model.postprocess(outputs, objects);
    EXPECT_EQ(outputs.size(), 3U);
    EXPECT_TRUE(objects.empty());
}

/// A head of a 64 x 64 input and one class that holds one object, of the anchor's size and in the middle of
/// its cell.
AIBuff headWithObject(int head, int anchor, int row, int column, std::int8_t classLogit) {
    const int grid = 8 >> head;
    AIBuff output;
    output.scale = 0.0625F;
    output.data->assign(static_cast<std::size_t>(3 * 6 * grid * grid), -128);
    const std::array<std::int8_t, 6> channels = {0, 0, 0, 0, 64, classLogit};
    for (int k = 0; k < 6; ++k) {
        output.data->at(static_cast<std::size_t>(((anchor * 6 + k) * grid + row) * grid + column)) =
            channels.at(static_cast<std::size_t>(k));
    }
    return output;
}

TEST(YOLOv5CutoffPostprocess, AnObjectSuppressesThoseOfOtherHeads) {
    FakeEngine::reset();
    YOLOv5Cutoff model("net", "RKNN", {64, 64}, 0.5F, 0.2F, 1);
    model.letterbox_info = {1.0F, 0.0F, 0.0F, 64.0F, 64.0F};
    // (11, 16) to (44, 39), (9, -6) to (39, 55), and (-16, -16) to (48, 48): the second and surest one shares
    // 28 x 23 pixels of 1945 with the first and 30 x 54 of 4306 with the third.
    TensorMap outputs = {{"/model.24/m.0/Conv_output_0", headWithObject(0, 2, 3, 3, 48)},
                         {"/model.24/m.1/Conv_output_0", headWithObject(1, 0, 1, 1, 64)},
                         {"/model.24/m.2/Conv_output_0", headWithObject(2, 0, 0, 0, 32)}};
    std::vector<Object> objects;
    model.postprocess(outputs, objects);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].rect, cv::Rect_<float>(9, -6, 30, 61));
    EXPECT_EQ(objects[0].prob, sigmoid(4.0F) * sigmoid(4.0F));

    model.nms_thres = 0.35F;
    model.postprocess(outputs, objects);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[1].rect, cv::Rect_<float>(11, 16, 33, 23));

    model.nms_thres = 1.0F;
    model.postprocess(outputs, objects);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[2].rect, cv::Rect_<float>(-16, -16, 64, 64));
}

}  // namespace
