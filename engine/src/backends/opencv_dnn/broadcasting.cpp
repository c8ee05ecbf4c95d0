#include "backends/opencv_dnn/broadcasting.h"

#include <algorithm>
#include <numeric>

#include "graph/element_types.h"
#include "graph/graph_lookup.h"

namespace ai_orvo::alg::common {
namespace {

/// Unsigned, because a stranger's extents may multiply past the largest number.
std::uint64_t countOf(const Extents& shape) {
    return std::accumulate(
        shape.begin(), shape.end(), std::uint64_t{1},
        [](std::uint64_t count, std::int64_t extent) { return count * static_cast<std::uint64_t>(extent); });
}

/// The shape with ones in front, so that it has `rank` extents.
Extents padded(const Extents& shape, std::size_t rank) {
    Extents result(rank - shape.size(), 1);
    result.insert(result.end(), shape.begin(), shape.end());
    return result;
}

/// The importer makes a layer that lays the smaller operand flat along the axes of the larger one from
/// `first` on, up to the first axis by which the element counts agree. That is right where the smaller
/// operand has just these axes.
bool liesAlongAxes(const Extents& larger, const Extents& smaller, std::size_t first) {
    if (smaller.size() > larger.size() || first >= larger.size()) {
        return false;
    }
    const Extents operand = padded(smaller, larger.size());
    const std::uint64_t count = countOf(smaller);
    std::uint64_t covered = 1;
    std::size_t end = first;
    do {
        covered *= static_cast<std::uint64_t>(larger[end++]);
    } while (covered != count && end < larger.size());
    for (std::size_t axis = 0; axis < larger.size(); ++axis) {
        const bool inside = axis >= first && axis < end;
        if (operand[axis] != (inside ? larger[axis] : 1)) {
            return false;
        }
    }
    return true;
}

/// The axis where the importer starts: it goes by the count of extents for sums, and there for initializers
/// alone.
std::size_t firstAxis(bool isSum, bool isInitializer, const Extents& larger, const Extents& smaller) {
    return isSum && isInitializer ? larger.size() - std::min(larger.size(), smaller.size()) : 1;
}

bool isConstantMatched(bool isSum, bool isInitializer, const Extents& computed, const Extents& constant) {
    return (isSum && computed == constant) ||
           liesAlongAxes(computed, constant, firstAxis(isSum, isInitializer, computed, constant));
}

/// The extents other than one stand side by side.
bool isOneRun(const Extents& shape) {
    const auto isWide = [](std::int64_t extent) { return extent != 1; };
    const auto first = std::find_if(shape.begin(), shape.end(), isWide);
    const auto last = std::find_if(shape.rbegin(), shape.rend(), isWide).base();
    return first >= last || std::all_of(first, last, isWide);
}

Extents broadcast(const Extents& left, const Extents& right) {
    const std::size_t rank = std::max(left.size(), right.size());
    Extents result = padded(left, rank);
    const Extents other = padded(right, rank);
    std::transform(result.begin(), result.end(), other.begin(), result.begin(),
                   [](std::int64_t a, std::int64_t b) { return std::max(a, b); });
    return result;
}

/// Products of two computed operands are matched well as long as one of them has all elements of the result.
bool isProductMatched(const Extents& left, const Extents& right) {
    const bool leftIsLarger = countOf(left) >= countOf(right);
    const Extents& larger = leftIsLarger ? left : right;
    const Extents& smaller = leftIsLarger ? right : left;
    const Extents result = broadcast(left, right);
    return larger == result ||
           (countOf(larger) == countOf(result) && (larger.size() >= smaller.size() || isOneRun(smaller)));
}

bool isMatched(const onnx::NodeProto& node, const GraphFacts& facts, const Extents& left,
               const Extents& right) {
    const bool isSum = node.op_type() != "Mul" && node.op_type() != "Div";
    const bool leftIsConstant = facts.isConstant(node.input(0));
    if (leftIsConstant || facts.isConstant(node.input(1))) {
        const Extents& constant = leftIsConstant ? left : right;
        const Extents& computed = leftIsConstant ? right : left;
        const bool isInitializer = facts.isInitializer(node.input(leftIsConstant ? 0 : 1));
        return countOf(constant) == 1 || isConstantMatched(isSum, isInitializer, computed, constant);
    }
    if (left == right) {
        return true;
    }
    return isSum ? liesAlongAxes(left, right, 1) : isProductMatched(left, right);
}

/// A quotient whose left side is a constant, or the smaller operand, comes out upside down.
bool isUpsideDown(const onnx::NodeProto& node, const GraphFacts& facts, const Extents& left,
                  const Extents& right) {
    if (node.op_type() != "Div" || facts.isConstant(node.input(1))) {
        return false;
    }
    return facts.isConstant(node.input(0)) ? countOf(left) > 1 : countOf(left) < countOf(right);
}

bool isElementwise(const onnx::NodeProto& node) {
    return node.input_size() == 2 && isAnyOf(node.op_type(), {"Add", "Sub", "Mul", "Div", "Sum"});
}

}  // namespace

std::string badBroadcast(const onnx::NodeProto& node, const GraphFacts& facts) {
    if (!isElementwise(node) || (facts.isConstant(node.input(0)) && facts.isConstant(node.input(1)))) {
        return {};
    }
    const Extents* left = facts.shapeOf(node.input(0));
    const Extents* right = facts.shapeOf(node.input(1));
    if (left == nullptr || right == nullptr) {
        return {};
    }
    const std::string shapes =
        " its operands of the shapes " + shapeText(*left) + " and " + shapeText(*right);
    if (isUpsideDown(node, facts, *left, *right)) {
        return "would divide" + shapes + " the wrong way round";
    }
    return isMatched(node, facts, *left, *right) ? "" : "would not match" + shapes + " as ONNX does";
}

}  // namespace ai_orvo::alg::common
