// Our own engine with too little memory: it says so by its status, and the next frame is right.

#include "brellix/run_report.h"
#include "brellix/yolov5.h"
#include "faults/fail_each.h"
#include "faults/strict_mat_allocator.h"
#include "support/images.h"
#include "support/object_digest.h"
#include "support/temporary_folder.h"
#include "support/tiny_network.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <opencv2/core.hpp>
#include <vector>

namespace brellix::testing {
namespace {

using namespace ai_orvo::model;

constexpr int kInferenceFailed = 9;
constexpr int kInternal = 10;

class EngineOutOfMemory : public ::testing::TestWithParam<Shortage> {
  protected:
    EngineOutOfMemory() : threads_(cv::getNumThreads()) {
        cv::setNumThreads(1);
        setenv("BRELLIX_ENGINE_BACKEND", "opencv_dnn", 1);
    }
    ~EngineOutOfMemory() override { cv::setNumThreads(threads_); }

  private:
    StrictMatAllocator matrices_;
    int threads_;
};

TEST_P(EngineOutOfMemory, IsToldByItsStatusAndTheNextFrameIsRight) {
    const TemporaryFolder folder;
    const std::string network = folder.path() + "/network.onnx";
    writeTinyNetwork(network, fusedNetwork(3, {{32.0F, 24.0F, 20.0F, 10.0F, 0.75F, {0.5F, 0.0F, 0.0F}}}));
    YOLOv5 model(network, "TensorRT", {64, 64}, 0.25F, 0.65F, 3);
    ASSERT_EQ(last_run_report().init_status, 0);
    const cv::Mat photo = noisePicture(100, 80);
    const std::size_t allocations = failEach(GetParam(), [&] {
        std::vector<Object> objects;
        model.detect(photo, objects);
        const int status = last_run_report().inference_status;
        if (status != 0) {
            EXPECT_TRUE(status == kInferenceFailed || status == kInternal) << status;
            EXPECT_TRUE(objects.empty());
            throw std::bad_alloc();
        }
        EXPECT_EQ(objects.size(), 1U);
        return digestOf(objects);
    });
    EXPECT_GE(allocations, 20U);
}

INSTANTIATE_TEST_SUITE_P(Shortages, EngineOutOfMemory,
                         ::testing::Values(Shortage::kOneAllocation, Shortage::kAllFromThere),
                         [](const auto& instance) {
                             return instance.param == Shortage::kOneAllocation ? "OneFails"
                                                                               : "AllFailFromThere";
                         });

}  // namespace
}  // namespace brellix::testing
