// Every allocation of a frame fails, alone and together with all that follow it: the caller learns of it or
// the result is right all the same, nothing is lost, and the next frame is what it would have been.

#include "brellix/drawing.h"
#include "brellix/yolov5.h"
#include "faults/failing_allocator.h"
#include "faults/strict_mat_allocator.h"
#include "support/canned_scenes.h"
#include "support/images.h"
#include "support/object_digest.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <opencv2/core.hpp>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace brellix::testing {
namespace {

using namespace ai_orvo::model;

/// Something to do again and again. \return a digest of what came out.
using Work = std::function<std::uint64_t()>;

/// What a run in which memory was short gave.
struct ShortRun {
    bool lacksMemory = false;             ///< whether an allocation failed
    std::optional<std::uint64_t> result;  ///< nothing where the caller was told by an exception
};

/// Any other exception than those that stand for a lack of memory leaves it.
ShortRun runShort(const Work& work, std::size_t nth, Shortage shortage) {
    ShortRun run;
    const AllocationFailure failure(nth, shortage);
    try {
        run.result = work();
        run.lacksMemory = AllocationFailure::end();
    } catch (const std::bad_alloc&) {
        run.lacksMemory = AllocationFailure::end();
    } catch (const cv::Exception& error) {
        run.lacksMemory = AllocationFailure::end();
        if (error.code != cv::Error::StsNoMem) {
            throw;
        }
    }
    return run;
}

/// How often each failure is repeated: that tells a leak from a container that grows now and then.
constexpr int kRepeats = 3;

/// Lets each allocation of `work` fail in turn. \return how many allocations it has.
std::size_t failEach(Shortage shortage, const Work& work) {
    const std::uint64_t expected = work();
    for (std::size_t nth = 1;; ++nth) {
        const long before = liveBlocks();
        ShortRun run;
        for (int i = 0; i < kRepeats; ++i) {
            run = runShort(work, nth, shortage);
            EXPECT_EQ(run.result.value_or(expected), expected) << "wrong, untold; allocation " << nth;
            EXPECT_EQ(work(), expected) << "after allocation " << nth << " had failed";
        }
        EXPECT_LT(liveBlocks() - before, kRepeats) << "lost by allocation " << nth;
        if (!run.lacksMemory || ::testing::Test::HasFailure()) {
            return nth - 1;
        }
    }
}

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
