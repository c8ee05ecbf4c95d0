#include "progress.h"

#include "text.h"

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

std::string progressText(std::size_t done, std::size_t total, double seconds) {
    std::string text = std::to_string(done) + '/' + counted(total, "picture");
    if (done == 0 || seconds <= 0.0) {
        return text;
    }
    const double rate = static_cast<double>(done) / seconds;
    const double secondsLeft = static_cast<double>(total - done) / rate;
    return text + ", " + fixed(rate, 1) + " a second, " + durationText(secondsLeft) + " left";
}

std::string Progress::text() const {
    return progressText(done_, total_, std::chrono::duration<double>(Clock::now() - start_).count());
}

}  // namespace brellix::app
