// Separate models on separate threads, all at once: each gives what it gives alone.

#include "brellix/drawing.h"
#include "support/canned_engine.h"
#include "support/canned_scenes.h"
#include "support/images.h"
#include "support/object_digest.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace brellix::testing {
namespace {

using namespace ai_orvo::model;

constexpr std::size_t kThreads = 8;
constexpr std::size_t kFramesEach = 250;

/// Runs `work(0)` to `work(count - 1)`, each on a thread of its own, all of them released at the same time.
void atOnce(std::size_t count, const std::function<void(std::size_t)>& work) {
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back([&work, started, i] {
            started.wait();
            work(i);
        });
    }
    start.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

const std::vector<cv::Mat>& pictures() {
    // The last one is large enough for masks that are pages of the kernel's.
    static const std::vector<cv::Mat> all = {noisePicture(96, 96), noisePicture(75, 130),
                                             noisePicture(200, 60), noisePicture(440, 300)};
    return all;
}

std::vector<Object> detected(CvModel& model, std::size_t frame) {
    std::vector<Object> objects;
    model.detect(pictures()[frame % pictures().size()], objects);
    return objects;
}

/// What the models of a kind find on each picture, one after another on one thread.
std::vector<std::uint64_t> digestsOf(const CannedModel& kind) {
    const auto model = kind.make();
    std::vector<std::uint64_t> digests;
    for (std::size_t frame = 0; frame < pictures().size(); ++frame) {
        digests.push_back(digestOf(detected(*model, frame)));
    }
    return digests;
}

const CannedModel& kindOf(std::size_t thread) {
    return cannedModels()[thread % cannedModels().size()];
}

std::vector<std::vector<std::uint64_t>> digestsOfAllKinds() {
    std::vector<std::vector<std::uint64_t>> digests;
    for (const CannedModel& kind : cannedModels()) {
        digests.push_back(digestsOf(kind));
    }
    return digests;
}

TEST(SeparateModels, OnEightThreadsFindWhatTheyFindOnOne) {
    const auto expected = digestsOfAllKinds();
    std::vector<std::size_t> wrong(kThreads);
    // Results outlive their threads and are released by another one.
    std::vector<std::vector<Object>> last(kThreads);
    atOnce(kThreads, [&](std::size_t thread) {
        const auto model = kindOf(thread).make();
        const auto& digests = expected[thread % expected.size()];
        for (std::size_t frame = 0; frame < kFramesEach; ++frame) {
            last[thread] = detected(*model, frame);
            wrong[thread] += digestOf(last[thread]) == digests[frame % digests.size()] ? 0U : 1U;
        }
    });
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        EXPECT_EQ(wrong[thread], 0U) << "frames of thread " << thread;
        EXPECT_EQ(digestOf(last[thread]),
                  expected[thread % expected.size()][(kFramesEach - 1) % pictures().size()]);
    }
}

TEST(SeparateModels, MayWanderFromThreadToThread) {
    const auto expected = digestsOfAllKinds();
    std::vector<std::unique_ptr<CvModel>> models;
    for (const CannedModel& kind : cannedModels()) {
        models.push_back(kind.make());
    }
    for (std::size_t frame = 0; frame < 12; ++frame) {
        atOnce(models.size(), [&](std::size_t thread) {
            const std::size_t kind = (thread + frame) % models.size();
            EXPECT_EQ(digestOf(detected(*models[kind], frame)), expected[kind][frame % pictures().size()]);
        });
    }
}

std::uint64_t sumOf(const TensorMap& tensors) {
    std::uint64_t sum = 0;
    for (const auto& [name, tensor] : tensors) {
        for (const std::int8_t byte : *tensor.data) {
            sum = sum * 31 + static_cast<std::uint8_t>(byte);
        }
    }
    return sum;
}

TEST(SeparateModels, MayHaveTensorsThatOtherThreadsReadResizeAndRelease) {
    // What an engine hands on is not looked at again before the last owner has let go of it.
    const auto model = cannedModels()[1].make();
    std::vector<std::future<std::uint64_t>> sums;
    TensorMap kept;
    const ScopedEngineFault handsOn([&kept](TensorMap&, TensorMap& outputs) {
        kept = outputs;
        return 0;
    });
    for (std::size_t frame = 0; frame < 100; ++frame) {
        detected(*model, frame);
        // Another thread ends with this frame's tensors while the next frame is under way.
        sums.push_back(std::async(std::launch::async, [tensors = std::exchange(kept, {})]() mutable {
            const TensorMap last = std::move(tensors);
            const std::uint64_t sum = sumOf(last);
            for (const auto& [name, tensor] : last) {
                tensor.data->resize(tensor.data->size() / 2);
            }
            return sum;
        }));
    }
    const std::uint64_t first = sums.front().get();
    for (std::size_t frame = 1; frame < sums.size(); ++frame) {
        EXPECT_EQ(sums[frame].get(), first) << frame;
    }
}

TEST(DrawingFunctions, GiveTheSamePicturesOnEightThreads) {
    const std::vector<Object> objects = detected(*cannedModels()[2].make(), 3);
    const std::vector<std::string> names(kCannedClasses, "name");
    const auto draw = [&] {
        cv::Mat boxes;
        cv::Mat masks;
        draw_objects(pictures()[3], boxes, objects, names, CLASS_COLORS);
        draw_objects_masks(pictures()[3], masks, objects, names, CLASS_COLORS, MASK_COLORS);
        return std::make_pair(digestOf(boxes), digestOf(masks));
    };
    const auto expected = draw();
    std::vector<std::pair<std::uint64_t, std::uint64_t>> found(kThreads);
    atOnce(kThreads, [&](std::size_t thread) { found[thread] = draw(); });
    EXPECT_EQ(found, std::vector(kThreads, expected));
}

}  // namespace
}  // namespace brellix::testing
