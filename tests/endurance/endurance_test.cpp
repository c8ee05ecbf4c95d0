// The measuring itself: a model that loses memory or whose results drift is told.

#include "endurance/endurance.h"
#include "support/canned_engine.h"
#include "support/canned_scenes.h"
#include "support/images.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace brellix::testing {
namespace {

using namespace ai_orvo::model;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Finds one object, and on each picture does what a test wants with it.
class StubModel : public CvModel {
  public:
    using Twist = std::function<void(Object&)>;

    explicit StubModel(Twist twist) : twist_(std::move(twist)) {}

    void detect(const cv::Mat&, std::vector<Object>& objects) override {
        objects.resize(1);
        twist_(objects.front());
    }
    void postprocess(TensorMap&, std::vector<Object>&) override {}

  private:
    Twist twist_;
};

std::vector<std::string> faultsWith(const StubModel::Twist& twist) {
    const EnduranceCase stub{
        "stub", [&] { return std::make_unique<StubModel>(twist); }, {noisePicture(8, 8), noisePicture(9, 9)}};
    return faultsOf(endure(stub, 3000));
}

/// A model over the canned engine.
EnduranceCase aShortRun() {
    return {"short", [] { return cannedModels()[0].make(); }, {noisePicture(8, 8)}};
}

TEST(Endurance, AModelThatStaysAsItIsHasNoFault) {
    EXPECT_THAT(faultsWith([](Object&) {}), IsEmpty());
}

TEST(Endurance, LostMemoryIsAFault) {
    std::vector<std::unique_ptr<char[]>> lost;
    EXPECT_THAT(faultsWith([&](Object&) {
                    lost.push_back(std::make_unique<char[]>(5000));
                    std::fill_n(lost.back().get(), 5000, '\1');
                }),
                ElementsAre(HasSubstr("resident memory grew by "), HasSubstr("allocated memory grew by ")));
}

TEST(Endurance, ALittleLostMemoryIsAFaultToo) {
    std::vector<std::unique_ptr<char>> lost;
    lost.reserve(3000);
    EXPECT_THAT(faultsWith([&](Object&) { lost.push_back(std::make_unique<char>('\0')); }),
                ElementsAre(HasSubstr("allocated memory grew by ")));
}

TEST(Endurance, GrowthUpToTheLimitIsNone) {
    EnduranceResult result;
    result.objects = 1;
    result.start = {1000, 500};
    result.end = {1030, 540};
    EXPECT_THAT(faultsOf(result, {30, 40}), IsEmpty());
    EXPECT_THAT(faultsOf(result, {29, 39}),
                ElementsAre(HasSubstr("by 30 bytes, from 1000 to 1030; the limit is 29"),
                            HasSubstr("by 40 bytes, from 500 to 540; the limit is 39")));
}

TEST(Endurance, OneFrameThatDiffersIsAFault) {
    int frame = 0;
    EXPECT_THAT(faultsWith([&](Object& object) { object.prob = ++frame == 2500 ? 0.5F : 0.25F; }),
                ElementsAre("1 of 3000 frames gave other objects than the first round"));
}

TEST(Endurance, OnePixelOfAMaskThatDiffersIsAFault) {
    int frame = 0;
    EXPECT_THAT(faultsWith([&](Object& object) {
                    object.mask = cv::Mat::zeros(30, 40, CV_8U);
                    object.mask.at<uchar>(29, 39) = ++frame == 3000 ? 255 : 0;
                }),
                ElementsAre("1 of 3000 frames gave other objects than the first round"));
}

TEST(Endurance, FindingNothingIsAFault) {
    EnduranceResult result = endure(aShortRun(), 20);
    EXPECT_THAT(faultsOf(result), IsEmpty());
    result.objects = 0;
    EXPECT_THAT(faultsOf(result), ElementsAre("nothing was found, so that no drift could show"));
}

TEST(Endurance, FailedFramesAreAFault) {
    const ScopedEngineFault broken([](auto&, auto&) { return 9; });
    EXPECT_THAT(faultsOf(endure(aShortRun(), 20)), ElementsAre("inference failed on 20 of 20 frames"));
}

}  // namespace
}  // namespace brellix::testing
