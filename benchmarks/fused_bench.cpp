// Decoding the fused output, suppression included.

#include "scenes.h"
#include "stage.h"

#include "reference/fused_boxes.h"
#include "support/comparison.h"

#include "brellix/yolov5.h"

#include <memory>
#include <string>
#include <vector>

namespace brellix::bench {
namespace {

using ai_orvo::model::Object;

struct FusedCase {
    explicit FusedCase(int candidates) {
        outputs["output0"] = fusedOutput(candidates);
        model.letterbox_info = letterboxOf({1920, 1080});
        settings.letterbox = model.letterbox_info;
        settings.numCandidates = model.num_candidates;
    }

    std::vector<Object> ours() {
        std::vector<Object> objects;
        model.postprocess(outputs, objects);
        return objects;
    }

    std::vector<Object> reference() const { return reference::detectFused(settings, outputs.at("output0")); }

    /// One float of each row.
    void touchObjectness() const {
        const auto* const values = reinterpret_cast<const float*>(outputs.at("output0").data->data());
        float sum = 0.0F;
        for (int row = 0; row < settings.numCandidates; ++row) {
            sum += values[static_cast<std::size_t>(row) * (kClasses + 5) + 4];
        }
        benchmark::DoNotOptimize(sum);
    }

    ai_orvo::model::YOLOv5 model{"network", "TensorRT", {kInput, kInput}, 0.25F, 0.65F, kClasses};
    ai_orvo::model::TensorMap outputs;
    reference::FusedSettings settings;
};

Measured measure(int candidates) {
    const auto data = std::make_shared<FusedCase>(candidates);
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(data->ours().data()); };
    measured.reference = [=] { benchmark::DoNotOptimize(data->reference().data()); };
    measured.floor = [=] { data->touchObjectness(); };
    measured.agree = [=] { return static_cast<bool>(testing::sameObjects(data->ours(), data->reference())); };
    return measured;
}

const bool registered = [] {
    for (const int candidates : {0, 5, 20, 60, 100, 2000}) {
        addStage("fused decode and suppression", std::to_string(candidates) + " candidates", Other::kNone,
                 [candidates] { return measure(candidates); });
    }
    return true;
}();

}  // namespace
}  // namespace brellix::bench
