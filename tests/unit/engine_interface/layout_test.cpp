// Applications and board makers' engines are compiled against these sizes, offsets and slots.

#include "brellix/model_zoo.h"
#include "support/fake_engine.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

using namespace ai_orvo::model;

TEST(Layout, ObjectIs120Bytes) {
    EXPECT_EQ(sizeof(Object), 120U);
    EXPECT_EQ(offsetof(Object, rect), 0U);
    EXPECT_EQ(offsetof(Object, label), 16U);
    EXPECT_EQ(offsetof(Object, prob), 20U);
    EXPECT_EQ(offsetof(Object, mask), 24U);
}

TEST(Layout, AIBuffIs64Bytes) {
    EXPECT_EQ(sizeof(AIBuff), 64U);
    EXPECT_EQ(offsetof(AIBuff, data), 0U);
    EXPECT_EQ(offsetof(AIBuff, type), 16U);
    EXPECT_EQ(offsetof(AIBuff, zp), 20U);
    EXPECT_EQ(offsetof(AIBuff, scale), 24U);
    EXPECT_EQ(offsetof(AIBuff, aux_vector), 32U);
    EXPECT_EQ(offsetof(AIBuff, aux_int), 56U);
}

TEST(Layout, AIEngineConfigIs432Bytes) {
    EXPECT_EQ(sizeof(AIEngineConfig), 432U);
    EXPECT_EQ(offsetof(AIEngineConfig, model_path), 0U);
    EXPECT_EQ(offsetof(AIEngineConfig, input_sizes), 32U);
    EXPECT_EQ(offsetof(AIEngineConfig, output_sizes), 80U);
    EXPECT_EQ(offsetof(AIEngineConfig, input_shapes), 128U);
    EXPECT_EQ(offsetof(AIEngineConfig, output_shapes), 176U);
    EXPECT_EQ(offsetof(AIEngineConfig, aux_inputs), 224U);
    EXPECT_EQ(offsetof(AIEngineConfig, aux_outputs), 272U);
    EXPECT_EQ(offsetof(AIEngineConfig, input_types), 320U);
    EXPECT_EQ(offsetof(AIEngineConfig, output_types), 368U);
    EXPECT_EQ(offsetof(AIEngineConfig, rknn_flag), 416U);
    EXPECT_EQ(offsetof(AIEngineConfig, framework), 420U);
    EXPECT_EQ(offsetof(AIEngineConfig, engine_param), 424U);
}

TEST(Layout, UnfilledTablesMapNamesToInt) {
    static_assert(std::is_same_v<decltype(AIEngineConfig::aux_inputs), std::map<std::string, int>>);
    static_assert(std::is_same_v<decltype(AIEngineConfig::aux_outputs), std::map<std::string, int>>);
}

TEST(Layout, AIEngineHoldsTwoHandlesAndCannotBeCopied) {
    EXPECT_EQ(sizeof(AIEngine), 32U);
    EXPECT_FALSE(std::is_polymorphic_v<AIEngine>);
    EXPECT_FALSE(std::is_copy_constructible_v<AIEngine>);
    EXPECT_FALSE(std::is_copy_assignable_v<AIEngine>);
    EXPECT_TRUE(std::is_nothrow_default_constructible_v<AIEngine>);
}

TEST(Layout, LetterboxInfoIsFiveFloats) {
    EXPECT_EQ(sizeof(LetterboxInfo), 20U);
    EXPECT_EQ(offsetof(LetterboxInfo, ratio), 0U);
    EXPECT_EQ(offsetof(LetterboxInfo, dw), 4U);
    EXPECT_EQ(offsetof(LetterboxInfo, dh), 8U);
    EXPECT_EQ(offsetof(LetterboxInfo, src_height), 12U);
    EXPECT_EQ(offsetof(LetterboxInfo, src_width), 16U);
}

TEST(Layout, CvModelHoldsEngineThenConfig) {
    EXPECT_EQ(sizeof(CvModel), 472U);
    EXPECT_EQ(offsetof(CvModel, engine), 8U);
    EXPECT_EQ(offsetof(CvModel, config), 40U);
    EXPECT_TRUE(std::is_abstract_v<CvModel>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CvModel>);
}

TEST(Layout, YOLOv5Is528Bytes) {
    EXPECT_EQ(sizeof(YOLOv5), 528U);
    EXPECT_EQ(offsetof(YOLOv5, input_size), 472U);
    EXPECT_EQ(offsetof(YOLOv5, letterbox_info), 480U);
    EXPECT_EQ(offsetof(YOLOv5, conf_thres), 500U);
    EXPECT_EQ(offsetof(YOLOv5, nms_thres), 504U);
    EXPECT_EQ(offsetof(YOLOv5, class_num), 508U);
    EXPECT_EQ(offsetof(YOLOv5, strides), 512U);
    EXPECT_EQ(offsetof(YOLOv5, num_candidates), 524U);
}

TEST(Layout, YOLOv5CutoffIs600Bytes) {
    EXPECT_EQ(sizeof(YOLOv5Cutoff), 600U);
    EXPECT_EQ(offsetof(YOLOv5Cutoff, input_size), 472U);
    EXPECT_EQ(offsetof(YOLOv5Cutoff, letterbox_info), 480U);
    EXPECT_EQ(offsetof(YOLOv5Cutoff, conf_thres), 500U);
    EXPECT_EQ(offsetof(YOLOv5Cutoff, nms_thres), 504U);
    EXPECT_EQ(offsetof(YOLOv5Cutoff, class_num), 508U);
    EXPECT_EQ(offsetof(YOLOv5Cutoff, strides), 512U);
    EXPECT_EQ(offsetof(YOLOv5Cutoff, channels_per_anchor), 524U);
    EXPECT_EQ(offsetof(YOLOv5Cutoff, anchors), 528U);
    static_assert(std::is_same_v<decltype(YOLOv5Cutoff::anchors), int[3][3][2]>);
    EXPECT_FALSE((std::is_base_of_v<YOLOv5, YOLOv5Cutoff>));
}

TEST(Layout, YOLOv8SegIs576Bytes) {
    EXPECT_EQ(sizeof(YOLOv8Seg), 576U);
    EXPECT_EQ(offsetof(YOLOv8Seg, inputSize), 472U);
    EXPECT_EQ(offsetof(YOLOv8Seg, letterboxInfo), 480U);
    EXPECT_EQ(offsetof(YOLOv8Seg, spareLists), 504U);
    EXPECT_EQ(offsetof(YOLOv8Seg, isQuantized), 528U);
    EXPECT_EQ(offsetof(YOLOv8Seg, protoWidth), 532U);
    EXPECT_EQ(offsetof(YOLOv8Seg, protoHeight), 536U);
    EXPECT_EQ(offsetof(YOLOv8Seg, maskCoefCount), 540U);
    EXPECT_EQ(offsetof(YOLOv8Seg, confThreshold), 544U);
    EXPECT_EQ(offsetof(YOLOv8Seg, nmsThreshold), 548U);
    EXPECT_EQ(offsetof(YOLOv8Seg, maxDetections), 552U);
    EXPECT_EQ(offsetof(YOLOv8Seg, strides), 556U);
    EXPECT_EQ(offsetof(YOLOv8Seg, classNum), 568U);
}

TEST(Layout, LoggerIs24Bytes) {
    EXPECT_EQ(sizeof(brellix::Logger), 24U);
    EXPECT_EQ(offsetof(brellix::Logger, logger_), 0U);
    EXPECT_EQ(offsetof(brellix::Logger, level_), 20U);
    EXPECT_FALSE(std::is_polymorphic_v<brellix::Logger>);
}

/// A model whose virtual table is read slot by slot.
class SlotProbe : public CvModel {
  public:
    explicit SlotProbe(std::vector<int>& calls) : calls_(calls) {}
    ~SlotProbe() override { calls_.push_back(0); }
    void detect(const cv::Mat&, std::vector<Object>&) override { calls_.push_back(2); }
    void postprocess(TensorMap&, std::vector<Object>&) override { calls_.push_back(3); }

  private:
    std::vector<int>& calls_;
};

TEST(Layout, VirtualTableHasDestructorsThenDetectThenPostprocess) {
    std::vector<int> calls;
    alignas(SlotProbe) unsigned char storage[sizeof(SlotProbe)];
    CvModel* model = new (storage) SlotProbe(calls);
    void** table = *reinterpret_cast<void***>(model);

    cv::Mat image;
    std::vector<Object> objects;
    TensorMap outputs;
    using Detect = void (*)(CvModel*, const cv::Mat&, std::vector<Object>&);
    using Postprocess = void (*)(CvModel*, TensorMap&, std::vector<Object>&);
    using Destructor = void (*)(CvModel*);
    reinterpret_cast<Detect>(table[2])(model, image, objects);
    reinterpret_cast<Postprocess>(table[3])(model, outputs, objects);
    reinterpret_cast<Destructor>(table[0])(model);

    EXPECT_EQ(calls, (std::vector<int>{2, 3, 0}));
}

TEST(Layout, EngineOperationsReturnInt) {
    static_assert(std::is_same_v<decltype(&AIEngine::Init), int (AIEngine::*)(const AIEngineConfig&)>);
    static_assert(
        std::is_same_v<decltype(&AIEngine::DoInference), int (AIEngine::*)(TensorMap&, TensorMap&)>);
    brellix::testing::FakeEngine::reset().initStatus = 3;
    AIEngine engine;
    EXPECT_EQ(engine.Init(AIEngineConfig()), 3);
}

}  // namespace
