#include "faults/fail_each.h"

#include <gtest/gtest.h>

#include <new>
#include <opencv2/core.hpp>
#include <optional>

namespace brellix::testing {
namespace {

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

/// How often each failure is repeated: that tells a leak from a container that grows now and then. Sanitizers
/// find leaks by themselves, and take their time.
constexpr int kRepeats = kSanitized ? 1 : 3;

}  // namespace

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

}  // namespace brellix::testing
