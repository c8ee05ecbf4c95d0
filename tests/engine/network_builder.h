#pragma once

/// \file
/// Tiny ONNX networks, made in memory.

#include <onnx/onnx_pb.h>

#include <cstdint>
#include <string>
#include <vector>

namespace brellix::testing {

using Shape = std::vector<std::int64_t>;

class NetworkBuilder {
  public:
    explicit NetworkBuilder(std::int64_t opset = 12);

    NetworkBuilder& input(const std::string& name, const Shape& shape,
                          std::int32_t type = onnx::TensorProto::FLOAT);
    NetworkBuilder& output(const std::string& name, const Shape& shape,
                           std::int32_t type = onnx::TensorProto::FLOAT);
    NetworkBuilder& outputWithoutShape(const std::string& name);
    NetworkBuilder& node(const std::string& opType, const std::vector<std::string>& inputs,
                         const std::vector<std::string>& outputs);
    NetworkBuilder& integers(const std::string& attribute, const std::vector<std::int64_t>& values);
    NetworkBuilder& integer(const std::string& attribute, std::int64_t value);
    NetworkBuilder& text(const std::string& attribute, const std::string& value);
    NetworkBuilder& floats(const std::string& name, const Shape& shape, const std::vector<float>& values);
    NetworkBuilder& int64s(const std::string& name, const std::vector<std::int64_t>& values);
    NetworkBuilder& byte(const std::string& name, std::int32_t type, std::int32_t value);

    onnx::ModelProto& model() { return model_; }
    onnx::GraphProto& graph() { return *model_.mutable_graph(); }
    std::string bytes() const { return model_.SerializeAsString(); }

  private:
    onnx::ModelProto model_;
};

/// Input `in` (1x3x2x2), output `out` = in + `addend`.
NetworkBuilder addition(float addend, const std::string& input = "in", const std::string& output = "out");

/// Inputs `left` and `right` (1x3x2x2), outputs `sum`, `product` and `negated` (of the sum).
NetworkBuilder arithmetic();

/// Input `in` (1x3x4x4), outputs `out` (1x8x2) and `map` (1x4x2x2): a small network of the kinds of nodes
/// that detectors consist of.
NetworkBuilder detectorLike();

}  // namespace brellix::testing
