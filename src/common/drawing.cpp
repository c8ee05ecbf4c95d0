#include "brellix/drawing.h"

#include "common/mask_overlay.h"
#include "common/numeric.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace ai_orvo::model {
namespace {

using ColorTable = std::vector<std::vector<unsigned int>>;

struct LabelStyle {
    double fontScale;
    int thickness;
};

constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;
constexpr int kBoxThickness = 2;
constexpr std::size_t kLongestLabel = 255;
constexpr LabelStyle kSmallLabel{0.4, 1};
constexpr LabelStyle kLargeLabel{1.0, 2};
constexpr int kMaskColorCycle = 20;

cv::Scalar colorOf(const ColorTable& table, int index) {
    const std::vector<unsigned int>& entry = table.at(static_cast<std::size_t>(index));
    return {static_cast<double>(entry.at(0)), static_cast<double>(entry.at(1)),
            static_cast<double>(entry.at(2)), 0};
}

/// A rectangle whose right and bottom edges can be formed in int; one of ordinary size comes back unchanged.
cv::Rect drawable(const cv::Rect& rect) {
    const auto fit = [](int start, int length) {
        const std::int64_t room = static_cast<std::int64_t>(std::numeric_limits<int>::max()) - start;
        return static_cast<int>(std::min<std::int64_t>(length, room));
    };
    return {rect.x, rect.y, fit(rect.x, rect.width), fit(rect.y, rect.height)};
}

std::string labelText(const Object& object, const std::string& name) {
    // Has room for every float. Unlike those of printf, these digits do not follow the process's locale.
    std::array<char, 64> digits;
    const auto percent = std::to_chars(
        digits.begin(), digits.end(), static_cast<double>(object.prob * 100.0F), std::chars_format::fixed, 1);
    std::string text = name.substr(0, name.find('\0'));
    text.append(" ").append(digits.begin(), percent.ptr).append("%");
    return text.substr(0, kLongestLabel);
}

/// By its corners: given a `cv::Rect`, later versions of OpenCV (4.10, not 4.6) cut it at the picture's
/// border first, and the cut shows as a line.
void drawBox(cv::Mat& canvas, const cv::Rect_<float>& rect, const cv::Scalar& color) {
    const cv::Rect box = drawable(roundToInt(rect));
    if (!box.empty()) {
        cv::rectangle(canvas, box.tl(), box.br() - cv::Point(1, 1), color, kBoxThickness, cv::LINE_8);
    }
}

void drawLabel(cv::Mat& canvas, const cv::Rect_<float>& rect, const std::string& text,
               const LabelStyle& style) {
    const cv::Scalar background(0, 0, 255);
    const cv::Scalar ink(255, 255, 255);
    int baseline = 0;
    const cv::Size size = cv::getTextSize(text, kFont, style.fontScale, style.thickness, &baseline);

    // The box rounds, the label truncates: their corners may differ by a pixel.
    const int x = truncateToInt(rect.x);
    const int y = std::min(truncateToInt(rect.y), canvas.rows - 1) + 1;
    cv::rectangle(canvas, drawable({x, y, size.width, size.height + baseline}), background, cv::FILLED,
                  cv::LINE_8);
    cv::putText(canvas, text, cv::Point(x, y + size.height), kFont, style.fontScale, ink, style.thickness,
                cv::LINE_8, false);
}

void drawBoxesAndLabels(cv::Mat& canvas, const std::vector<Object>& objects,
                        const std::vector<std::string>& names, const ColorTable& colors,
                        const LabelStyle& style) {
    for (const Object& object : objects) {
        const cv::Scalar color = colorOf(colors, object.label);
        const std::string& name = names.at(static_cast<std::size_t>(object.label));
        drawBox(canvas, object.rect, color);
        drawLabel(canvas, object.rect, labelText(object, name), style);
    }
}

}  // namespace

void draw_objects(const cv::Mat& image, cv::Mat& res, const std::vector<Object>& objs,
                  const std::vector<std::string>& class_names, const ColorTable& colors) {
    cv::Mat canvas = image.clone();
    drawBoxesAndLabels(canvas, objs, class_names, colors, kSmallLabel);
    res = canvas;
}

void draw_objects_masks(const cv::Mat& image, cv::Mat& res, const std::vector<Object>& objs,
                        const std::vector<std::string>& class_names, const ColorTable& colors,
                        const ColorTable& mask_colors) {
    std::vector<cv::Scalar> objectColors;
    objectColors.reserve(objs.size());
    for (const Object& object : objs) {
        objectColors.push_back(object.mask.empty() ? cv::Scalar()
                                                   : colorOf(mask_colors, object.label % kMaskColorCycle));
    }
    cv::Mat canvas = overlayMasks(image, objs, objectColors);
    drawBoxesAndLabels(canvas, objs, class_names, colors, kLargeLabel);
    res = canvas;
}

}  // namespace ai_orvo::model
