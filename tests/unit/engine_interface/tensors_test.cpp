#include "brellix/cv_model.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using namespace ai_orvo::model;

TEST(AIBuff, StartsWithAFreshEmptyVector) {
    const AIBuff buffer;
    ASSERT_NE(buffer.data, nullptr);
    EXPECT_TRUE(buffer.data->empty());
    EXPECT_EQ(buffer.type, 2);
    EXPECT_EQ(buffer.zp, 0);
    EXPECT_EQ(buffer.scale, 0.0F);
    EXPECT_TRUE(buffer.aux_vector.empty());
    EXPECT_EQ(buffer.aux_int, 0);
    EXPECT_NE(AIBuff().data, buffer.data);
}

TEST(AIBuff, CopiesShareTheirBytes) {
    AIBuff first;
    first.data->assign({1, 2, 3});
    first.zp = 7;
    AIBuff copy = first;
    (*copy.data)[1] = 9;
    EXPECT_EQ((*first.data)[1], 9);
    EXPECT_EQ(copy.zp, 7);
    EXPECT_EQ(first.data.use_count(), 2);
}

TEST(AIBuff, MoveAssignmentTakesTheBytesOver) {
    AIBuff source;
    source.data->assign({4});
    const std::int8_t* bytes = source.data->data();
    AIBuff target;
    target = std::move(source);
    EXPECT_EQ(target.data->data(), bytes);
    EXPECT_EQ(target.data.use_count(), 1);
}

TEST(AIBuff, AssigningAFreshBufferToAMapEntryReplacesTheSharedVector) {
    TensorMap tensors;
    tensors["a"].data->assign({1});
    const AIBuff kept = tensors["a"];
    tensors["a"] = AIBuff();
    EXPECT_TRUE(tensors["a"].data->empty());
    EXPECT_EQ(kept.data->size(), 1U);
}

TEST(AIEngineConfig, StartsWithItsDefaults) {
    const AIEngineConfig config;
    EXPECT_EQ(config.engine_param, 3000);
    EXPECT_EQ(config.framework, 0);
    EXPECT_FALSE(config.rknn_flag);
    EXPECT_TRUE(config.model_path.empty());
    EXPECT_TRUE(config.input_sizes.empty());
    EXPECT_TRUE(config.output_sizes.empty());
    EXPECT_TRUE(config.input_shapes.empty());
    EXPECT_TRUE(config.output_shapes.empty());
    EXPECT_TRUE(config.aux_inputs.empty());
    EXPECT_TRUE(config.aux_outputs.empty());
    EXPECT_TRUE(config.input_types.empty());
    EXPECT_TRUE(config.output_types.empty());
}

TEST(Object, StartsAtZeroWithoutAMask) {
    const Object object;
    EXPECT_EQ(object.rect, cv::Rect_<float>());
    EXPECT_EQ(object.label, 0);
    EXPECT_EQ(object.prob, 0.0F);
    EXPECT_TRUE(object.mask.empty());
}

TEST(Object, CopiesShareTheMask) {
    Object object;
    object.mask = cv::Mat(2, 2, CV_8U, cv::Scalar(0));
    const Object copy = object;
    object.mask.at<unsigned char>(1, 1) = 255;
    EXPECT_EQ(copy.mask.at<unsigned char>(1, 1), 255);
}

}  // namespace
