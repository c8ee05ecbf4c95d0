#pragma once

/// \file
/// One task over many pictures.

#include "console/console.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace brellix::app {

/// What is done with one picture: the path it came from, and its pixels.
using PictureTask = std::function<void(const std::string& source, const cv::Mat& picture)>;

/// Reads the pictures one after another and hands each to the task, with a line of progress on a terminal.
///
/// A picture that cannot be read, or that the task throws for, is reported and passed over; only a `Failure`
/// of the task ends the run.
/// \param networkInput size of the network's input, for messages.
/// \return how many pictures failed.
std::size_t overPictures(const std::vector<std::string>& sources, cv::Size networkInput, Console& console,
                         const PictureTask& task);

}  // namespace brellix::app
