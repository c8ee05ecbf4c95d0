#pragma once

/// \file
/// One loaded network as the engine sees it, whatever runs it.

#include <string>
#include <vector>

#include "graph/network_description.h"
#include "quantization/calibration.h"

namespace ai_orvo::alg::common {

/// The shapes of all inputs and outputs, in the network's order.
struct TensorShapes {
    std::vector<std::vector<std::int64_t>> inputs;
    std::vector<std::vector<std::int64_t>> outputs;
};

/// The description of the network, and how its outputs become int8. Lives as long as its `AIEngine`.
class EngineNetwork {
  public:
    EngineNetwork(std::string path, NetworkDescription description, Calibration calibration);

    const std::string& path() const { return path_; }
    const std::vector<TensorDescription>& inputs() const { return description_.inputs; }
    const std::vector<TensorDescription>& outputs() const { return description_.outputs; }
    std::int64_t opset() const { return description_.opset; }

    /// Fills in the extents that the file leaves open, as the back-end runs the network.
    void settleShapes(const TensorShapes& shapes);

    /// The int8 grid of an output: from the graph, else from the calibration, else from the values
    /// themselves.
    AffineGrid gridFor(const TensorDescription& output, const float* values) const;

  private:
    std::string path_;
    NetworkDescription description_;
    Calibration calibration_;
};

}  // namespace ai_orvo::alg::common
