#include "compare/worst_pictures.h"

#include <algorithm>

namespace brellix::app {

void WorstPictures::offer(double severity, const std::function<WorstPicture()>& make) {
    const auto place = std::find_if(pictures_.begin(), pictures_.end(),
                                    [&](const WorstPicture& kept) { return severity > kept.severity; });
    const bool isAmongThem = place != pictures_.end() || pictures_.size() < count_;
    if (!(severity > 0.0) || !isAmongThem) {
        return;
    }
    pictures_.insert(place, make());
    pictures_.resize(std::min(pictures_.size(), count_));
}

}  // namespace brellix::app
