// A process whose own way to write numbers is another one: 0,45 and 1.000.

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "support/fake_engine.h"
#include "support/temporary_folder.h"
#include "yolov8_seg/seg_fixture.h"

#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

#include <locale>
#include <string>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::TemporaryFolder;

class CommaDecimals : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class LocaleOfCommas : public ::testing::Test {
  protected:
    LocaleOfCommas() { FakeEngine::reset(); }
    ~LocaleOfCommas() override { std::locale::global(before_); }

    std::string detectorFile(const std::string& threshold) {
        return folder_.write("model.yaml", "model_path: net\nconf_thres: " + threshold +
                                               "\nnms_thres: 0.500\nclass_num: 6\ninput_size: [320, 192]\n");
    }

  private:
    TemporaryFolder folder_;
    std::locale before_ = std::locale::global(std::locale(std::locale::classic(), new CommaDecimals));
};

TEST_F(LocaleOfCommas, DetectorsReadThresholdsAsEverywhere) {
    const YOLOv5 fused(detectorFile("0.450"));
    EXPECT_EQ(fused.conf_thres, 0.45F);
    EXPECT_EQ(fused.nms_thres, 0.5F);
    const YOLOv5Cutoff cut(detectorFile("0.450"));
    EXPECT_EQ(cut.conf_thres, 0.45F);
    EXPECT_EQ(cut.nms_thres, 0.5F);
}

TEST_F(LocaleOfCommas, SegmentationReadsThresholdsAsEverywhere) {
    YAML::Node document = YAML::Load(brellix::testing::segConfigText("TensorRT"));
    document["conf_thres"] = std::string("0.450");
    document["nms_thres"] = std::string("1e-1");
    const YOLOv8Seg model(document);
    EXPECT_EQ(model.confThreshold, 0.45F);
    EXPECT_EQ(model.nmsThreshold, 0.1F);
}

TEST_F(LocaleOfCommas, ThresholdsWrittenItsWayAreRefusedAsEverywhere) {
    EXPECT_THROW(YOLOv5(detectorFile("0,45")), YAML::BadConversion);
}

}  // namespace
