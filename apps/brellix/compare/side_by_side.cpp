#include "compare/side_by_side.h"

#include "compare/difference_text.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace brellix::app {
namespace {

using ai_orvo::model::Object;

// The drawn names have one size whatever the picture's: on a small one they would hide everything.
constexpr int kShortestSide = 640;
constexpr int kLongestSide = 1280;
constexpr int kGap = 12;
constexpr int kTitleHeight = 34;
constexpr int kLineHeight = 26;
constexpr std::size_t kMostLines = 12;
constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;
constexpr double kFontSize = 0.6;
constexpr int kFrameWidth = 4;

const cv::Scalar kInk(30, 30, 30);
const cv::Scalar kRed(0, 0, 255);
const cv::Scalar kOrange(0, 140, 255);
const cv::Scalar kFrameEdge(255, 255, 255);

double scaleFor(cv::Size size) {
    const double shortest = std::min(size.width, size.height);
    const double longest = std::max(size.width, size.height);
    return std::min(kShortestSide / shortest, kLongestSide / longest);
}

cv::Mat resized(const cv::Mat& image, cv::Size size, int interpolation) {
    cv::Mat result;
    if (!image.empty()) {
        cv::resize(image, result, size, 0.0, 0.0, interpolation);
    }
    return result;
}

/// The same result on a picture of another size.
PictureResult scaled(const PictureResult& result, double scale) {
    PictureResult copy = result;
    const cv::Size size(std::max(1, static_cast<int>(std::lround(result.picture.cols * scale))),
                        std::max(1, static_cast<int>(std::lround(result.picture.rows * scale))));
    copy.picture = resized(result.picture, size, scale < 1.0 ? cv::INTER_AREA : cv::INTER_CUBIC);
    const auto factor = static_cast<float>(scale);
    for (Object& object : copy.objects) {
        object.rect = {object.rect.x * factor, object.rect.y * factor, object.rect.width * factor,
                       object.rect.height * factor};
        object.mask = resized(object.mask, size, cv::INTER_NEAREST);
    }
    return copy;
}

/// A box of the source picture, held inside the drawing before it becomes whole numbers.
cv::Rect boxInDrawing(const cv::Rect2f& box, double scale, cv::Size drawing) {
    const auto along = [scale](float value, int size) {
        const double place = std::clamp(static_cast<double>(value) * scale, 0.0, size - 1.0);
        return static_cast<int>(std::lround(place));
    };
    return {cv::Point(along(box.x, drawing.width), along(box.y, drawing.height)),
            cv::Point(along(box.x + box.width, drawing.width), along(box.y + box.height, drawing.height))};
}

/// The two drawings, and what both get.
struct Halves {
    cv::Mat left;
    cv::Mat right;
    double scale;

    void frame(const Object& object, const cv::Scalar& color) {
        const cv::Rect box = boxInDrawing(object.rect, scale, left.size());
        for (cv::Mat* const half : {&left, &right}) {
            cv::rectangle(*half, box, kFrameEdge, kFrameWidth + 3);
            cv::rectangle(*half, box, color, kFrameWidth);
        }
    }
};

void frameDifferences(const PictureComparison& comparison, Halves& halves) {
    const LeastAgreement least = leastAgreement(comparison);
    for (const Agreement* const agreement : {least.drift, least.box, least.mask}) {
        if (agreement != nullptr) {
            halves.frame(comparison.a[agreement->pair.a], kOrange);
        }
    }
    for (const Loss& loss : comparison.missed) {
        halves.frame(comparison.a[loss.object], kRed);
    }
    for (const Loss& loss : comparison.extra) {
        halves.frame(comparison.b[loss.object], kRed);
    }
    for (const ObjectPair& pair : comparison.classChanged) {
        halves.frame(comparison.a[pair.a], kRed);
    }
}

int widthOf(const std::string& text) {
    int below = 0;
    return cv::getTextSize(text, kFont, kFontSize, 1, &below).width;
}

/// Cut to `width`, since what runs over the edge would not be seen to be missing.
void write(cv::Mat& canvas, std::string text, cv::Point at, int width) {
    if (widthOf(text) > width) {
        while (text.size() > 3 && widthOf(text + "...") > width) {
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
    lines.emplace_back("(red: one side only, or of another class; orange: least agreement)");
    return lines;
}

/// Puts the drawings, their titles and the caption on one sheet.
cv::Mat arrange(const Halves& halves, const std::string& titleA, const std::string& titleB,
                const std::vector<std::string>& caption) {
    const int cell = std::max(halves.left.cols, kShortestSide);
    const int width = 2 * cell + 3 * kGap;
    int y = kTitleHeight + halves.left.rows + kGap;
    cv::Mat canvas(y + kLineHeight * static_cast<int>(caption.size()) + kGap, width, CV_8UC3,
                   cv::Scalar::all(255));
    const int rightX = cell + 2 * kGap;
    write(canvas, titleA, {kGap, kTitleHeight - 11}, cell);
    write(canvas, titleB, {rightX, kTitleHeight - 11}, cell);
    halves.left.copyTo(canvas(cv::Rect({kGap, kTitleHeight}, halves.left.size())));
    halves.right.copyTo(canvas(cv::Rect({rightX, kTitleHeight}, halves.right.size())));
    for (const std::string& line : caption) {
        y += kLineHeight;
        write(canvas, line, {kGap, y - 7}, width - 2 * kGap);
    }
    return canvas;
}

}  // namespace

cv::Mat drawSideBySide(const SideOfPicture& a, const SideOfPicture& b, const PictureComparison& comparison,
                       const ClassList& classes) {
    const double scale = scaleFor(a.result.picture.size());
    Halves halves{drawAnnotated(scaled(a.result, scale), a.drawing),
                  drawAnnotated(scaled(b.result, scale), b.drawing), scale};
    frameDifferences(comparison, halves);
    return arrange(halves, a.title, b.title, captionOf(comparison, classes));
}

}  // namespace brellix::app
