#include "reference/drawing.h"

#include "reference/rounding.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace brellix::reference {

using ai_orvo::model::Object;

namespace {

struct TextStyle {
    double scale;
    int thickness;
};

cv::Scalar colorAt(const ColorTable& table, int index) {
    const std::vector<unsigned int>& color = table.at(static_cast<std::size_t>(index));
    return {static_cast<double>(color.at(0)), static_cast<double>(color.at(1)),
            static_cast<double>(color.at(2)), 0.0};
}

std::string labelText(const std::string& name, float probability) {
    const float percent = probability * 100.0F;
    std::array<char, 256> text{};
    std::snprintf(text.data(), text.size(), "%s %.1f%%", name.c_str(), static_cast<double>(percent));
    return text.data();
}

void drawLabel(cv::Mat& picture, const cv::Rect_<float>& box, const std::string& text,
               const TextStyle& style) {
    int baseline = 0;
    const cv::Size size =
        cv::getTextSize(text, cv::FONT_HERSHEY_SIMPLEX, style.scale, style.thickness, &baseline);
    const int x = truncateTowardZero(box.x);
    const std::int64_t below = static_cast<std::int64_t>(truncateTowardZero(box.y)) + 1;
    const auto y = static_cast<int>(std::min<std::int64_t>(below, picture.rows));
    cv::rectangle(picture, cv::Rect(x, y, size.width, size.height + baseline), cv::Scalar(0, 0, 255), -1, 8);
    cv::putText(picture, text, cv::Point(x, y + size.height), cv::FONT_HERSHEY_SIMPLEX, style.scale,
                cv::Scalar(255, 255, 255), style.thickness, 8, false);
}

int lastPixel(int first, int count) {
    const std::int64_t last = static_cast<std::int64_t>(first) + count - 1;
    return static_cast<int>(std::min<std::int64_t>(last, std::numeric_limits<int>::max()));
}

void drawBoxes(cv::Mat& picture, const std::vector<Object>& objects,
               const std::vector<std::string>& classNames, const ColorTable& colors, const TextStyle& style) {
    for (const Object& object : objects) {
        const cv::Scalar color = colorAt(colors, object.label);
        const cv::Rect box = wholePixelBox(object.rect);
        if (!box.empty()) {
            const cv::Point last(lastPixel(box.x, box.width), lastPixel(box.y, box.height));
            cv::rectangle(picture, box.tl(), last, color, 2, 8);
        }
        const std::string& name = classNames.at(static_cast<std::size_t>(object.label));
        drawLabel(picture, object.rect, labelText(name, object.prob), style);
    }
}

}  // namespace

cv::Mat drawObjects(const cv::Mat& image, const std::vector<Object>& objects,
                    const std::vector<std::string>& classNames, const ColorTable& colors) {
    cv::Mat picture = image.clone();
    drawBoxes(picture, objects, classNames, colors, {0.4, 1});
    return picture;
}

cv::Mat drawObjectsMasks(const cv::Mat& image, const std::vector<Object>& objects,
                         const std::vector<std::string>& classNames, const ColorTable& colors,
                         const ColorTable& maskColors) {
    cv::Mat picture = image.clone();
    cv::Mat coloured = image.clone();
    for (const Object& object : objects) {
        if (!object.mask.empty()) {
            coloured.setTo(colorAt(maskColors, object.label % 20), object.mask);
        }
    }
    cv::addWeighted(picture, 0.5, coloured, 0.8, 1.0, picture);
    drawBoxes(picture, objects, classNames, colors, {1.0, 2});
    return picture;
}

}  // namespace brellix::reference
