// The calibration file beside a network: read, or refused with the code for it; what was read makes grids
// that are numbers, and is read back exactly after it was written.

#include "quantization/calibration.h"
#include "refusal.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"
#include "support/temporary_folder.h"

#include <array>
#include <cmath>
#include <optional>
#include <string>

namespace brellix::fuzz {
namespace {

namespace engine = ai_orvo::alg::common;

std::optional<engine::Calibration> readFile(const std::string& path) {
    try {
        return engine::readCalibration(path);
    } catch (const engine::Refusal& refusal) {
        require(refusal.status() == engine::Status::kBadCalibration, "status of a refusal");
        return std::nullopt;
    }
}

void checkGrid(const engine::CalibratedTensor& tensor) {
    const engine::AffineGrid grid = engine::calibratedGrid(tensor);
    require(std::isfinite(grid.scale) && grid.scale > 0.0F, "scale of a grid");
    require(grid.zeroPoint >= -128 && grid.zeroPoint <= 127, "zero point of a grid");
    const std::array<float, 4> values{tensor.range.minimum, tensor.range.maximum, 0.0F, std::nanf("")};
    std::array<std::int8_t, 4> steps{};
    engine::quantize(values.data(), values.size(), grid, steps.data());
    require(steps[0] <= steps[1], "order of the steps");
    require(steps[2] == grid.zeroPoint && steps[3] == grid.zeroPoint, "step of zero");
}

void compareRewritten(const std::string& path, const engine::Calibration& calibration) {
    try {
        engine::writeCalibration(path, calibration);
    } catch (const engine::Refusal& refusal) {
        require(std::string(refusal.what()).find("not UTF-8") != std::string::npos,
                "a calibration is not written");
        return;
    }
    const std::optional<engine::Calibration> again = readFile(path);
    require(again.has_value() && again->size() == calibration.size(), "a written calibration is read");
    for (const auto& [name, tensor] : calibration) {
        const auto found = again->find(name);
        require(found != again->end() && found->second.range.minimum == tensor.range.minimum &&
                    found->second.range.maximum == tensor.range.maximum &&
                    found->second.symmetric == tensor.symmetric,
                "an entry changes by writing and reading");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const testing::TemporaryFolder folder;
    const std::string path = folder.write("n.onnx.calibration.yaml", FuzzedData(bytes, size).rest());
    const std::optional<engine::Calibration> calibration = readFile(path);
    if (calibration) {
        for (const auto& entry : *calibration) {
            checkGrid(entry.second);
        }
        compareRewritten(path, *calibration);
    }
    return 0;
}

}  // namespace brellix::fuzz
