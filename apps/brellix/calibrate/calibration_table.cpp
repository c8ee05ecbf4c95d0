#include "calibrate/calibration_table.h"

#include "console/text.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace brellix::app {
namespace {

using ai_orvo::alg::common::AffineGrid;
using ai_orvo::alg::common::CalibratedTensor;
using ai_orvo::alg::common::Calibration;

constexpr std::size_t kNumberWidth = 12;

std::string row(std::string_view tensor, std::size_t tensorWidth, const std::vector<std::string>& numbers) {
    std::string text = padRight(printable(tensor), tensorWidth);
    for (const std::string& number : numbers) {
        text += padLeft(number, kNumberWidth);
    }
    return text + '\n';
}

std::vector<std::string> numbersOf(const CalibratedTensor& tensor) {
    const AffineGrid grid = ai_orvo::alg::common::calibratedGrid(tensor);
    return {fixed(static_cast<double>(tensor.range.minimum), 3),
            fixed(static_cast<double>(tensor.range.maximum), 3), fixed(static_cast<double>(grid.scale), 6),
            std::to_string(grid.zeroPoint)};
}

}  // namespace

std::string calibrationTable(const Calibration& calibration) {
    std::size_t width = std::string_view("tensor").size();
    for (const auto& [name, tensor] : calibration) {
        width = std::max(width, displayWidth(name));
    }
    std::string table = row("tensor", width, {"min", "max", "scale", "zero point"});
    for (const auto& [name, tensor] : calibration) {
        table += row(name, width, numbersOf(tensor));
    }
    return table;
}

}  // namespace brellix::app
