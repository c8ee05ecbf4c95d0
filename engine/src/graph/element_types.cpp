#include "graph/element_types.h"

#include <onnx/onnx_pb.h>

#include <climits>

namespace ai_orvo::alg::common {
namespace {

struct ElementTypeFacts {
    std::int32_t code;
    const char* name;
    std::size_t size;
};

constexpr ElementTypeFacts kElementTypes[] = {
    {onnx::TensorProto::FLOAT, "float32", 4},
    {onnx::TensorProto::UINT8, "uint8", 1},
    {onnx::TensorProto::INT8, "int8", 1},
    {onnx::TensorProto::UINT16, "uint16", 2},
    {onnx::TensorProto::INT16, "int16", 2},
    {onnx::TensorProto::INT32, "int32", 4},
    {onnx::TensorProto::INT64, "int64", 8},
    {onnx::TensorProto::STRING, "string", 0},
    {onnx::TensorProto::BOOL, "bool", 1},
    {onnx::TensorProto::FLOAT16, "float16", 2},
    {onnx::TensorProto::DOUBLE, "float64", 8},
    {onnx::TensorProto::UINT32, "uint32", 4},
    {onnx::TensorProto::UINT64, "uint64", 8},
    {onnx::TensorProto::COMPLEX64, "complex64", 8},
    {onnx::TensorProto::COMPLEX128, "complex128", 16},
    {onnx::TensorProto::BFLOAT16, "bfloat16", 2},
};

const ElementTypeFacts* find(std::int32_t code) {
    for (const ElementTypeFacts& facts : kElementTypes) {
        if (facts.code == code) {
            return &facts;
        }
    }
    return nullptr;
}

}  // namespace

bool isLaterElementType(std::int32_t onnxType) {
    constexpr std::int32_t kLastCodeOfOnnx = 26;
    return onnxType > onnx::TensorProto::BFLOAT16 && onnxType <= kLastCodeOfOnnx;
}

std::string elementTypeName(std::int32_t onnxType) {
    const ElementTypeFacts* facts = find(onnxType);
    return facts != nullptr ? facts->name : "type " + std::to_string(onnxType);
}

std::size_t elementTypeSize(std::int32_t onnxType) {
    const ElementTypeFacts* facts = find(onnxType);
    return facts != nullptr ? facts->size : 0;
}

std::size_t elementsOf(const std::vector<std::int64_t>& shape) {
    std::int64_t count = 1;
    for (const std::int64_t extent : shape) {
        if (extent < 1 || extent > INT_MAX / count) {
            return 0;
        }
        count *= extent;
    }
    return static_cast<std::size_t>(count);
}

std::string shapeText(const std::vector<std::int64_t>& shape) {
    if (shape.empty()) {
        return "scalar";
    }
    std::string text;
    for (const std::int64_t extent : shape) {
        text += text.empty() ? "" : "x";
        text += extent < 0 ? "?" : std::to_string(extent);
    }
    return text;
}

}  // namespace ai_orvo::alg::common
