#pragma once

/// \file
/// What values a network's outputs take.

#include <brellix/cv_model.h>
#include <quantization/quantization.h>

#include <opencv2/core.hpp>

#include <map>
#include <string>

namespace brellix::app {

/// Runs a model's network on pictures, always with float outputs, and keeps the range of each output.
class OutputRanges {
  public:
    using Ranges = std::map<std::string, ai_orvo::alg::common::ValueRange>;

    /// \param model     outlives this; its engine has accepted its network.
    /// \param inputSize of the network.
    OutputRanges(ai_orvo::model::CvModel& model, cv::Size inputSize) : model_(model), inputSize_(inputSize) {}

    /// Throws `BrokenPicture` where the engine fails, and what letterboxing throws.
    void add(const cv::Mat& picture);

    /// \return smallest and largest value over all pictures, by the output's name.
    const Ranges& ranges() const { return ranges_; }

  private:
    void merge(const std::string& tensor, const ai_orvo::model::AIBuff& values);

    ai_orvo::model::CvModel& model_;
    cv::Size inputSize_;
    Ranges ranges_;
};

}  // namespace brellix::app
