#include "run_length.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace brellix::app {
namespace {

constexpr std::int64_t kGroupMask = 0x1F;
constexpr std::int64_t kSignBit = 0x10;
constexpr std::int64_t kMoreBit = 0x20;
constexpr std::int64_t kFirstCharacter = '0';

std::vector<std::int64_t> columnRuns(const cv::Mat& mask) {
    std::vector<std::int64_t> runs;
    bool isInside = false;
    std::int64_t length = 0;
    for (int x = 0; x < mask.cols; ++x) {
        for (int y = 0; y < mask.rows; ++y) {
            if ((mask.at<std::uint8_t>(y, x) != 0) != isInside) {
                runs.push_back(length);
                length = 0;
                isInside = !isInside;
            }
            ++length;
        }
    }
    runs.push_back(length);
    return runs;
}

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

}  // namespace

std::string cocoRunLengths(const cv::Mat& mask) {
    const std::vector<std::int64_t> runs = columnRuns(mask);
    std::string text;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        appendNumber(i > 2 ? runs[i] - runs[i - 2] : runs[i], text);
    }
    return text;
}

}  // namespace brellix::app
