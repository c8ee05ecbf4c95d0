#include "eval/precision_plot.h"

#include "console/text.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace brellix::app {
namespace {

// Drawn twice as large and scaled down, which smooths lines and letters alike.
constexpr int kOversampling = 2;
constexpr int kPlotLeft = 70;
constexpr int kPlotTop = 50;
constexpr int kPlotWidth = 560;
constexpr int kPlotHeight = 400;
constexpr int kPanelHeight = kPlotTop + kPlotHeight + 65;
constexpr int kLegendLeft = kPlotLeft + kPlotWidth + 25;
constexpr int kLegendRowHeight = 19;
constexpr int kLegendColumnWidth = 205;
constexpr std::size_t kLegendRows = 21;
constexpr std::size_t kLongestLegendName = 16;
constexpr int kRightMargin = 15;

const cv::Scalar kInk(40, 40, 40);
const cv::Scalar kGrid(228, 228, 228);
const cv::Scalar kMeanColor(0, 0, 0);

/// How far apart in brightness and strength neighbours of similar hue are.
struct Shade {
    double saturation;
    double value;
};
constexpr std::array<Shade, 4> kShades = {{{200, 205}, {235, 150}, {130, 220}, {255, 235}}};

/// Neighbours in the list lie far apart on the colour circle.
cv::Scalar colorOf(std::size_t index) {
    constexpr double kGoldenShare = 0.61803398875;
    constexpr double kHues = 180.0;
    const double turns = static_cast<double>(index) * kGoldenShare;
    const Shade& shade = kShades[index % kShades.size()];
    const cv::Mat hsv(1, 1, CV_8UC3,
                      cv::Scalar((turns - std::floor(turns)) * kHues, shade.saturation, shade.value));
    cv::Mat bgr;
    cv::cvtColor(hsv, bgr, cv::COLOR_HSV2BGR);
    const auto pixel = bgr.at<cv::Vec3b>(0, 0);
    return {static_cast<double>(pixel[0]), static_cast<double>(pixel[1]), static_cast<double>(pixel[2])};
}

enum class Anchor { kLeft, kCentre, kRight };

/// A white picture, measured in final pixels.
class Canvas {
  public:
    explicit Canvas(cv::Size size) : pixels_(size * kOversampling, CV_8UC3, cv::Scalar::all(255)) {}

    void line(cv::Point2d from, cv::Point2d to, const cv::Scalar& color, double thickness) {
        cv::line(pixels_, scaled(from), scaled(to), color, inPixels(thickness), cv::LINE_AA);
    }

    void curve(const std::vector<cv::Point2d>& points, const cv::Scalar& color, double thickness) {
        std::vector<cv::Point> corners;
        std::transform(points.begin(), points.end(), std::back_inserter(corners), &Canvas::scaled);
        cv::polylines(pixels_, corners, false, color, inPixels(thickness), cv::LINE_AA);
    }

    /// \param at on the text's base line.
    void text(const std::string& words, cv::Point2d at, Anchor anchor, double size = 0.45,
              bool isBold = false) {
        const int thickness = inPixels(isBold ? 1.5 : 1.0);
        int below = 0;
        const cv::Size extent = cv::getTextSize(words, kFont, size * kOversampling, thickness, &below);
        cv::Point origin = scaled(at);
        origin.x -= anchor == Anchor::kLeft ? 0 : anchor == Anchor::kCentre ? extent.width / 2 : extent.width;
        cv::putText(pixels_, words, origin, kFont, size * kOversampling, kInk, thickness, cv::LINE_AA);
    }

    cv::Mat finish() const {
        cv::Mat result;
        cv::resize(pixels_, result, pixels_.size() / kOversampling, 0.0, 0.0, cv::INTER_AREA);
        return result;
    }

  private:
    static constexpr int kFont = cv::FONT_HERSHEY_SIMPLEX;

    static int inPixels(double length) { return std::max(1, static_cast<int>(length * kOversampling)); }
    static cv::Point scaled(cv::Point2d point) {
        return {static_cast<int>(std::lround(point.x * kOversampling)),
                static_cast<int>(std::lround(point.y * kOversampling))};
    }

    cv::Mat pixels_;
};

/// \return where a point of the curve lies in a panel whose top is at `top`.
cv::Point2d place(double recall, double precision, int top) {
    return {kPlotLeft + recall * kPlotWidth, top + kPlotTop + (1.0 - precision) * kPlotHeight};
}

void drawAxes(Canvas& canvas, const std::string& title, int top) {
    for (int tick = 0; tick <= 10; ++tick) {
        const double value = tick / 10.0;
        canvas.line(place(value, 0.0, top), place(value, 1.0, top), kGrid, 1.0);
        canvas.line(place(0.0, value, top), place(1.0, value, top), kGrid, 1.0);
        if (tick % 2 == 0) {
            canvas.text(fixed(value, 1), place(value, 0.0, top) + cv::Point2d(0, 20), Anchor::kCentre);
            canvas.text(fixed(value, 1), place(0.0, value, top) + cv::Point2d(-8, 5), Anchor::kRight);
        }
    }
    for (const double edge : {0.0, 1.0}) {
        canvas.line(place(edge, 0.0, top), place(edge, 1.0, top), kInk, 1.0);
        canvas.line(place(0.0, edge, top), place(1.0, edge, top), kInk, 1.0);
    }
    canvas.text("recall", place(0.5, 0.0, top) + cv::Point2d(0, 42), Anchor::kCentre, 0.5);
    canvas.text("precision", place(0.0, 1.0, top) + cv::Point2d(-55, -18), Anchor::kLeft, 0.5);
    canvas.text(title, place(0.5, 1.0, top) + cv::Point2d(0, -18), Anchor::kCentre, 0.55, true);
}

void drawCurve(Canvas& canvas, const PrecisionCurve& precision, int top, const cv::Scalar& color,
               double thickness) {
    std::vector<cv::Point2d> points;
    for (std::size_t i = 0; i < precision.size(); ++i) {
        points.push_back(place(recallPoints()[i], precision[i], top));
    }
    canvas.curve(points, color, thickness);
}

double averageOf(const PrecisionCurve& precision) {
    return std::accumulate(precision.begin(), precision.end(), 0.0) / static_cast<double>(precision.size());
}

PrecisionCurve meanOf(const std::vector<PlotLine>& lines) {
    PrecisionCurve mean{};
    for (std::size_t i = 0; i < mean.size(); ++i) {
        for (const PlotLine& line : lines) {
            mean[i] += line.precision[i] / static_cast<double>(lines.size());
        }
    }
    return mean;
}

/// The fonts have no other letters, and a long name would run into its neighbour.
std::string legendName(const std::string& name) {
    std::string text;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0U) != 0x80U) {
            text += byte >= 0x20 && byte < 0x7F ? c : '?';
        }
    }
    return text.size() <= kLongestLegendName ? text : text.substr(0, kLongestLegendName - 2) + "..";
}

struct LegendEntry {
    const std::string& name;
    double average;
    cv::Scalar color;
    bool isBold;
};

void drawLegendEntry(Canvas& canvas, const LegendEntry& entry, std::size_t index, int top) {
    const auto column = static_cast<int>(index / kLegendRows);
    const auto row = static_cast<int>(index % kLegendRows);
    const cv::Point2d base(kLegendLeft + column * kLegendColumnWidth,
                           top + kPlotTop + 10 + row * kLegendRowHeight);
    canvas.line(base + cv::Point2d(0, -4), base + cv::Point2d(20, -4), entry.color, entry.isBold ? 3.0 : 2.0);
    canvas.text(legendName(entry.name), base + cv::Point2d(28, 0), Anchor::kLeft, 0.42, entry.isBold);
    canvas.text(fixed(entry.average, 3), base + cv::Point2d(kLegendColumnWidth - 15, 0), Anchor::kRight, 0.42,
                entry.isBold);
}

void drawPanel(Canvas& canvas, const PlotPanel& panel, int top) {
    static const std::string all = "all classes";
    drawAxes(canvas, panel.title, top);
    if (panel.lines.empty()) {
        canvas.text("no objects in the ground truth", place(0.5, 0.5, top), Anchor::kCentre, 0.5);
        return;
    }
    const double thickness = panel.lines.size() > 20 ? 1.0 : 1.5;
    for (std::size_t i = 0; i < panel.lines.size(); ++i) {
        const PlotLine& line = panel.lines[i];
        drawCurve(canvas, line.precision, top, colorOf(i), thickness);
        drawLegendEntry(canvas, {line.name, averageOf(line.precision), colorOf(i), false}, i + 1, top);
    }
    canvas.text("AP50", cv::Point2d(kLegendLeft + kLegendColumnWidth - 15, top + kPlotTop - 12),
                Anchor::kRight, 0.42);
    const PrecisionCurve mean = meanOf(panel.lines);
    drawCurve(canvas, mean, top, kMeanColor, 3.0);
    drawLegendEntry(canvas, {all, averageOf(mean), kMeanColor, true}, 0, top);
}

int widthFor(const std::vector<PlotPanel>& panels) {
    std::size_t lines = 0;
    for (const PlotPanel& panel : panels) {
        lines = std::max(lines, panel.lines.size());
    }
    const auto columns = static_cast<int>(lines / kLegendRows + 1);
    return kLegendLeft + columns * kLegendColumnWidth + kRightMargin;
}

}  // namespace

cv::Mat drawPrecision(const std::vector<PlotPanel>& panels) {
    Canvas canvas({widthFor(panels), kPanelHeight * static_cast<int>(panels.size())});
    int top = 0;
    for (const PlotPanel& panel : panels) {
        drawPanel(canvas, panel, top);
        top += kPanelHeight;
    }
    return canvas.finish();
}

}  // namespace brellix::app
