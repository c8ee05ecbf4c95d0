#pragma once

/// \file
/// Masks as run lengths, and these as text.

#include <opencv2/core.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brellix::app {

/// A mask of `size` pixels. The runs go down the columns, from left to right, and take turns, outside first;
/// together they are as long as the mask has pixels.
struct RunLengths {
    cv::Size size;
    std::vector<std::uint32_t> runs;
};

/// Builds run lengths from the pieces inside the object, given in their order.
class RunLengthsBuilder {
  public:
    /// \param size of the mask; fewer than 2^32 pixels.
    explicit RunLengthsBuilder(cv::Size size) : size_(size) {}

    /// Adds the pixels from `begin` to before `end`, counted down the columns, not before the end of the
    /// piece before.
    void add(std::int64_t begin, std::int64_t end);

    RunLengths finish();

  private:
    cv::Size size_;
    std::vector<std::uint32_t> runs_;
    std::int64_t position_ = 0;
};

/// \return the run lengths of an 8-bit mask, in which everything but 0 belongs to the object.
RunLengths runLengthsOf(const cv::Mat& mask);

/// \return COCO's compressed text: from the fourth on each run is written as its difference from the one two
///         before. A number is written in groups of five bits, the lowest first, each as a character from
///         '0' on; bit 5 says that more follow, bit 4 of the last is the sign.
std::string compressed(const RunLengths& mask);

/// \return the mask that `compressed` wrote as `text`.
/// Throws `std::invalid_argument` that says what is wrong with the text.
RunLengths decompressed(std::string_view text, cv::Size size);

/// Throws `std::invalid_argument` where the runs do not fill a mask of `size` exactly.
RunLengths checkedRunLengths(const std::vector<std::int64_t>& runs, cv::Size size);

/// \return the compressed run lengths of an 8-bit mask.
std::string cocoRunLengths(const cv::Mat& mask);

}  // namespace brellix::app
