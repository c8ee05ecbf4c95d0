#include "backends/opencv_dnn/resizing.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "graph/graph_lookup.h"

namespace ai_orvo::alg::common {
namespace {

/// One axis of a resizing.
struct Axis {
    std::int64_t in;
    std::int64_t out;
    float scale;  ///< as the file gives it; out / in where it gives sizes
};

/// Where the samples of the result lie between those of the input.
struct Sampling {
    bool nearest;
    std::string coordinates;
    std::string rounding;
};

constexpr std::int64_t kFirstOpsetOfCoordinates = 11;

Sampling samplingOf(const onnx::NodeProto& node, std::int64_t opset) {
    const bool nearest = textOf(node, "mode", "nearest") == "nearest";
    if (opset < kFirstOpsetOfCoordinates) {
        return {nearest, "asymmetric", "floor"};
    }
    return {nearest, textOf(node, "coordinate_transformation_mode", "half_pixel"),
            textOf(node, "nearest_mode", "round_prefer_floor")};
}

/// In single precision, as the operator is defined and computed elsewhere.
float onnxPosition(const Axis& axis, const Sampling& sampling, std::int64_t index) {
    const auto at = static_cast<float>(index);
    if (sampling.coordinates == "asymmetric") {
        return at / axis.scale;
    }
    if (sampling.coordinates == "align_corners") {
        return axis.out == 1 ? 0.0F : at * static_cast<float>(axis.in - 1) / static_cast<float>(axis.out - 1);
    }
    const bool isCorner = sampling.coordinates == "pytorch_half_pixel" && axis.out == 1;
    return isCorner ? 0.0F : (at + 0.5F) / axis.scale - 0.5F;
}

float rounded(float position, const std::string& rounding) {
    if (rounding == "floor") {
        return std::floor(position);
    }
    if (rounding == "ceil") {
        return std::ceil(position);
    }
    return rounding == "round_prefer_ceil" ? std::floor(position + 0.5F) : std::ceil(position - 0.5F);
}

/// OpenCV knows the extents alone, and but one way to round with each kind of coordinates.
double opencvPosition(const Axis& axis, const Sampling& sampling, std::int64_t index) {
    const auto at = static_cast<double>(index);
    const auto in = static_cast<double>(axis.in);
    const auto out = static_cast<double>(axis.out);
    if (sampling.coordinates == "align_corners") {
        const double position = axis.out == 1 ? 0.0 : at * (in - 1.0) / (out - 1.0);
        return sampling.nearest ? std::floor(position + 0.5) : position;
    }
    if (sampling.nearest) {
        return std::floor(at * in / out);
    }
    return sampling.coordinates == "asymmetric" ? at * in / out : (at + 0.5) * in / out - 0.5;
}

bool isSampledAlike(const Axis& axis, const Sampling& sampling) {
    // Of a pixel, for single precision at large extents.
    constexpr double kTolerance = 1e-3;
    // Far more than a picture has, against a stranger's extents.
    constexpr std::int64_t kMostSamples = 65536;
    const auto last = static_cast<double>(axis.in - 1);
    for (std::int64_t index = 0; index < std::min(axis.out, kMostSamples); ++index) {
        const float position = onnxPosition(axis, sampling, index);
        const double asked = sampling.nearest ? rounded(position, sampling.rounding) : position;
        const double given = opencvPosition(axis, sampling, index);
        if (!(std::fabs(std::clamp(asked, 0.0, last) - std::clamp(given, 0.0, last)) <= kTolerance)) {
            return false;
        }
    }
    return true;
}

/// The scales that the file stores; empty where it has none or computes them.
std::vector<float> scalesOf(const onnx::NodeProto& node, const GraphFacts& facts) {
    const int input = node.op_type() == "Resize" && facts.opset() >= kFirstOpsetOfCoordinates ? 2 : 1;
    if (node.input_size() <= input) {
        return {};
    }
    const onnx::TensorProto* tensor = constantOf(facts.model().graph(), node.input(input));
    if (tensor == nullptr || tensor->data_type() != onnx::TensorProto::FLOAT) {
        return {};
    }
    if (tensor->raw_data().empty()) {
        return {tensor->float_data().begin(), tensor->float_data().end()};
    }
    std::vector<float> scales(tensor->raw_data().size() / sizeof(float));
    std::memcpy(scales.data(), tensor->raw_data().data(), scales.size() * sizeof(float));
    return scales;
}

std::string describe(const Sampling& sampling, const Axis& axis) {
    return "would sample otherwise than " + sampling.coordinates +
           (sampling.nearest ? ", " + sampling.rounding : ", linear") + " from " + std::to_string(axis.in) +
           " to " + std::to_string(axis.out) + " (mode nearest, asymmetric, floor with a whole factor runs)";
}

}  // namespace

std::string badResize(const onnx::NodeProto& node, const GraphFacts& facts) {
    const Extents* from = facts.shapeOf(node.input(0));
    const Extents* to = facts.shapeOf(node.output(0));
    const Sampling sampling = samplingOf(node, facts.opset());
    const bool isKnown = sampling.nearest ||
                         (textOf(node, "mode", "") == "linear" && facts.opset() >= kFirstOpsetOfCoordinates);
    if (!isKnown || from == nullptr || to == nullptr || from->size() != to->size() ||
        facts.isConstant(node.input(0))) {
        return {};
    }
    if (integerOf(node, "antialias", 0) != 0) {
        return "would not smooth (antialias is 1)";
    }
    const std::vector<float> scales = scalesOf(node, facts);
    for (std::size_t i = 0; i < from->size(); ++i) {
        Axis axis{(*from)[i], (*to)[i], static_cast<float>((*to)[i]) / static_cast<float>((*from)[i])};
        if (scales.size() == from->size()) {
            axis.scale = scales[i];
        }
        if (!isSampledAlike(axis, sampling)) {
            return describe(sampling, axis);
        }
    }
    return {};
}

}  // namespace ai_orvo::alg::common
