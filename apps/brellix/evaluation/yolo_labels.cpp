#include "evaluation/yolo_labels.h"

#include "console/failure.h"
#include "console/text.h"
#include "files/text_lines.h"

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace brellix::app {
namespace {

// Tools that write labels round; what is further outside is pixels, or not a label at all.
constexpr double kRounding = 0.01;
constexpr std::int64_t kHighestLabel = 65535;
constexpr std::size_t kBoxNumbers = 4;
constexpr std::size_t kFewestPolygonNumbers = 6;
constexpr std::size_t kLongestQuote = 60;

[[noreturn]] void refuse(const std::string& place, const std::string& found, const std::string& expected) {
    throw wrongUse(place + ": " + printable(found.substr(0, kLongestQuote)) + ", expected " + expected);
}

std::int64_t readLabel(const std::string& word, const std::string& place) {
    const bool isNumber = !word.empty() && word.size() <= 5 &&
                          std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!isNumber || std::stol(word) > kHighestLabel) {
        refuse(place, "the class is \"" + word + '"', "a whole number from 0 on");
    }
    return std::stol(word);
}

double readShare(const std::string& word, const std::string& place) {
    std::istringstream stream(word);
    stream.imbue(std::locale::classic());
    double value = 0.0;
    const bool isNumber =
        static_cast<bool>(stream >> value) && stream.peek() == std::char_traits<char>::eof();
    if (!isNumber || !(value >= -kRounding && value <= 1.0 + kRounding)) {
        refuse(place, "found \"" + word + '"', "a share of the picture's width or height, 0 to 1");
    }
    return value;
}

cv::Rect2d boundsOf(const Polygon& polygon) {
    cv::Point2d low = polygon.front();
    cv::Point2d high = low;
    for (const cv::Point2d& corner : polygon) {
        low = {std::min(low.x, corner.x), std::min(low.y, corner.y)};
        high = {std::max(high.x, corner.x), std::max(high.y, corner.y)};
    }
    return {low, high};
}

void readShape(const std::vector<double>& numbers, YoloLabel& label) {
    if (numbers.size() == kBoxNumbers) {
        if (numbers[2] < 0.0 || numbers[3] < 0.0) {
            refuse(label.place, "the box is of negative size", "centre x, centre y, width, height");
        }
        label.box = {numbers[0] - numbers[2] / 2.0, numbers[1] - numbers[3] / 2.0, numbers[2], numbers[3]};
        return;
    }
    if (numbers.size() < kFewestPolygonNumbers || numbers.size() % 2 != 0) {
        refuse(label.place, "found " + counted(numbers.size(), "number") + " behind the class",
               "4 for a box (centre x, centre y, width, height), or x and y of at least three corners");
    }
    for (std::size_t i = 0; i < numbers.size(); i += 2) {
        label.polygon.emplace_back(numbers[i], numbers[i + 1]);
    }
    if (isTangled(label.polygon, 1.0)) {
        refuse(
            label.place,
            "a polygon that runs across the picture more than " + std::to_string(kMostCrossings) + " times",
            "the outline of an object");
    }
    label.box = boundsOf(label.polygon);
}

YoloLabel readLine(std::istringstream& words, const std::string& first, const std::string& place) {
    YoloLabel label;
    label.place = place;
    label.label = readLabel(first, place);
    std::vector<double> numbers;
    for (std::string word; words >> word;) {
        numbers.push_back(readShare(word, place));
    }
    readShape(numbers, label);
    return label;
}

}  // namespace

std::vector<YoloLabel> readYoloLabels(const std::string& path) {
    std::vector<YoloLabel> labels;
    std::size_t number = 0;
    for (const std::string& line : readTextLines(path, "labels")) {
        std::istringstream words(line);
        std::string first;
        ++number;
        if (words >> first) {
            labels.push_back(readLine(words, first, path + ':' + std::to_string(number)));
        }
    }
    return labels;
}

}  // namespace brellix::app
