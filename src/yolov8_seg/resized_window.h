#pragma once

/// \file
/// A part of a bilinearly resized plane, without resizing the rest.

#include <opencv2/core.hpp>

#include <array>
#include <cstddef>
#include <vector>

namespace ai_orvo::model {

/// Makes boxes of resized planes, one after another, and keeps its memory meanwhile.
class ResizedWindow {
  public:
    /// \param source the planes' size.
    /// \param result the size that they are resized to; OpenCV has to interpolate between the two.
    ResizedWindow(const cv::Size& source, const cv::Size& result) : source_(source), result_(result) {}

    /// Chooses the box of the result that is made. \param box inside the result, not empty.
    /// \return the part of the source that it comes from.
    cv::Rect choose(const cv::Rect& box);

    /// Writes 255 where the chosen box of the resized plane is positive.
    ///
    /// \param values what `choose` asked for, line by line.
    /// \param mask   as large as the box, CV_8U, zero.
    void markPositive(const float* values, cv::Mat mask);

  private:
    /// Where lines of the result come from: source[low] * lowWeight + source[high] * highWeight.
    struct LineTap {
        int low;
        int high;
        float lowWeight;
        float highWeight;
    };

    /// The same for columns, an entry each in every list: source[low] * lowWeight + source[low + 1] *
    /// highWeight for the first `interpolated` of them, source[low] * lowWeight where the source ends.
    struct ColumnTaps {
        std::vector<int> low;
        std::vector<float> lowWeight;
        std::vector<float> highWeight;
        std::size_t interpolated = 0;

        void clear();
        void add(int lowColumn, float weight, float nextWeight);
    };

    /// A line of the source, resized.
    struct ResizedLine {
        int index = -1;
        std::vector<float> values;
    };

    /// Neighbouring lines of the result that come from the same two lines of the source.
    using Band = cv::Range;

    /// Columns of the result, side by side, of which the same is known.
    struct Run {
        std::size_t begin;
        std::size_t end;
        bool isPositive;  ///< everywhere in the band; otherwise unknown
    };

    cv::Range chooseColumns(int first, int count);
    cv::Range chooseLines(int first, int count);
    void resizeLine(const float* values, int index, ResizedLine& line) const;
    void resizeLines(const float* values, const LineTap& tap);
    void findRuns(const float* values, const Band& band);
    void findSigns(const float* values, const LineTap& tap);
    void addRun(const Run& run);
    void markBand(const Band& band, cv::Mat& mask) const;

    cv::Size source_;
    cv::Size result_;
    int pitch_ = 0;  ///< values a line of the chosen part
    ColumnTaps columns_;
    std::vector<LineTap> lines_;
    std::array<ResizedLine, 2> resized_;  ///< the low and the high line of the latest result
    std::vector<unsigned char>
        signs_;              ///< what a band's two lines have in common, a column of the source each
    std::vector<Run> runs_;  ///< of a band; what lies in none of them is nowhere positive
};

}  // namespace ai_orvo::model
