#pragma once

/// \file
/// ONNX element types and shapes: their names for people and their sizes.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ai_orvo::alg::common {

/// "float32", "int8", ... ; "type 99" for any other code.
std::string elementTypeName(std::int32_t onnxType);

/// Bytes of one element in raw storage; 0 for strings and for unknown codes.
std::size_t elementTypeSize(std::int32_t onnxType);

/// Whether the code is ONNX's, but newer than the table of types here: floats of 8 bits and fewer, integers
/// of 4 and 2.
bool isLaterElementType(std::int32_t onnxType);

/// Elements of a tensor of that shape; 0 for a shape with open extents and for one beyond what the engine can
/// count.
std::size_t elementsOf(const std::vector<std::int64_t>& shape);

/// "1x3x640x640"; an unknown extent is "?"; no extents at all is "scalar".
std::string shapeText(const std::vector<std::int64_t>& shape);

}  // namespace ai_orvo::alg::common
