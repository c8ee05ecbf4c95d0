// Objects of the two detectors, from seeded tensors.

#include "identity/record.h"
#include "identity/seeded.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"
#include "support/tensor_values.h"

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv5;
using ai_orvo::model::YOLOv5Cutoff;

LetterboxInfo randomLetterbox(Seeded& seeded) {
    LetterboxInfo info{};
    info.ratio = seeded.real(0.1F, 6.0F);
    info.dw = seeded.oneOf({0.0F, 0.5F, 140.0F, 31.5F});
    info.dh = seeded.oneOf({0.0F, 0.5F, 140.0F, 17.25F});
    info.src_height = static_cast<float>(seeded.integer(1, 3000));
    info.src_width = static_cast<float>(seeded.integer(1, 3000));
    return info;
}

/// Rows of the fused output; one value in `rarity` is hostile, none for 0.
AIBuff fusedOutput(Seeded& seeded, int rows, int classNum, int rarity) {
    std::vector<float> values;
    for (int i = 0; i < rows * (classNum + 5); ++i) {
        const int column = i % (classNum + 5);
        if (rarity > 0 && seeded.oneIn(rarity)) {
            values.push_back(seeded.hostile());
        } else if (column < 4) {
            values.push_back(seeded.real(-50.0F, column < 2 ? 700.0F : 250.0F));
        } else {
            values.push_back(seeded.real(0.0F, 1.0F));
        }
    }
    return floatTensor(values);
}

class DetectorIdentity : public ::testing::Test {
  protected:
    DetectorIdentity() { FakeEngine::reset(); }
};

/// Objects, and the line that every call prints. \return how many objects there were.
std::size_t addFusedCases(Digest& digest, Seeded& seeded, int cases, int rarity) {
    YOLOv5 model("network", "TensorRT", {64, 64}, 0.25F, 0.65F, 6);
    std::size_t found = 0;
    for (int i = 0; i < cases; ++i) {
        model.letterbox_info = randomLetterbox(seeded);
        model.conf_thres = seeded.oneOf({0.1F, 0.25F, 0.5F, 0.8F});
        model.nms_thres = seeded.oneOf({0.0F, 0.1F, 0.45F, 0.65F, 1.0F});
        model.class_num = seeded.oneOf({1, 3, 6, 20, 80});
        model.num_candidates = seeded.oneOf({0, 10, 60, 300});
        TensorMap outputs;
        outputs["output0"] = fusedOutput(seeded, model.num_candidates, model.class_num, rarity);
        std::vector<Object> objects;
        digest.add(standardOutputOf([&] { model.postprocess(outputs, objects); }));
        digest.add(objects);
        found += objects.size();
    }
    return found;
}

TEST_F(DetectorIdentity, Fused) {
    Seeded seeded(31);
    Digest digest;
    EXPECT_GT(addFusedCases(digest, seeded, 200, 0), 1000U);
    EXPECT_TRUE(Record::instance().agrees("detector.fused", digest));
}

TEST_F(DetectorIdentity, FusedWithHostileValues) {
    Seeded seeded(32);
    Digest digest;
    for (const int rarity : {1, 5, 50}) {
        addFusedCases(digest, seeded, 60, rarity);
    }
    EXPECT_TRUE(Record::instance().agrees("detector.fused_hostile", digest));
}

AIBuff cutHead(Seeded& seeded, const YOLOv5Cutoff& model, int stride) {
    const int cells = (model.input_size.width / stride) * (model.input_size.height / stride);
    const auto count = static_cast<std::size_t>(3 * model.channels_per_anchor * cells);
    const int zeroPoint = seeded.integer(-60, 60);
    const float scale = seeded.real(0.01F, 0.1F);
    return int8Tensor(seeded.bytes(count), zeroPoint, scale);
}

/// \param isHostile whether scales and the letterbox's ratio are odd, too. \return objects in all.
std::size_t addCutCases(Digest& digest, Seeded& seeded, int cases, bool isHostile) {
    YOLOv5Cutoff model("network", "TensorRT", {64, 64}, 0.25F, 0.65F, 6);
    std::size_t found = 0;
    for (int i = 0; i < cases; ++i) {
        const int width = seeded.integer(8, 120);
        model.input_size = {width, seeded.integer(8, 120)};
        model.letterbox_info = randomLetterbox(seeded);
        model.conf_thres = seeded.oneOf({0.05F, 0.25F, 0.5F, 0.7F});
        model.nms_thres = seeded.oneOf({0.0F, 0.2F, 0.45F, 0.65F});
        model.class_num = seeded.oneOf({1, 2, 6, 80});
        model.channels_per_anchor = model.class_num + 5;
        TensorMap outputs;
        for (int head = 0; head < 3; ++head) {
            AIBuff output = cutHead(seeded, model, model.strides[head]);
            if (isHostile) {
                output.scale = seeded.hostile();
                model.letterbox_info.ratio = seeded.hostile();
            }
            std::vector<Object> objects;
            digest.add(model.decodeBoxes(output, head, objects));
            digest.add(objects);
            outputs["/model.24/m." + std::to_string(head) + "/Conv_output_0"] = output;
        }
        std::vector<Object> objects;
        model.postprocess(outputs, objects);
        digest.add(objects);
        found += objects.size();
    }
    return found;
}

TEST_F(DetectorIdentity, Cut) {
    Seeded seeded(33);
    Digest digest;
    EXPECT_GT(addCutCases(digest, seeded, 150, false), 1000U);
    EXPECT_TRUE(Record::instance().agrees("detector.cut", digest));
}

TEST_F(DetectorIdentity, CutWithHostileValues) {
    Seeded seeded(34);
    Digest digest;
    addCutCases(digest, seeded, 100, true);
    EXPECT_TRUE(Record::instance().agrees("detector.cut_hostile", digest));
}

}  // namespace
}  // namespace brellix::testing
