#pragma once

/// \file
/// Questions to an ONNX graph: who produces a value, what constant stands behind a name.

#include <onnx/onnx_pb.h>

#include <cstdint>
#include <initializer_list>
#include <string>

namespace ai_orvo::alg::common {

/// The node that produces the value; null for a graph input, an initializer or an unknown name.
const onnx::NodeProto* producerOf(const onnx::GraphProto& graph, const std::string& value);

/// The initializer of that name or the tensor of the Constant node behind it; null where it is computed.
const onnx::TensorProto* constantOf(const onnx::GraphProto& graph, const std::string& value);

/// The attribute of that name; null where the node has none.
const onnx::AttributeProto* attributeOf(const onnx::NodeProto& node, const std::string& name);

/// Whether the name stands for ONNX's own operators.
bool isOnnxDomain(const std::string& domain);

/// The version of ONNX's own operators that the network uses; 0 where it names none.
std::int64_t opsetOf(const onnx::ModelProto& model);

/// Whether ONNX itself defines the node's operator; other domains may use its names.
bool isOfOnnx(const onnx::NodeProto& node);

/// Whether the node is ONNX's own operator of this name.
bool isOnnxOperator(const onnx::NodeProto& node, const char* name);

/// How refusals name the node: its kind and, where it has one, its name.
std::string nodeLabel(const onnx::NodeProto& node);

/// Whether the text, such as an operator's name or an attribute, is one of the choices.
bool isAnyOf(const std::string& text, std::initializer_list<const char*> choices);

/// Whether the node has a graph of its own among its attributes (If, Loop, Scan).
bool holdsGraph(const onnx::NodeProto& node);

}  // namespace ai_orvo::alg::common
