#include "picture_loop.h"

#include "failure.h"
#include "picture_reader.h"
#include "progress.h"

#include <algorithm>
#include <cmath>
#include <exception>

namespace brellix::app {
namespace {

std::string sizeText(cv::Size size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

bool vanishesInNetworkInput(cv::Size picture, cv::Size networkInput) {
    const float scale =
        std::min(static_cast<float>(networkInput.width) / static_cast<float>(picture.width),
                 static_cast<float>(networkInput.height) / static_cast<float>(picture.height));
    return std::round(static_cast<float>(std::min(picture.width, picture.height)) * scale) < 1.0F;
}

std::string whyOpenCvThrew(const cv::Exception& exception, cv::Size picture, cv::Size networkInput) {
    if (vanishesInNetworkInput(picture, networkInput)) {
        return "at " + sizeText(picture) + " pixels too thin: scaled to the network input of " +
               sizeText(networkInput) + " nothing is left of it";
    }
    return "cannot be processed: " + exception.err;
}

void runTask(const PictureTask& task, const std::string& source, cv::Size networkInput) {
    const cv::Mat picture = readPicture(source);
    try {
        task(source, picture);
    } catch (const cv::Exception& exception) {
        throw BrokenPicture(whyOpenCvThrew(exception, picture.size(), networkInput));
    }
}

/// \return whether the task was done; what kept it from that is reported.
bool tryTask(const PictureTask& task, const std::string& source, cv::Size networkInput, Console& console) {
    try {
        runTask(task, source, networkInput);
        return true;
    } catch (const Failure&) {
        throw;
    } catch (const std::exception& error) {
        console.error(source + ": " + error.what());
        return false;
    }
}

}  // namespace

std::size_t overPictures(const std::vector<std::string>& sources, cv::Size networkInput, Console& console,
                         const PictureTask& task) {
    std::size_t failed = 0;
    Progress progress(sources.size());
    for (const std::string& source : sources) {
        if (console.hasStatusLine()) {
            console.showStatusLine(progress.text());
        }
        if (!tryTask(task, source, networkInput, console)) {
            ++failed;
        }
        progress.advance();
    }
    console.hideStatusLine();
    return failed;
}

}  // namespace brellix::app
