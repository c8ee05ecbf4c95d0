#pragma once

/// \file
/// The few pictures on which two configurations differ most.

#include <opencv2/core.hpp>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace brellix::app {

struct WorstPicture {
    std::string source;
    double severity;
    std::vector<std::string> differences;
    cv::Mat drawing;  ///< empty where none is wanted
};

/// Keeps the worst pictures of a run, the worst first; of equals the earlier.
class WorstPictures {
  public:
    explicit WorstPictures(std::size_t count) : count_(count) {}

    /// Keeps what `make` makes, if a picture of this severity is among the worst so far. One of severity 0
    /// never is.
    void offer(double severity, const std::function<WorstPicture()>& make);

    const std::vector<WorstPicture>& pictures() const { return pictures_; }

  private:
    std::size_t count_;
    std::vector<WorstPicture> pictures_;
};

}  // namespace brellix::app
