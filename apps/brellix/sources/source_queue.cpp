#include "sources/source_queue.h"

#include "console/stop_request.h"

#include <utility>

namespace brellix::app {

SourceQueue::SourceQueue(std::vector<std::unique_ptr<FrameSource>> sources, std::size_t every)
    : sources_(std::move(sources)), every_(every) {}

bool SourceQueue::advanceInSource() {
    while (!StopRequest::isMade() && sources_[current_]->advance()) {
        if (position_++ % every_ == 0) {
            return true;
        }
    }
    return false;
}

bool SourceQueue::advance() {
    while (!advanceInSource()) {
        if (StopRequest::isMade() || current_ + 1 == sources_.size()) {
            return false;
        }
        sources_[current_].reset();
        ++current_;
        position_ = 0;
    }
    return true;
}

FrameId SourceQueue::id() const {
    FrameId id = sources_[current_]->id();
    id.framesPerSecond /= static_cast<double>(every_);
    return id;
}

std::optional<std::size_t> SourceQueue::frameCount() const {
    const std::optional<std::size_t> count = sources_[current_]->frameCount();
    return count ? std::optional((*count + every_ - 1) / every_) : std::nullopt;
}

}  // namespace brellix::app
