// Decoding the three int8 heads of the cut network, suppression included.

#include "scenes.h"
#include "stage.h"

#include "reference/cutoff_boxes.h"
#include "support/comparison.h"

#include "brellix/yolov5_cutoff.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace brellix::bench {
namespace {

using ai_orvo::model::Object;

struct CutCase {
    CutCase(int candidates, Placement placement) : outputs(cutOutputs(candidates, placement)) {
        model.letterbox_info = letterboxOf({1920, 1080});
        settings.letterbox = model.letterbox_info;
        for (std::size_t head = 0; head < heads.size(); ++head) {
            heads[head] = outputs.at(reference::kCutoffHeadNames[head]).data->data();
        }
    }

    std::vector<Object> ours() {
        std::vector<Object> objects;
        model.postprocess(outputs, objects);
        return objects;
    }

    std::vector<Object> reference() const { return reference::detectCutoff(settings, outputs); }

    void readObjectness() const {
        for (std::size_t head = 0; head < 3; ++head) {
            const auto grid = static_cast<std::size_t>(kInput / reference::kCutoffStrides[head]);
            const std::int8_t* const bytes = heads[head];
            for (std::size_t anchor = 0; anchor < 3; ++anchor) {
                readOnce(bytes + (anchor * (kClasses + 5) + 4) * grid * grid, grid * grid);
            }
        }
    }

    ai_orvo::model::YOLOv5Cutoff model{"network", "RKNN", {kInput, kInput}, 0.25F, 0.65F, kClasses};
    ai_orvo::model::TensorMap outputs;
    std::array<const std::int8_t*, 3> heads;
    reference::CutoffSettings settings;
};

Measured measure(int candidates, Placement placement) {
    const auto data = std::make_shared<CutCase>(candidates, placement);
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(data->ours().data()); };
    measured.reference = [=] { benchmark::DoNotOptimize(data->reference().data()); };
    measured.floor = [=] { data->readObjectness(); };
    measured.agree = [=] { return static_cast<bool>(testing::sameObjects(data->ours(), data->reference())); };
    return measured;
}

const bool registered = [] {
    for (const int candidates : {0, 5, 20, 60, 100, 2000}) {
        addStage("cut decode and suppression", std::to_string(candidates) + " candidates", Other::kNone,
                 [candidates] { return measure(candidates, Placement::kAroundObjects); });
    }
    addStage("cut decode and suppression", "60 scattered candidates", Other::kNone,
             [] { return measure(60, Placement::kScattered); });
    return true;
}();

}  // namespace
}  // namespace brellix::bench
