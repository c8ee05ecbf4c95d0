// Pictures that no camera gives and callers hand in all the same, through all models.

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "support/fake_engine.h"
#include "support/images.h"
#include "yolov8_seg/seg_fixture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::noisePicture;

constexpr int kInputSide = 64;

struct ModelKind {
    const char* name;
    std::unique_ptr<CvModel> (*make)();
};

std::unique_ptr<CvModel> makeSegmentation(const char* framework) {
    return std::make_unique<YOLOv8Seg>(YAML::Load(brellix::testing::segConfigText(framework)));
}

const ModelKind kModels[] = {
    {"Fused",
     []() -> std::unique_ptr<CvModel> {
         return std::make_unique<YOLOv5>("net", "RKNN", cv::Size(kInputSide, kInputSide), 0.5F, 0.5F, 2);
     }},
    {"Cut",
     []() -> std::unique_ptr<CvModel> {
         return std::make_unique<YOLOv5Cutoff>("net", "RKNN", cv::Size(kInputSide, kInputSide), 0.75F, 0.5F,
                                               2);
     }},
    {"SegmentationOnFloats", [] { return makeSegmentation("ONNX"); }},
    {"SegmentationOnBytes", [] { return makeSegmentation("RKNN"); }},
};

class OddPictures : public ::testing::TestWithParam<ModelKind> {
  protected:
    OddPictures() : engine_(FakeEngine::reset()), model_(GetParam().make()) {}

    /// The bytes that the engine gets for a picture.
    std::vector<std::int8_t> inputOf(const cv::Mat& picture) {
        engine_.inputs.clear();
        std::vector<Object> objects;
        model_->detect(picture, objects);
        return *engine_.inputs.at(0).begin()->second.data;
    }

    std::size_t inputBytes() {
        const int elements = model_->config.input_sizes.begin()->second;
        return static_cast<std::size_t>(elements) * (takesBytes() ? 1 : sizeof(float));
    }

    bool takesBytes() const {
        const std::string name = GetParam().name;
        return name == "Cut" || name == "SegmentationOnBytes";
    }

    FakeEngine& engine_;
    std::unique_ptr<CvModel> model_;
};

TEST_P(OddPictures, APartOfALargerPictureIsTakenAsItsCopyIs) {
    const cv::Mat whole = noisePicture(230, 210);
    // Of the input's size, three times as large, and of sizes that are scaled.
    for (const cv::Rect& part : {cv::Rect(13, 7, 64, 64), cv::Rect(11, 9, 192, 192), cv::Rect(1, 2, 101, 77),
                                 cv::Rect(229, 0, 1, 100), cv::Rect(5, 209, 77, 1), cv::Rect(3, 3, 1, 1)}) {
        EXPECT_EQ(inputOf(whole(part)), inputOf(whole(part).clone())) << part;
    }
}

TEST_P(OddPictures, EveryOtherLineOfAPictureIsTakenAsItsCopyIs) {
    const cv::Mat whole = noisePicture(80, 120);
    const cv::Mat lines(60, 80, CV_8UC3, whole.data, 2 * whole.step);
    EXPECT_EQ(inputOf(lines), inputOf(lines.clone()));
}

TEST_P(OddPictures, ASinglePixelFillsTheInput) {
    const cv::Mat pixel(1, 1, CV_8UC3, cv::Scalar::all(200));
    const cv::Mat plain(kInputSide, kInputSide, CV_8UC3, cv::Scalar::all(200));
    EXPECT_EQ(inputOf(pixel), inputOf(plain));
}

TEST_P(OddPictures, LinesOfPixelsFillAFullInput) {
    for (const cv::Size& size : {cv::Size(1, 64), cv::Size(64, 1), cv::Size(127, 1), cv::Size(1, 127),
                                 cv::Size(65535, 600), cv::Size(600, 65535)}) {
        EXPECT_EQ(inputOf(cv::Mat(size, CV_8UC3, cv::Scalar::all(9))).size(), inputBytes()) << size;
    }
}

TEST_P(OddPictures, PicturesTooThinForAPixelAreRefusedAndTheNextIsTaken) {
    const cv::Mat photo = noisePicture(100, 80);
    const std::vector<std::int8_t> expected = inputOf(photo);
    for (const cv::Size& size : {cv::Size(65535, 40), cv::Size(40, 65535), cv::Size(2000, 1), cv::Size()}) {
        EXPECT_THROW(inputOf(cv::Mat(size, CV_8UC3, cv::Scalar::all(9))), cv::Exception) << size;
        EXPECT_TRUE(engine_.inputs.empty()) << size;
        EXPECT_EQ(inputOf(photo), expected) << size;
    }
}

TEST_P(OddPictures, MatricesThatAreNoPicturesAreRefusedAndTheNextPictureIsTaken) {
    const cv::Mat photo = noisePicture(100, 80);
    const std::vector<std::int8_t> expected = inputOf(photo);
    const int sizes[] = {3, 20, 20};
    const cv::Mat block = cv::Mat::zeros(3, sizes, CV_8UC3);
    const cv::Mat sevenChannels = cv::Mat::zeros(90, 70, CV_8UC(7));
    for (const cv::Mat& matrix : {block, sevenChannels}) {
        EXPECT_THROW(inputOf(matrix), cv::Exception);
        EXPECT_TRUE(engine_.inputs.empty());
        EXPECT_EQ(inputOf(photo), expected);
    }
}

TEST_P(OddPictures, PicturesOfOtherChannelsNeverLookLikeTheirInput) {
    const std::size_t right = inputBytes();
    for (const int type : {CV_8UC1, CV_8UC2, CV_8UC4, CV_16UC1, CV_16UC4, CV_32FC1}) {
        try {
            EXPECT_NE(inputOf(cv::Mat(80, 100, type, cv::Scalar::all(9))).size(), right) << type;
        } catch (const cv::Exception&) {
            EXPECT_TRUE(engine_.inputs.empty()) << type;
        }
    }
}

TEST_P(OddPictures, OtherDepthsAndChannelsLeaveTheModelUsable) {
    const cv::Mat photo = noisePicture(100, 80);
    const std::vector<std::int8_t> expected = inputOf(photo);
    for (int depth = CV_8U; depth <= CV_16F; ++depth) {
        for (int channels = 1; channels <= 4; ++channels) {
            try {
                inputOf(cv::Mat(33, 47, CV_MAKETYPE(depth, channels), cv::Scalar::all(1)));
            } catch (const cv::Exception&) {
                EXPECT_TRUE(engine_.inputs.empty()) << depth << ' ' << channels;
            }
            EXPECT_EQ(inputOf(photo), expected) << depth << ' ' << channels;
        }
    }
}

std::string nameOf(const ::testing::TestParamInfo<ModelKind>& model) {
    return model.param.name;
}

INSTANTIATE_TEST_SUITE_P(Models, OddPictures, ::testing::ValuesIn(kModels), nameOf);

}  // namespace
