#pragma once

/// \file
/// What is known of the values of a graph before it runs: shapes, element types, which ones are constants.

#include <onnx/onnx_pb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace ai_orvo::alg::common {

using Extents = std::vector<std::int64_t>;

class GraphFacts {
  public:
    /// \param model as OpenCV gets it, which outlives the facts. \param inferred the same network with the shapes
    /// of its values.
    GraphFacts(const onnx::ModelProto& model, const onnx::ModelProto& inferred);

    const onnx::ModelProto& model() const { return model_; }
    std::int64_t opset() const { return opset_; }

    /// The shape of the value; null where it is unknown or open.
    const Extents* shapeOf(const std::string& value) const;

    /// The count of the value's extents, known also where some of them are open; nothing where it is unknown.
    std::optional<std::int64_t> rankOf(const std::string& value) const;

    /// The value's element type as onnx::TensorProto names it; UNDEFINED where it is unknown.
    std::int32_t typeOf(const std::string& value) const;

    /// Whether the value is the same whatever the network is given; shapes of values are, too.
    bool isConstant(const std::string& value) const { return constants_.count(value) != 0; }

    bool isInitializer(const std::string& value) const { return initializers_.count(value) != 0; }

  private:
    void addValues(const google::protobuf::RepeatedPtrField<onnx::ValueInfoProto>& values);
    void addTensor(const std::string& name, const onnx::TensorProto& tensor);

    const onnx::ModelProto& model_;
    std::int64_t opset_;
    std::unordered_map<std::string, Extents> shapes_;
    std::unordered_map<std::string, std::int64_t> ranks_;
    std::unordered_map<std::string, std::int32_t> types_;
    std::unordered_set<std::string> constants_{""};
    std::unordered_set<std::string> initializers_;
};

/// The integer attribute's value. \param otherwise what it is where the node has none.
std::int64_t integerOf(const onnx::NodeProto& node, const std::string& attribute, std::int64_t otherwise);

/// The text attribute's value. \param otherwise what it is where the node has none.
std::string textOf(const onnx::NodeProto& node, const std::string& attribute, const std::string& otherwise);

}  // namespace ai_orvo::alg::common
