#include "sources/frame.h"

namespace brellix::app {

std::string displayName(const FrameId& id) {
    return id.origin == FrameOrigin::kPicture ? id.source : id.source + " #" + std::to_string(id.number);
}

}  // namespace brellix::app
