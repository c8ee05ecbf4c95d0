// Every allocation of a frame fails, alone and together with all that follow it: the caller learns of it or
// the result is right all the same, nothing is lost, and the next frame is what it would have been.

#include "brellix/class_names.h"
#include "brellix/drawing.h"
#include "brellix/nms.h"
#include "brellix/yolov5.h"
#include "faults/fail_each.h"
#include "faults/strict_mat_allocator.h"
#include "support/canned_scenes.h"
#include "support/images.h"
#include "support/object_digest.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <numeric>
#include <opencv2/core.hpp>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace brellix::testing {
namespace {

using namespace ai_orvo::model;

class OutOfMemory : public ::testing::TestWithParam<std::tuple<CannedModel, Shortage>> {
  protected:
    // Other threads would have allocations of their own, in another order each time.
    OutOfMemory() : threads_(cv::getNumThreads()) { cv::setNumThreads(1); }
    ~OutOfMemory() override { cv::setNumThreads(threads_); }

    static std::unique_ptr<CvModel> makeModel() { return std::get<0>(GetParam()).make(); }
    static Shortage shortage() { return std::get<1>(GetParam()); }

    // As large as it takes for masks to be pages of the kernel's.
    const cv::Mat photo_ = noisePicture(440, 300);

  private:
    StrictMatAllocator matrices_;
    int threads_;
};

std::vector<Object> detected(CvModel& model, const cv::Mat& image) {
    std::vector<Object> objects;
    model.detect(image, objects);
    return objects;
}

TEST(IndexNms, NeedsNoMemory) {
    // Rising scores, which the partition splits worst, as well as scores in no order.
    for (const bool isRising : {true, false}) {
        std::vector<float> scores;
        for (int i = 0; i < 500; ++i) {
            scores.push_back(static_cast<float>(isRising ? i : i * 211 % 500));
        }
        std::vector<int> order(scores.size());
        std::iota(order.begin(), order.end(), 0);
        std::vector<cv::Rect> boxes(scores.size(), {10, 10, 20, 20});
        std::vector<int> classIds(scores.size(), 1);
        const AllocationFailure failure(1, Shortage::kAllFromThere);
        quickSortIndiceInverse(scores, 0, 499, order);
        const int best = order.front();
        nms(500, boxes, std::move(classIds), order, 1, 0.5F);
        const float whole = CalculateOverlap(0, 0, 9, 9, 0, 0, 9, 9);
        EXPECT_FALSE(AllocationFailure::end());
        EXPECT_EQ(scores.front(), 499.0F);
        EXPECT_EQ(order.front(), best);
        EXPECT_EQ(std::count(order.begin(), order.end(), -1), 499);
        EXPECT_EQ(whole, 1.0F);
    }
}

TEST_P(OutOfMemory, OfDetectIsToldAndTheNextFrameIsThatOfAnUntouchedModel) {
    const auto untouched = makeModel();
    const std::vector<Object> expected = detected(*untouched, photo_);
    ASSERT_GE(expected.size(), 10U);
    const auto model = makeModel();
    const std::size_t allocations = failEach(shortage(), [&] { return digestOf(detected(*model, photo_)); });
    EXPECT_GE(allocations, 10U);
    EXPECT_EQ(digestOf(detected(*model, photo_)), digestOf(expected));
}

TEST_P(OutOfMemory, OfDrawingIsToldAndLeavesTheResult) {
    std::vector<Object> objects = detected(*makeModel(), photo_);
    // Every letter asks for memory.
    objects.resize(1);
    const std::vector<std::string> names(kCannedClasses,
                                         "something with a name too long to be stored in place");
    const cv::Mat before(3, 5, CV_8UC3, cv::Scalar(1, 2, 3));
    const auto drawn = [&](auto draw) {
        return failEach(shortage(), [&] {
            cv::Mat canvas = before;
            try {
                draw(canvas);
            } catch (...) {
                EXPECT_EQ(canvas.data, before.data);
                throw;
            }
            return digestOf(canvas);
        });
    };
    EXPECT_GE(drawn([&](cv::Mat& canvas) { draw_objects(photo_, canvas, objects, names, CLASS_COLORS); }),
              3U);
    EXPECT_GE(drawn([&](cv::Mat& canvas) {
                  draw_objects_masks(photo_, canvas, objects, names, CLASS_COLORS, MASK_COLORS);
              }),
              3U);
}

/// Takes what is written to standard output, without asking for memory.
class OutputInPlace : public std::streambuf {
  public:
    OutputInPlace() : before_(std::cout.rdbuf(this)) { clear(); }
    OutputInPlace(const OutputInPlace&) = delete;
    OutputInPlace& operator=(const OutputInPlace&) = delete;
    ~OutputInPlace() override { std::cout.rdbuf(before_); }

    void clear() { setp(text_.data(), text_.data() + text_.size()); }
    std::string_view text() const { return {pbase(), static_cast<std::size_t>(pptr() - pbase())}; }

  private:
    std::array<char, 256> text_{};
    std::streambuf* before_;
};

TEST(OutOfMemoryOfYOLOv5, NeverCutsTheLineThatItPrints) {
    constexpr std::string_view kLine = "dw: 0, dh: 16, ratio: 6.25\n";
    const cv::Mat photo = noisePicture(600, 400);
    YOLOv5 model("fused", "RKNN", {96, 96}, 0.5F, 0.45F, kCannedClasses);
    const Work detect = [&] {
        OutputInPlace output;
        try {
            detected(model, photo);
        } catch (...) {
            EXPECT_TRUE(output.text().empty() || output.text() == kLine) << output.text();
            throw;
        }
        EXPECT_EQ(output.text(), kLine);
        return std::uint64_t{0};
    };
    EXPECT_GE(failEach(Shortage::kOneAllocation, detect), 10U);
    EXPECT_GE(failEach(Shortage::kAllFromThere, detect), 10U);
}

TEST(OutOfMemoryOfClassNames, NeverEndsTheListThere) {
    const TemporaryFolder folder;
    std::string lines;
    for (int i = 0; i < 40; ++i) {
        lines +=
            "a name that is too long to be kept in the string itself, number " + std::to_string(i) + '\n';
    }
    const std::string path = folder.write("names.txt", lines);
    const Work read = [&] {
        std::vector<std::string> names;
        read_class_name(path, names);
        return std::uint64_t{names.size()};
    };
    EXPECT_EQ(read(), 40U);
    EXPECT_GE(failEach(Shortage::kOneAllocation, read), 40U);
    EXPECT_GE(failEach(Shortage::kAllFromThere, read), 40U);
}

std::string nameOf(const ::testing::TestParamInfo<OutOfMemory::ParamType>& info) {
    return identifierOf(std::get<0>(info.param)) +
           (std::get<1>(info.param) == Shortage::kOneAllocation ? "OneFails" : "AllFailFromThere");
}

INSTANTIATE_TEST_SUITE_P(Models, OutOfMemory,
                         ::testing::Combine(::testing::ValuesIn(cannedModels()),
                                            ::testing::Values(Shortage::kOneAllocation,
                                                              Shortage::kAllFromThere)),
                         nameOf);

}  // namespace
}  // namespace brellix::testing
