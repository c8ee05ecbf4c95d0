#include "comparison/side_by_side.h"

#include "text.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace brellix::app {
namespace {

using ai_orvo::model::Object;

constexpr int kShortestSide = 420;  // of a half; titles have to fit above it
constexpr int kLongestSide = 900;
constexpr int kGap = 10;
constexpr int kTitleHeight = 30;
constexpr int kLineHeight = 22;
constexpr std::size_t kMostLines = 12;
constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;
constexpr double kFontSize = 0.5;

const cv::Scalar kInk(30, 30, 30);
const cv::Scalar kFrame(0, 0, 255);
const cv::Scalar kFrameEdge(255, 255, 255);

std::string percent(float probability) {
    return fixed(static_cast<double>(probability) * 100.0, 1) + " %";
}

std::string lossText(const char* what, const Object& object, const Loss& loss, const ClassList& classes) {
    return std::string(what) + classes.nameOf(object.label) + ", " + percent(object.prob) +
           (loss.isNearThreshold ? ", near the threshold" : "");
}

std::string changeText(const Object& a, const Object& b, const ClassList& classes) {
    return "class changed: " + classes.nameOf(a.label) + ", " + percent(a.prob) + " in A, " +
           classes.nameOf(b.label) + ", " + percent(b.prob) + " in B";
}

void describeAgreements(const PictureComparison& comparison, const ClassList& classes,
                        std::vector<std::string>& lines) {
    const std::vector<Agreement>& all = comparison.agreements;
    if (all.empty()) {
        return;
    }
    const auto nameOf = [&](const Agreement& agreement) {
        return classes.nameOf(comparison.a[agreement.pair.a].label);
    };
    const Agreement& drift = *std::max_element(
        all.begin(), all.end(), [](const Agreement& x, const Agreement& y) { return x.drift < y.drift; });
    lines.push_back("largest drift: " + nameOf(drift) + ", " + percent(comparison.a[drift.pair.a].prob) +
                    " in A, " + percent(comparison.b[drift.pair.b].prob) + " in B");
    const Agreement& box = *std::min_element(
        all.begin(), all.end(),
        [](const Agreement& x, const Agreement& y) { return x.pair.overlap < y.pair.overlap; });
    lines.push_back("smallest box IoU: " + nameOf(box) + ", " + fixed(box.pair.overlap, 3));
    const Agreement& mask =
        *std::min_element(all.begin(), all.end(), [](const Agreement& x, const Agreement& y) {
            return x.maskOverlap.value_or(1.0) < y.maskOverlap.value_or(1.0);
        });
    if (mask.maskOverlap) {
        lines.push_back("smallest mask IoU: " + nameOf(mask) + ", " + fixed(*mask.maskOverlap, 3));
    }
}

double scaleFor(cv::Size size) {
    const double shortest = std::min(size.width, size.height);
    const double longest = std::max(size.width, size.height);
    return std::min(kShortestSide / shortest, kLongestSide / longest);
}

/// The drawing in a cell that is at least as wide as a title.
struct Half {
    cv::Mat picture;
    double scale;
};

Half fitHalf(const cv::Mat& drawn) {
    const double scale = scaleFor(drawn.size());
    const cv::Size size(std::max(1, static_cast<int>(std::lround(drawn.cols * scale))),
                        std::max(1, static_cast<int>(std::lround(drawn.rows * scale))));
    Half half{{}, scale};
    cv::resize(drawn, half.picture, size, 0.0, 0.0, scale < 1.0 ? cv::INTER_AREA : cv::INTER_CUBIC);
    return half;
}

/// A box of the source picture, held inside the half before it becomes whole numbers.
cv::Rect scaledBox(const cv::Rect2f& box, const Half& half) {
    const auto along = [&](float value, int limit) {
        return static_cast<int>(std::lround(
            std::clamp(static_cast<double>(value) * half.scale, 0.0, static_cast<double>(limit))));
    };
    const cv::Point corner(along(box.x, half.picture.cols - 1), along(box.y, half.picture.rows - 1));
    const cv::Point opposite(along(box.x + box.width, half.picture.cols - 1),
                             along(box.y + box.height, half.picture.rows - 1));
    return {corner, opposite};
}

void frame(const Object& object, Half& a, Half& b) {
    for (Half* half : {&a, &b}) {
        const cv::Rect box = scaledBox(object.rect, *half);
        cv::rectangle(half->picture, box, kFrameEdge, 7);
        cv::rectangle(half->picture, box, kFrame, 3);
    }
}

void frameDifferences(const PictureComparison& comparison, Half& a, Half& b) {
    for (const Loss& loss : comparison.missed) {
        frame(comparison.a[loss.object], a, b);
    }
    for (const Loss& loss : comparison.extra) {
        frame(comparison.b[loss.object], a, b);
    }
    for (const ObjectPair& pair : comparison.classChanged) {
        frame(comparison.a[pair.a], a, b);
    }
}

/// Cut to `width`, since what runs over the edge would not be seen to be missing.
void write(cv::Mat& canvas, std::string text, cv::Point at, int width) {
    const auto extent = [](const std::string& words) {
        int below = 0;
        return cv::getTextSize(words, kFont, kFontSize, 1, &below).width;
    };
    if (extent(text) > width) {
        while (text.size() > 3 && extent(text + "...") > width) {
            text.pop_back();
        }
        text += "...";
    }
    cv::putText(canvas, text, at, kFont, kFontSize, kInk, 1, cv::LINE_AA);
}

std::vector<std::string> captionOf(const PictureComparison& comparison, const ClassList& classes) {
    std::vector<std::string> lines = describeDifferences(comparison, classes);
    if (lines.size() > kMostLines) {
        const std::size_t left = lines.size() - kMostLines + 1;
        lines.resize(kMostLines - 1);
        lines.push_back("and " + std::to_string(left) + " more");
    }
    lines.insert(lines.begin(), comparison.source);
    return lines;
}

}  // namespace

std::vector<std::string> describeDifferences(const PictureComparison& comparison, const ClassList& classes) {
    std::vector<std::string> lines;
    for (const ObjectPair& pair : comparison.classChanged) {
        lines.push_back(changeText(comparison.a[pair.a], comparison.b[pair.b], classes));
    }
    for (const bool isNear : {false, true}) {
        for (const Loss& loss : comparison.missed) {
            if (loss.isNearThreshold == isNear) {
                lines.push_back(lossText("only in A: ", comparison.a[loss.object], loss, classes));
            }
        }
        for (const Loss& loss : comparison.extra) {
            if (loss.isNearThreshold == isNear) {
                lines.push_back(lossText("only in B: ", comparison.b[loss.object], loss, classes));
            }
        }
    }
    describeAgreements(comparison, classes, lines);
    if (lines.empty()) {
        lines.emplace_back("nothing found by either");
    }
    return lines;
}

cv::Mat drawSideBySide(const SidePicture& a, const SidePicture& b, const PictureComparison& comparison,
                       const ClassList& classes) {
    Half left = fitHalf(a.drawn);
    Half right = fitHalf(b.drawn);
    frameDifferences(comparison, left, right);
    const std::vector<std::string> caption = captionOf(comparison, classes);
    const int cell = std::max(left.picture.cols, kShortestSide);
    const int width = 2 * cell + 3 * kGap;
    const int pictureBottom = kTitleHeight + left.picture.rows;
    const int height = pictureBottom + kGap + kLineHeight * static_cast<int>(caption.size()) + kGap;
    cv::Mat canvas(height, width, CV_8UC3, cv::Scalar::all(255));
    int x = kGap;
    for (const auto& [half, title] : {std::pair(&left, &a.title), std::pair(&right, &b.title)}) {
        write(canvas, *title, {x, kTitleHeight - 10}, cell);
        half->picture.copyTo(canvas(cv::Rect({x, kTitleHeight}, half->picture.size())));
        x += cell + kGap;
    }
    int y = pictureBottom + kGap;
    for (const std::string& line : caption) {
        y += kLineHeight;
        write(canvas, line, {kGap, y - 6}, width - 2 * kGap);
    }
    return canvas;
}

}  // namespace brellix::app
