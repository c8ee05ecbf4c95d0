// Overlap and suppression of objects against the reference: any boxes, labels, probabilities, threshold.
// Capped: 100 objects.

#include "reference/object_nms.h"
#include "support/comparison.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"

#include "brellix/nms.h"

#include <vector>

namespace brellix::fuzz {
namespace {

using ai_orvo::model::Object;

/// Half pixels in a small field, so that boxes meet and rounding has ties to decide.
float coordinate(FuzzedData& data, int low, int high) {
    return data.byte() < 224 ? static_cast<float>(data.integer(low, high)) * 0.5F : data.number();
}

std::vector<Object> objectsFrom(FuzzedData& data) {
    std::vector<Object> objects(static_cast<std::size_t>(data.integer(0, 100)));
    for (Object& object : objects) {
        object.rect = {coordinate(data, -20, 60), coordinate(data, -20, 60), coordinate(data, -4, 50),
                       coordinate(data, -4, 50)};
        object.label = data.oddInteger(0, 3);
        object.prob = data.oddNumber(0.0F, 1.0F);
    }
    return objects;
}

void compareOverlap(FuzzedData& data) {
    const auto box = [&data] {
        const int x = data.oddInteger(-20, 20);
        const int y = data.oddInteger(-20, 20);
        const int width = data.oddInteger(-2, 30);
        return cv::Rect(x, y, width, data.oddInteger(-2, 30));
    };
    const cv::Rect a = box();
    const cv::Rect b = box();
    const float overlap = ai_orvo::model::iou(a, b);
    require(testing::sameFloat(overlap, reference::iou(a, b)), "overlap");
    require(overlap >= 0.0F && overlap <= 1.0F, "overlap outside of 0 to 1");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    compareOverlap(data);
    const float threshold = data.oddNumber(-0.1F, 1.1F);
    const std::vector<Object> objects = objectsFrom(data);
    std::vector<Object> kept = objects;
    ai_orvo::model::nms(kept, threshold);
    require(testing::isGreedySuppression(objects, kept, threshold), "suppression");
    if (!testing::hasTies(objects)) {
        require(testing::sameObjects(kept, reference::keepGreedily(objects, threshold)), "kept objects");
    }
    return 0;
}

}  // namespace brellix::fuzz
