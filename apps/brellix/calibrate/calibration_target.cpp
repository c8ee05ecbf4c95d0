#include "calibrate/calibration_target.h"

#include "console/failure.h"

#include <refusal.h>

#include <unistd.h>

#include <cerrno>
#include <cstring>
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

/// Better said before all pictures are through the network than afterwards.
void requireWritableFolder(const std::string& path) {
    const std::string folder = fs::path(path).parent_path().string();
    if (eaccess(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) != 0) {
        throw failedAtWork("cannot write to " + path + ": " + std::strerror(errno));
    }
}

}  // namespace

CalibrationTarget::CalibrationTarget(const std::string& path, bool replace) : path_(path) {
    requireFree(path, replace);
    requireWritableFolder(path);
}

void CalibrationTarget::write(const ai_orvo::alg::common::Calibration& calibration) const {
    const std::string unfinished = path_ + ".unfinished";
    std::error_code error;
    try {
        ai_orvo::alg::common::writeCalibration(unfinished, calibration);
    } catch (const ai_orvo::alg::common::Refusal& refusal) {
        fs::remove(unfinished, error);
        throw failedAtWork(refusal.what());
    }
    fs::rename(unfinished, path_, error);
    if (error) {
        throw failedAtWork("cannot write to " + path_ + ": " + error.message());
    }
}

}  // namespace brellix::app
