#include "eval/eval_table.h"

#include "console/text.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace brellix::app {
namespace {

constexpr std::size_t kWidestName = 24;
constexpr std::size_t kCountWidth = 9;
constexpr std::size_t kFigureWidth = 10;
constexpr std::string_view kAll = "all classes";

constexpr std::array<NamedFigure, 7> kColumns = {{{"AP50", &Figures::ap50},
                                                  {"AP75", &Figures::ap75},
                                                  {"AP50-95", &Figures::ap},
                                                  {"small", &Figures::apSmall},
                                                  {"medium", &Figures::apMedium},
                                                  {"large", &Figures::apLarge},
                                                  {"AR100", &Figures::ar100}}};

std::size_t nameWidth(const std::vector<CategoryName>& names) {
    std::size_t width = kAll.size();
    for (const CategoryName& name : names) {
        width = std::max(width, displayWidth(name.name));
    }
    return std::min(width, kWidestName);
}

std::string head(const std::string& title, std::size_t width) {
    std::string text = padRight(title, width) + padLeft("objects", kCountWidth);
    for (const NamedFigure& column : kColumns) {
        text += padLeft(column.name, kFigureWidth);
    }
    return text + '\n';
}

std::string row(std::string_view name, std::size_t width, std::size_t objects, const Figures& figures) {
    std::string text = padRight(printable(name), width) + padLeft(std::to_string(objects), kCountWidth);
    for (const NamedFigure& column : kColumns) {
        const std::optional<double>& value = figures.*column.member;
        text += padLeft(value ? fixed(*value, 3) : "-", kFigureWidth);
    }
    return text + '\n';
}

std::string table(const std::string& title, const Evaluation& evaluation,
                  const std::vector<CategoryName>& names) {
    const std::size_t width = nameWidth(names);
    std::size_t objects = 0;
    std::string rows;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const CategoryFigures& category = evaluation.categories[i];
        objects += category.truths;
        // Eighty classes of which a small dataset has five would bury these.
        if (category.truths > 0 || category.detections > 0) {
            rows += row(names[i].name, width, category.truths, category.figures);
        }
    }
    return head(title, width) + row(kAll, width, objects, evaluation.mean) + rows;
}

}  // namespace

std::string evalTable(const EvalJob& job, const EvalResult& result) {
    std::string text = table("boxes", result.boxes, result.names);
    if (result.masks) {
        text += '\n' + table("masks", *result.masks, result.names);
    }
    text += '\n' + counted(job.dataset().pictures.size(), "picture");
    if (result.run.failed > 0) {
        text += ", " + counted(result.run.failed, "picture") + " failed (their objects count as missed)";
    }
    return text + "; confidence from " + thresholdText(job.config.confThreshold) + ", suppression at " +
           thresholdText(job.config.nmsThreshold) + '\n';
}

}  // namespace brellix::app
