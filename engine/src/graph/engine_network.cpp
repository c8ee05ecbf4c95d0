#include "graph/engine_network.h"

#include <algorithm>
#include <utility>

#include "refusal.h"

namespace ai_orvo::alg::common {
namespace {

[[noreturn]] void refuseForeignTensor(const std::string& name, const std::string& networkPath) {
    throw Refusal(Status::kBadCalibration, "calibration file '" + calibrationPath(networkPath) +
                                               "' names tensor '" + name + "', which is no output of '" +
                                               networkPath + "'; calibrate again or remove the file");
}

/// A name that the network lacks means that the file belongs to another network.
void checkCalibrationFits(const Calibration& calibration, const std::string& path,
                          const std::vector<TensorDescription>& outputs) {
    for (const auto& entry : calibration) {
        const bool known =
            std::any_of(outputs.begin(), outputs.end(),
                        [&entry](const TensorDescription& output) { return output.name == entry.first; });
        if (!known) {
            refuseForeignTensor(entry.first, path);
        }
    }
}

void settle(std::vector<TensorDescription>& tensors, const std::vector<std::vector<std::int64_t>>& shapes) {
    for (std::size_t i = 0; i < tensors.size(); ++i) {
        tensors[i].hasShape = true;
        tensors[i].shape = shapes[i];
    }
}

}  // namespace

EngineNetwork::EngineNetwork(std::string path, NetworkDescription description, Calibration calibration)
    : path_(std::move(path)), description_(std::move(description)), calibration_(std::move(calibration)) {
    checkCalibrationFits(calibration_, path_, description_.outputs);
}

void EngineNetwork::settleShapes(const TensorShapes& shapes) {
    settle(description_.inputs, shapes.inputs);
    settle(description_.outputs, shapes.outputs);
}

AffineGrid EngineNetwork::gridFor(const TensorDescription& output, const float* values) const {
    if (output.grid.has_value()) {
        return *output.grid;
    }
    const auto calibrated = calibration_.find(output.name);
    if (calibrated != calibration_.end()) {
        return calibratedGrid(calibrated->second);
    }
    return affineGrid(finiteRange(values, output.elementCount()));
}

}  // namespace ai_orvo::alg::common
