#include "endurance/cases.h"

#include "support/canned_scenes.h"
#include "support/images.h"

namespace brellix::testing {

std::vector<EnduranceCase> enduranceCases() {
    // Padding on each side and on none; a mask in ordinary memory and one in pages of the kernel's.
    const std::vector<cv::Mat> pictures = {noisePicture(96, 96), noisePicture(160, 90), noisePicture(60, 130),
                                           noisePicture(440, 300)};
    std::vector<EnduranceCase> cases;
    for (const CannedModel& model : cannedModels()) {
        cases.push_back({model.name, model.make, pictures});
    }
    return cases;
}

}  // namespace brellix::testing
