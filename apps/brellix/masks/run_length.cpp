#include "masks/run_length.h"

#include <cstddef>
#include <limits>
#include <stdexcept>

namespace brellix::app {
namespace {

constexpr std::int64_t kGroupMask = 0x1F;
constexpr std::int64_t kSignBit = 0x10;
constexpr std::int64_t kMoreBit = 0x20;
constexpr std::int64_t kFirstCharacter = '0';
constexpr int kGroupBits = 5;
// No run of fewer than 2^32 pixels, and no difference of two, needs more.
constexpr int kMostGroups = 7;

void appendNumber(std::int64_t number, std::string& text) {
    bool more = true;
    while (more) {
        std::int64_t group = number & kGroupMask;
        // What is left is the sign alone once it agrees with the group's own sign bit.
        number = (number - group) / (kGroupMask + 1);
        more = number != ((group & kSignBit) != 0 ? -1 : 0);
        if (more) {
            group |= kMoreBit;
        }
        text += static_cast<char>(group + kFirstCharacter);
    }
}

std::int64_t groupAt(std::string_view text, std::size_t position) {
    if (position >= text.size()) {
        throw std::invalid_argument("the run lengths end in the middle of a number");
    }
    const std::int64_t group = static_cast<unsigned char>(text[position]) - kFirstCharacter;
    if (group < 0 || group > (kGroupMask | kMoreBit)) {
        throw std::invalid_argument("character " + std::to_string(position + 1) +
                                    " of the run lengths is none that they are written with");
    }
    return group;
}

/// Reads the number at `position` and moves behind it.
std::int64_t readNumber(std::string_view text, std::size_t& position) {
    std::int64_t number = 0;
    for (int index = 0; index < kMostGroups; ++index) {
        const std::int64_t group = groupAt(text, position++);
        const std::int64_t weight = std::int64_t{1} << (kGroupBits * index);
        number += (group & kGroupMask) * weight;
        if ((group & kMoreBit) == 0) {
            return (group & kSignBit) != 0 ? number - weight * (kGroupMask + 1) : number;
        }
    }
    throw std::invalid_argument("a number of the run lengths is too long");
}

std::int64_t pixelsOf(cv::Size size) {
    return std::int64_t{size.width} * size.height;
}

/// Adds what one column holds between two rows.
void addColumn(const cv::Mat& mask, int column, cv::Range rows, RunLengthsBuilder& builder) {
    const std::int64_t base = std::int64_t{column} * mask.rows;
    int begin = -1;
    for (int row = rows.start; row < rows.end; ++row) {
        const bool isInside = mask.at<std::uint8_t>(row, column) != 0;
        if (isInside && begin < 0) {
            begin = row;
        } else if (!isInside && begin >= 0) {
            builder.add(base + begin, base + row);
            begin = -1;
        }
    }
    if (begin >= 0) {
        builder.add(base + begin, base + rows.end);
    }
}

/// The rows and columns that hold all of the object: most masks are small in their picture.
cv::Rect boundsOf(const cv::Mat& mask) {
    cv::Mat columns;
    cv::Mat rows;
    cv::reduce(mask, columns, 0, cv::REDUCE_MAX);
    cv::reduce(mask, rows, 1, cv::REDUCE_MAX);
    const auto firstAndBehindLast = [](const cv::Mat& line) {
        const std::uint8_t* const values = line.ptr<std::uint8_t>();
        const int count = static_cast<int>(line.total());
        int first = 0;
        int last = count;
        while (first < count && values[first] == 0) {
            ++first;
        }
        while (last > first && values[last - 1] == 0) {
            --last;
        }
        return cv::Range(first, last);
    };
    const cv::Range x = firstAndBehindLast(columns);
    const cv::Range y = firstAndBehindLast(rows);
    return {x.start, y.start, x.size(), y.size()};
}

}  // namespace

void RunLengthsBuilder::add(std::int64_t begin, std::int64_t end) {
    if (end <= begin) {
        return;
    }
    if (begin == position_ && !runs_.empty()) {
        runs_.back() += static_cast<std::uint32_t>(end - begin);
    } else {
        runs_.push_back(static_cast<std::uint32_t>(begin - position_));
        runs_.push_back(static_cast<std::uint32_t>(end - begin));
    }
    position_ = end;
}

RunLengths RunLengthsBuilder::finish() {
    const std::int64_t rest = pixelsOf(size_) - position_;
    if (rest > 0 || runs_.empty()) {
        runs_.push_back(static_cast<std::uint32_t>(rest));
    }
    return {size_, std::move(runs_)};
}

RunLengths runLengthsOf(const cv::Mat& mask) {
    RunLengthsBuilder builder(mask.size());
    if (!mask.empty()) {
        const cv::Rect bounds = boundsOf(mask);
        for (int x = bounds.x; x < bounds.x + bounds.width; ++x) {
            addColumn(mask, x, {bounds.y, bounds.y + bounds.height}, builder);
        }
    }
    return builder.finish();
}

std::string compressed(const RunLengths& mask) {
    std::string text;
    for (std::size_t i = 0; i < mask.runs.size(); ++i) {
        const std::int64_t run = mask.runs[i];
        appendNumber(i > 2 ? run - std::int64_t{mask.runs[i - 2]} : run, text);
    }
    return text;
}

RunLengths decompressed(std::string_view text, cv::Size size) {
    std::vector<std::int64_t> runs;
    for (std::size_t position = 0; position < text.size();) {
        const std::int64_t number = readNumber(text, position);
        runs.push_back(runs.size() > 2 ? number + runs[runs.size() - 2] : number);
        // Checked at once, so that sums of differences cannot grow without bound.
        if (runs.back() < 0 || runs.back() > pixelsOf(size)) {
            throw std::invalid_argument("run " + std::to_string(runs.size()) + " is " +
                                        std::to_string(runs.back()) + " pixels long");
        }
    }
    return checkedRunLengths(runs, size);
}

RunLengths checkedRunLengths(const std::vector<std::int64_t>& runs, cv::Size size) {
    const std::int64_t pixels = pixelsOf(size);
    if (pixels > std::int64_t{std::numeric_limits<std::uint32_t>::max()}) {
        throw std::invalid_argument("the mask is too large");
    }
    RunLengths mask{size, {}};
    std::int64_t left = pixels;
    for (const std::int64_t run : runs) {
        if (run < 0 || run > left) {
            throw std::invalid_argument("run " + std::to_string(mask.runs.size() + 1) + " is " +
                                        std::to_string(run) + " pixels long where " + std::to_string(left) +
                                        " are left");
        }
        mask.runs.push_back(static_cast<std::uint32_t>(run));
        left -= run;
    }
    if (left != 0) {
        throw std::invalid_argument("the runs cover " + std::to_string(pixels - left) + " of " +
                                    std::to_string(pixels) + " pixels");
    }
    return mask;
}

std::string cocoRunLengths(const cv::Mat& mask) {
    return compressed(runLengthsOf(mask));
}

}  // namespace brellix::app
