#include "sources/frame_loop.h"

#include "console/failure.h"
#include "console/stop_request.h"
#include "console/text.h"
#include "files/broken_picture.h"
#include "sources/early_end.h"
#include "sources/progress.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <string>

namespace brellix::app {
namespace {

/// An engine or a device that has died fails on every frame, and a source without an end would go on for
/// ever; whoever started the program can start it anew. Three seconds of a usual camera.
constexpr std::size_t kMostFailuresInARow = 100;

bool vanishesInNetworkInput(cv::Size picture, cv::Size networkInput) {
    const float scale =
        std::min(static_cast<float>(networkInput.width) / static_cast<float>(picture.width),
                 static_cast<float>(networkInput.height) / static_cast<float>(picture.height));
    return std::round(static_cast<float>(std::min(picture.width, picture.height)) * scale) < 1.0F;
}

/// The loop's state between frames.
class FrameLoop {
  public:
    FrameLoop(FrameSource& source, cv::Size networkInput, Console& console, const FrameTask& task)
        : source_(source), networkInput_(networkInput), console_(console), task_(task) {
        progress_.follow(source.id());
    }

    LoopOutcome run(std::size_t limit) {
        while (outcome_.done < limit && !outcome_.isStopped && step(limit)) {
            outcome_.isStopped = StopRequest::isMade();
        }
        outcome_.isStopped = outcome_.isStopped || (outcome_.done < limit && StopRequest::isMade());
        console_.hideStatusLine();
        return outcome_;
    }

  private:
    /// \return false at the source's end, and where it is given up.
    bool step(std::size_t limit) {
        showProgress(limit);
        std::string place;
        try {
            if (!advance(place)) {
                return false;
            }
            place = displayName(source_.id());
            progress_.follow(source_.id());
            runTask();
            ++outcome_.done;
            failuresInARow_ = 0;
        } catch (const Failure&) {
            throw;
        } catch (const std::exception& error) {
            console_.error(place + ": " + error.what());
            countFailure();
        }
        progress_.advance();
        return !isGivenUp();
    }

    void countFailure() {
        ++outcome_.failed;
        failuresInARow_ = source_.id().origin == FrameOrigin::kLive ? failuresInARow_ + 1 : 0;
    }

    bool isGivenUp() const {
        if (failuresInARow_ < kMostFailuresInARow) {
            return false;
        }
        console_.error(source_.id().source + ": " + std::to_string(failuresInARow_) +
                       " frames in a row failed");
        return true;
    }

    /// \param place receives what to call the place where going on fails.
    bool advance(std::string& place) {
        try {
            return source_.advance();
        } catch (const std::exception&) {
            place = source_.id().source;
            throw;
        }
    }

    void runTask() const {
        const Frame frame{source_.id(), source_.read()};
        if (frame.id.origin == FrameOrigin::kPicture) {
            warnOfEarlyEnd(frame.id.source, console_);
        }
        try {
            task_(frame);
        } catch (const cv::Exception& exception) {
            throw BrokenPicture(whyOpenCvThrew(exception, frame.picture.size(), networkInput_));
        }
    }

    void showProgress(std::size_t limit) {
        if (!console_.hasStatusLine()) {
            return;
        }
        console_.showStatusLine(progress_.text(source_.frameCount(), limit - outcome_.done));
    }

    FrameSource& source_;
    cv::Size networkInput_;
    Console& console_;
    const FrameTask& task_;
    LoopOutcome outcome_;
    std::size_t failuresInARow_ = 0;  ///< of a source without an end
    Progress progress_;
};

}  // namespace

std::string whyOpenCvThrew(const cv::Exception& exception, cv::Size picture, cv::Size networkInput) {
    if (vanishesInNetworkInput(picture, networkInput)) {
        return "at " + sizeText(picture.width, picture.height) +
               " pixels too thin: scaled to the network input of " +
               sizeText(networkInput.width, networkInput.height) + " nothing is left of it";
    }
    return "cannot be processed: " + exception.err;
}

LoopOutcome overFrames(FrameSource& source, cv::Size networkInput, Console& console, const FrameTask& task,
                       std::size_t limit) {
    return FrameLoop(source, networkInput, console, task).run(limit);
}

}  // namespace brellix::app
