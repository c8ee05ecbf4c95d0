#include "engine_network.h"

#include <algorithm>
#include <utility>

#include "refusal.h"

namespace ai_orvo::alg::common {
namespace {

/// A name that the network lacks means that the file belongs to another network.
void checkCalibrationFits(const Calibration& calibration, const std::string& path,
                          const std::vector<TensorDescription>& outputs) {
    for (const auto& [name, tensor] : calibration) {
        const bool known = std::any_of(outputs.begin(), outputs.end(),
                                       [&name = name](const auto& output) { return output.name == name; });
        if (!known) {
            throw Refusal(Status::kBadCalibration,
                          "calibration file '" + calibrationPath(path) + "' names tensor '" + name +
                              "', which is no output of '" + path + "'; calibrate again or remove the file");
        }
    }
}

}  // namespace

EngineNetwork::EngineNetwork(std::string path, NetworkDescription description, Calibration calibration)
    : path_(std::move(path)), description_(std::move(description)), calibration_(std::move(calibration)) {
    checkCalibrationFits(calibration_, path_, description_.outputs);
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
