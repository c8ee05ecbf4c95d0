#include "calibrate/calibration_target.h"

#include "console/failure.h"
#include "files/result_file.h"

#include <refusal.h>

#include <filesystem>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

void requireFree(const std::string& path, bool replace) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (!fs::exists(status)) {
        return;
    }
    if (!fs::is_regular_file(status)) {
        throw wrongUse(path + " is no regular file; choose another one with --out");
    }
    if (!replace) {
        throw wrongUse(path + " exists already; --force replaces it, --out FILE writes another one");
    }
}

}  // namespace

CalibrationTarget::CalibrationTarget(const std::string& path, bool replace) : path_(path) {
    requireFree(path, replace);
    requireReplaceable(path);
}

void CalibrationTarget::write(const ai_orvo::alg::common::Calibration& calibration) const {
    writeWhole(path_, [&](const std::string& file) {
        try {
            ai_orvo::alg::common::writeCalibration(file, calibration);
        } catch (const ai_orvo::alg::common::Refusal& refusal) {
            throw failedAtWork(refusal.what());
        }
    });
}

}  // namespace brellix::app
