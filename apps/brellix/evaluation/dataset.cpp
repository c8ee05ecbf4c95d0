#include "evaluation/dataset.h"

#include <algorithm>

namespace brellix::app {

bool hasMasks(const Dataset& dataset) {
    const auto hasMask = [](const TruthObject& object) { return object.mask.has_value(); };
    return objectsIn(dataset) > 0 &&
           std::all_of(dataset.pictures.begin(), dataset.pictures.end(), [&](const TruthPicture& picture) {
               return std::all_of(picture.objects.begin(), picture.objects.end(), hasMask);
           });
}

std::size_t objectsIn(const Dataset& dataset) {
    std::size_t count = 0;
    for (const TruthPicture& picture : dataset.pictures) {
        count += picture.objects.size();
    }
    return count;
}

}  // namespace brellix::app
