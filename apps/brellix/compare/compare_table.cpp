#include "compare/compare_table.h"

#include "console/text.h"

#include <algorithm>
#include <string_view>

namespace brellix::app {
namespace {

constexpr std::size_t kLabelWidth = 22;
constexpr std::size_t kNumberWidth = 14;
constexpr int kDecimals = 4;

std::string row(std::string_view label, const std::string& text) {
    return padRight(label, kLabelWidth) + text + '\n';
}

std::string lossText(const LossCount& count) {
    return std::to_string(count.all()) +
           (count.nearThreshold > 0
                ? " (" + std::to_string(count.nearThreshold) + " of them near the threshold)"
                : "");
}

std::string place(const Measurement& worst, const ClassList& classes) {
    return printable(classes.nameOf(worst.label)) + " in " + printable(worst.source);
}

std::string overlapText(const Measurements& overlaps, const ClassList& classes) {
    const Measurement& worst = overlaps.smallest();
    return "mean " + fixed(overlaps.mean(), kDecimals) + ", worst " + fixed(worst.value, kDecimals) + " (" +
           place(worst, classes) + ')';
}

std::string driftText(const Measurements& drifts, const ClassList& classes) {
    const Measurement& worst = drifts.largest();
    return "mean " + fixed(drifts.mean(), kDecimals) + ", p95 " + fixed(drifts.percentile95(), kDecimals) +
           ", worst " + fixed(worst.value, kDecimals) + " (" + place(worst, classes) + ')';
}

std::string measurementRows(const Comparison& comparison, const ClassList& classes) {
    if (comparison.boxOverlaps.empty()) {
        return row("", "nothing was found by both");
    }
    std::string rows = row("box IoU", overlapText(comparison.boxOverlaps, classes));
    if (!comparison.maskOverlaps.empty()) {
        rows += row("mask IoU", overlapText(comparison.maskOverlaps, classes));
    }
    return rows + row("probability drift", driftText(comparison.drifts, classes));
}

std::string saturationTable(const std::string& side, const ByteCounts& counts) {
    if (counts.empty()) {
        return {};
    }
    const std::string title = "8-bit outputs of " + side;
    std::size_t width = title.size();
    for (const auto& [name, count] : counts) {
        width = std::max(width, displayWidth(name));
    }
    const auto line = [&](std::string_view name, std::string_view bytes, std::string_view low,
                          std::string_view high, std::string_view share, std::string_view cutOff) {
        return padRight(printable(name), width) + padLeft(bytes, kNumberWidth) + padLeft(low, kNumberWidth) +
               padLeft(high, kNumberWidth) + padLeft(share, kNumberWidth) + padLeft(cutOff, kNumberWidth) +
               '\n';
    };
    std::string table = '\n' + line(title, "bytes", "at -128", "at 127", "at the ends", "cut off");
    for (const auto& [name, count] : counts) {
        table += line(name, std::to_string(count.bytes), std::to_string(count.lowest),
                      std::to_string(count.highest), fixed(count.saturatedShare() * 100.0, 3) + " %",
                      count.cutOff ? std::to_string(*count.cutOff) : "unknown");
    }
    return table;
}

}  // namespace

std::string compareTable(const CompareJob& job, const CompareResult& result) {
    const Comparison& comparison = result.comparison;
    std::string text = row("A", printable(job.a.path) + ", " + counted(comparison.objectsA, "object"));
    text += row("B", printable(job.b.path) + ", " + counted(comparison.objectsB, "object"));
    text +=
        row("pictures", std::to_string(comparison.pictures) +
                            (result.failed > 0 ? ", " + std::to_string(result.failed) + " more failed" : ""));
    text += row("in both", std::to_string(comparison.matched));
    text += row("missed (only in A)", lossText(comparison.missed));
    text += row("extra (only in B)", lossText(comparison.extra));
    text += row("of another class", std::to_string(comparison.classChanged));
    text += measurementRows(comparison, job.classes);
    return text + saturationTable("A", result.bytesA) + saturationTable("B", result.bytesB);
}

}  // namespace brellix::app
