#pragma once

/// \file
/// The command that turns an ordinary export into what a model wants.

#include <opencv2/core.hpp>

#include <optional>
#include <string>

namespace brellix::app {

enum class PreparedForm {
    kAsFound,  ///< fused detectors and segmentation networks: the tool sees which
    kCut,      ///< the detector without its detection layer
};

/// \param size of the network's input, where the export leaves it open.
/// \return a command line of the shell.
std::string prepareCommand(const std::string& network, PreparedForm form, std::optional<cv::Size> size);

}  // namespace brellix::app
