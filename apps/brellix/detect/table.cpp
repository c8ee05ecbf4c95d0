#include "detect/table.h"

#include "console/text.h"

#include <algorithm>
#include <string_view>

namespace brellix::app {
namespace {

// One very long path must not push the numbers of all rows off the screen; its own row is just longer.
constexpr std::size_t kWidestPicture = 100;
constexpr std::size_t kWidestName = 24;
constexpr std::size_t kRoomForFrameNumber = 99999;
constexpr std::size_t kProbabilityWidth = 11;
constexpr std::size_t kNumberWidth = 6;
constexpr std::string_view kGap = "  ";

std::string row(const TableLayout& layout, std::string_view picture, std::string_view name,
                std::string_view probability, const std::vector<std::string>& box) {
    std::string text = padRight(printable(picture), layout.picture);
    text.append(kGap).append(padRight(printable(name), layout.name));
    text.append(kGap).append(padLeft(probability, kProbabilityWidth));
    for (const std::string& number : box) {
        text.append(kGap).append(padLeft(number, kNumberWidth));
    }
    return text + '\n';
}

std::vector<std::string> boxColumns(const cv::Rect2f& box) {
    std::vector<std::string> columns;
    for (const float number : {box.x, box.y, box.width, box.height}) {
        columns.push_back(fixed(static_cast<double>(number), 0));
    }
    return columns;
}

std::string meanTimes(const RunTotals& totals) {
    const auto mean = [&](double sum) {
        return fixed(sum / static_cast<double>(totals.pictures), 1) + " ms";
    };
    return "mean times: pre " + mean(totals.preMs) + ", infer " + mean(totals.inferMs) + ", post " +
           mean(totals.postMs);
}

}  // namespace

TableLayout tableLayout(const std::vector<FrameId>& sources, const ClassList& classes) {
    std::size_t longest = std::string_view("picture").size();
    for (FrameId source : sources) {
        source.number = kRoomForFrameNumber;
        longest = std::max(longest, displayWidth(displayName(source)));
    }
    const std::size_t heading = std::string_view("object").size();
    return {std::min(longest, kWidestPicture), classes.longestName(heading, kWidestName)};
}

std::string tableHead(const TableLayout& layout) {
    return row(layout, "picture", "object", "probability", {"x", "y", "width", "height"});
}

std::string tableRows(const TableLayout& layout, const PictureResult& result, const ClassList& classes) {
    if (result.objects.empty()) {
        return padRight(printable(displayName(result.id)), layout.picture) + std::string(kGap) +
               "nothing found\n";
    }
    std::string rows;
    for (const ai_orvo::model::Object& object : result.objects) {
        rows += row(layout, displayName(result.id), classes.nameOf(object.label),
                    fixed(static_cast<double>(object.prob) * 100.0, 1) + " %", boxColumns(object.rect));
    }
    return rows;
}

std::string tableSummary(const RunTotals& totals) {
    std::string text = counted(totals.pictures, totals.noun) + ", " + counted(totals.objects, "object");
    if (totals.failed > 0) {
        text += ", " + counted(totals.failed, totals.noun) + " failed";
    }
    if (totals.pictures > 0) {
        text += "; " + meanTimes(totals);
    }
    return text + '\n';
}

TableWriter::TableWriter(Sink& sink, const ClassList& classes, const std::vector<FrameId>& sources)
    : sink_(sink), classes_(classes), layout_(tableLayout(sources, classes)) {}

void TableWriter::write(const PictureResult& result) {
    if (!headWritten_) {
        sink_.write(tableHead(layout_));
        headWritten_ = true;
    }
    sink_.write(tableRows(layout_, result, classes_));
}

void TableWriter::finish(const RunTotals& totals) {
    // A run that ended before its first picture has nothing to sum up.
    if (totals.pictures + totals.failed > 0) {
        sink_.write((headWritten_ ? "\n" : "") + tableSummary(totals));
    }
    sink_.close();
}

}  // namespace brellix::app
