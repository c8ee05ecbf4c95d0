// What every target needs before its first input: silence. Libraries that report each of a million refusals
// would be what is measured.

#include "support/target.h"

#include <opencv2/core.hpp>
#include <opencv2/core/utils/logger.hpp>

#include <cstdlib>
#include <iostream>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    ::setenv("SPDLOG_STDOUT", "false", 1);
    ::setenv("SPDLOG_SYSTEMD", "false", 1);
    ::setenv("SPDLOG_LEVEL", "critical", 1);
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
    cv::redirectError([](int, const char*, const char*, const char*, int, void*) { return 0; });
    // More threads than one would make the coverage of an input depend on chance.
    cv::setNumThreads(1);
    std::cout.setstate(std::ios::failbit);
    return 0;
}
