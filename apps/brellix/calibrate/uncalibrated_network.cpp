#include "calibrate/uncalibrated_network.h"

#include "console/failure.h"

#include <quantization/calibration.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace brellix::app {

UncalibratedNetwork::UncalibratedNetwork(const std::string& path) : descriptor_(-1), path_(path) {
    std::error_code ignored;
    if (!std::filesystem::exists(ai_orvo::alg::common::calibrationPath(path), ignored)) {
        // Messages about the network then show the path that the person knows.
        return;
    }
    descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) {
        throw wrongUse("network " + path + ": " + std::strerror(errno));
    }
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
}

UncalibratedNetwork::~UncalibratedNetwork() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

}  // namespace brellix::app
