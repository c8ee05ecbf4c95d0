#include "network/tensor_comparison.h"

#include <graph/element_types.h>
#include <tensors/tensor_matching.h>

#include <algorithm>

namespace brellix::app {
namespace {

namespace engine = ai_orvo::alg::common;
using engine::TensorDescription;

std::vector<std::int64_t> withoutOnes(std::vector<std::int64_t> shape) {
    shape.erase(std::remove(shape.begin(), shape.end(), 1), shape.end());
    return shape;
}

bool fitsShape(const ExpectedTensor& expected, const TensorDescription& found) {
    return expected.shapeIsExact ? found.shape == expected.shape
                                 : withoutOnes(found.shape) == withoutOnes(expected.shape);
}

/// The engine turns floats into bytes itself, and takes outputs that the graph quantises at its end.
bool fitsType(const TensorDescription& found, BackEnd backEnd) {
    const bool isConverted =
        backEnd == BackEnd::kOnnxRuntime &&
        (found.elementType == onnx::TensorProto::FLOAT16 || found.elementType == onnx::TensorProto::DOUBLE);
    return found.elementType == onnx::TensorProto::FLOAT || found.grid.has_value() || isConverted;
}

/// Whether a shape with open extents can become the expected one.
bool fitsOpenShape(const ExpectedTensor& expected, const TensorDescription& found) {
    return !found.hasShape || (found.shape.size() == expected.shape.size() &&
                               std::equal(found.shape.begin(), found.shape.end(), expected.shape.begin(),
                                          [](std::int64_t extent, std::int64_t wanted) {
                                              return extent == engine::kUnknownExtent || extent == wanted;
                                          }));
}

TensorVerdict judgeOpenShape(const ExpectedTensor& expected, const TensorDescription& found,
                             BackEnd backEnd) {
    if (backEnd == BackEnd::kOpencvDnn) {
        return TensorVerdict::kOpenShape;
    }
    return fitsOpenShape(expected, found) ? TensorVerdict::kFits : TensorVerdict::kOtherSize;
}

TensorVerdict judge(const ExpectedTensor& expected, const TensorDescription* found, BackEnd backEnd) {
    if (found == nullptr) {
        return TensorVerdict::kMissing;
    }
    if (!fitsType(*found, backEnd)) {
        return TensorVerdict::kOtherType;
    }
    if (!found->isStatic()) {
        return judgeOpenShape(expected, *found, backEnd);
    }
    if (static_cast<std::int64_t>(found->elementCount()) != expected.elements) {
        return TensorVerdict::kOtherSize;
    }
    return fitsShape(expected, *found) ? TensorVerdict::kFits : TensorVerdict::kOtherLayout;
}

TensorRow rowFor(const ExpectedTensor& expected, const std::vector<TensorDescription>& tensors,
                 std::size_t namedTensors, BackEnd backEnd) {
    const TensorDescription* const found = engine::matchTensor(tensors, expected.name, namedTensors);
    TensorRow row{expected, std::nullopt, judge(expected, found, backEnd)};
    if (found != nullptr) {
        row.found = *found;
    }
    return row;
}

}  // namespace

const char* nameOf(TensorVerdict verdict) {
    switch (verdict) {
        case TensorVerdict::kMissing:
            return "missing";
        case TensorVerdict::kOtherType:
            return "other type";
        case TensorVerdict::kOpenShape:
            return "open shape";
        case TensorVerdict::kOtherSize:
            return "other size";
        case TensorVerdict::kOtherLayout:
            return "other layout";
        case TensorVerdict::kFits:
            break;
    }
    return "ok";
}

TensorRows compareTensors(const std::vector<ExpectedTensor>& expected,
                          const engine::NetworkDescription& network, BackEnd backEnd) {
    const auto inputs = static_cast<std::size_t>(std::count_if(
        expected.begin(), expected.end(), [](const ExpectedTensor& tensor) { return tensor.isInput; }));
    TensorRows rows;
    for (const ExpectedTensor& tensor : expected) {
        rows.push_back(tensor.isInput ? rowFor(tensor, network.inputs, inputs, backEnd)
                                      : rowFor(tensor, network.outputs, expected.size() - inputs, backEnd));
    }
    return rows;
}

std::string shapeOf(const ExpectedTensor& tensor) {
    return engine::shapeText(tensor.shape);
}

std::string expectedText(const ExpectedTensor& tensor) {
    return shapeOf(tensor) + " (" + std::to_string(tensor.elements) + " elements)";
}

std::string foundText(const TensorRow& row) {
    return row.found ? row.found->describeShape() + ' ' + engine::elementTypeName(row.found->elementType)
                     : "none";
}

}  // namespace brellix::app
