#include "support/object_digest.h"

#include "support/digest.h"

namespace brellix::testing {

std::uint64_t digestOf(const std::vector<ai_orvo::model::Object>& objects) {
    Digest digest;
    digest.add(objects);
    return digest.value();
}

std::uint64_t digestOf(const cv::Mat& picture) {
    Digest digest;
    digest.add(picture);
    return digest.value();
}

}  // namespace brellix::testing
