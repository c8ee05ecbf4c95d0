#include "sources/progress.h"

#include "console/text.h"

#include <algorithm>
#include <cmath>

namespace brellix::app {
namespace {

std::string durationText(double seconds) {
    const auto whole = static_cast<long long>(std::ceil(seconds));
    if (whole < 60) {
        return std::to_string(whole) + " s";
    }
    if (whole < 3600) {
        return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
    }
    return std::to_string(whole / 3600) + " h " + std::to_string(whole % 3600 / 60) + " min";
}

}  // namespace

std::string progressText(std::size_t done, std::optional<std::size_t> total, const std::string& noun,
                         double seconds) {
    std::string text = total ? std::to_string(done) + '/' + counted(*total, noun) : counted(done, noun);
    if (done == 0 || seconds <= 0.0) {
        return text;
    }
    const double rate = static_cast<double>(done) / seconds;
    text += ", " + fixed(rate, 1) + " a second";
    if (total) {
        const double left = static_cast<double>(*total - std::min(*total, done));
        text += ", " + durationText(left / rate) + " left";
    }
    return text;
}

void Progress::follow(const FrameId& frame) {
    const std::string source = frame.origin == FrameOrigin::kPicture ? std::string() : frame.source;
    if (source != source_) {
        *this = Progress();
        source_ = source;
    }
}

std::string Progress::text(std::optional<std::size_t> total, std::size_t limit) const {
    if (total && *total > done_ && *total - done_ > limit) {
        total = done_ + limit;
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    return source_.empty() ? progressText(done_, total, "picture", seconds)
                           : source_ + ": " + progressText(done_, total, "frame", seconds);
}

}  // namespace brellix::app
