// A model that a destructor asks for a last frame: at the end of the process, or of a thread.

#include "brellix/letterbox.h"
#include "support/canned_scenes.h"
#include "support/images.h"
#include "support/object_digest.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <thread>
#include <utility>
#include <vector>

namespace brellix::testing {
namespace {

using namespace ai_orvo::model;

// Sizes that come first in the last frame ask for new memory, too.
std::uint64_t digestOfFrames(CvModel& model) {
    std::vector<Object> all;
    for (const cv::Size& size : {cv::Size(96, 96), cv::Size(130, 75), cv::Size(200, 60)}) {
        std::vector<Object> objects;
        model.detect(noisePicture(size.width, size.height), objects);
        all.insert(all.end(), objects.begin(), objects.end());
    }
    return digestOf(all);
}

/// Looks at frames when it is destroyed and tells what it found.
class LastFrames {
  public:
    LastFrames(const CannedModel& kind, std::function<void(std::uint64_t)> tell)
        : model_(kind.make()), tell_(std::move(tell)) {}
    LastFrames(const LastFrames&) = delete;
    LastFrames& operator=(const LastFrames&) = delete;
    ~LastFrames() { tell_(digestOfFrames(*model_)); }

  private:
    std::unique_ptr<CvModel> model_;
    std::function<void(std::uint64_t)> tell_;
};

constexpr int kOtherObjects = 7;

/// Ends the process with 0, or with `kOtherObjects`. What frames leave behind in the process is newer than
/// the static object, and gone before it.
[[noreturn]] void endWithLastFrames(const CannedModel& kind) {
    static std::uint64_t expected = 0;
    static const LastFrames last(kind, [](std::uint64_t found) {
        if (found != expected) {
            std::_Exit(kOtherObjects);
        }
    });
    expected = digestOfFrames(*kind.make());
    std::exit(EXIT_SUCCESS);
}

/// Large enough for OpenCV to share out among its threads.
std::uint64_t digestOfLetterbox() {
    cv::Mat padded;
    cv::Size target(640, 640);
    letterbox(noisePicture(900, 700), padded, target);
    return digestOf(padded);
}

/// Ends the process with 0, or with `kOtherObjects`.
[[noreturn]] void endWithALastLetterbox() {
    static std::uint64_t expected = 0;
    struct LastLetterbox {
        LastLetterbox() = default;
        LastLetterbox(const LastLetterbox&) = delete;
        LastLetterbox& operator=(const LastLetterbox&) = delete;
        ~LastLetterbox() {
            if (digestOfLetterbox() != expected) {
                std::_Exit(kOtherObjects);
            }
        }
    };
    static const LastLetterbox last;
    expected = digestOfLetterbox();
    std::exit(EXIT_SUCCESS);
}

TEST(LastLetterbox, OfAStaticObjectIsDrawnAsBefore) {
    EXPECT_EXIT(endWithALastLetterbox(), ::testing::ExitedWithCode(EXIT_SUCCESS), "");
}

class LastFramesTest : public ::testing::TestWithParam<CannedModel> {};

TEST_P(LastFramesTest, OfAStaticObjectAreFoundAsBefore) {
    EXPECT_EXIT(endWithLastFrames(GetParam()), ::testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST_P(LastFramesTest, OfAThreadsOwnObjectAreFoundAsBefore) {
    const std::uint64_t expected = digestOfFrames(*GetParam().make());
    std::uint64_t found = 0;
    std::thread([&] {
        // There before the model needs anything of the thread, so that it goes after it.
        thread_local const LastFrames last(GetParam(), [&found](std::uint64_t digest) { found = digest; });
        digestOfFrames(*GetParam().make());
    }).join();
    EXPECT_EQ(found, expected);
}

INSTANTIATE_TEST_SUITE_P(Kinds, LastFramesTest, ::testing::ValuesIn(cannedModels()),
                         [](const auto& kind) { return identifierOf(kind.param); });

}  // namespace
}  // namespace brellix::testing
