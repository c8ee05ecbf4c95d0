// A static object, there before its model, that asks for a last frame when the process ends. In a program of
// its own: the engine's libraries make their objects when the first network is loaded, and that has to be in
// the child.

#include "brellix/run_report.h"
#include "pipeline/shapes_models.h"
#include "support/object_digest.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace {

using namespace ai_orvo::model;
using namespace brellix::testing;

constexpr int kFoundAsBefore = 0;
constexpr int kFoundOtherwise = 1;
constexpr int kInferenceFailed = 9;

struct LastFrame {
    ~LastFrame() {
        std::vector<Object> objects;
        model->detect(picture, objects);
        const int status = last_run_report().inference_status;
        std::_Exit(status != 0 ? status : digestOf(objects) == expected ? kFoundAsBefore : kFoundOtherwise);
    }

    std::unique_ptr<CvModel> model;
    cv::Mat picture;
    std::uint64_t expected = 0;
};

[[noreturn]] void endWithALastFrame(const ShapesModel& kind) {
    static LastFrame last;
    last.picture = shapesPictures(1).front();
    last.model = kind.make();
    std::vector<Object> objects;
    last.model->detect(last.picture, objects);
    last.expected = digestOf(objects);
    if (objects.empty()) {
        // Past the last frame, which would find nothing as before.
        std::_Exit(kFoundOtherwise);
    }
    // Its status is that of the last frame.
    std::exit(kFoundOtherwise);
}

/// ONNX Runtime destroys what it needs before such an object; the engine must not touch it then.
bool runsOnOnnxRuntime() {
    const char* const backend = std::getenv("BRELLIX_ENGINE_BACKEND");
    return backend != nullptr && std::string(backend) == "onnxruntime";
}

TEST(LastInference, IsServedOrRefusedWithTheReason) {
    for (const ShapesModel& kind : shapesModels()) {
        if (runsOnOnnxRuntime()) {
            EXPECT_EXIT(endWithALastFrame(kind), ::testing::ExitedWithCode(kInferenceFailed),
                        "the process is ending, and ONNX Runtime's own objects are gone")
                << kind.name;
        } else {
            EXPECT_EXIT(endWithALastFrame(kind), ::testing::ExitedWithCode(kFoundAsBefore), "") << kind.name;
        }
    }
}

}  // namespace
