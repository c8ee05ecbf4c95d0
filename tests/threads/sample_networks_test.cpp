// The sample networks on several threads at once: each model finds what it finds alone.

#include "brellix/run_report.h"
#include "pipeline/shapes_models.h"
#include "support/object_digest.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace {

using namespace ai_orvo::model;
using namespace brellix::testing;

/// A new model's finds, picture by picture; nothing for a picture whose inference failed.
std::vector<std::uint64_t> digestsOf(const ShapesModel& kind, const std::vector<cv::Mat>& pictures) {
    const auto model = kind.make();
    std::vector<std::uint64_t> digests;
    for (const cv::Mat& picture : pictures) {
        std::vector<Object> objects;
        model->detect(picture, objects);
        digests.push_back(last_run_report().inference_status == 0 ? digestOf(objects) : 0);
    }
    return digests;
}

TEST(SeparateModelsOverTheEngine, OnEightThreadsFindWhatTheyFindOnOne) {
    const std::vector<cv::Mat> pictures = shapesPictures(6);
    std::vector<std::vector<std::uint64_t>> expected;
    for (const ShapesModel& kind : shapesModels()) {
        expected.push_back(digestsOf(kind, pictures));
    }
    std::vector<std::vector<std::uint64_t>> found(8);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < found.size(); ++i) {
        threads.emplace_back([&, i] { found[i] = digestsOf(shapesModels()[i % expected.size()], pictures); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i], expected[i % expected.size()]) << "thread " << i;
    }
}

}  // namespace
