// Logs as its arguments say and ends: one argument an action. Run as a child by the logger's tests.

#include "brellix/logger.h"
#include "brellix/yolov8_seg.h"

#include <spdlog/sinks/ostream_sink.h>

#include <syslog.h>

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

// The logger's header leaves applications that write to syslog themselves its priority.
static_assert(LOG_INFO == 6 && LOG_MASK(LOG_INFO) == 1 << 6);

void logMany(int count) {
    for (int i = 0; i < count; ++i) {
        LOG_INFO("message {}", i);
    }
}

void logFromThreads() {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] { logMany(500); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// One line of what spdlog was given: level, file's folder, function, text.
void showLocation() {
    auto& logger = brellix::Logger::Instance("spdlog");
    std::ostringstream stream;
    logger.logger_->sinks().push_back(std::make_shared<spdlog::sinks::ostream_sink_mt>(stream));
    logger.logger_->sinks().back()->set_pattern("%l|%!|%v");
    LOG_ERROR("here");
    std::cout << stream.str();
}

void constructModel() {
    const ai_orvo::model::YOLOv8Seg model(YAML::Load(
        "{model_path: /no/such/network.onnx, framework: ONNX, class_num: 2, conf_thres: 0.5, nms_thres: 0.5, "
        "input_size: [64, 64], is_quantized: false}"));
}

bool run(const std::string& action) {
    if (action == "info") {
        LOG_INFO("an info");
    } else if (action == "error") {
        LOG_ERROR("an {} of {}", "error", 7);
    } else if (action == "braces") {
        LOG_INFO("{}", "{} {0} {nonsense");
    } else if (action == "many") {
        logMany(130);
    } else if (action == "threads") {
        logFromThreads();
    } else if (action == "name") {
        brellix::Logger::Instance("spdlog");
        std::cout << brellix::Logger::Instance("other").logger_->name() << '\n';
    } else if (action == "registered") {
        LOG_INFO("first");
        std::cout << (spdlog::get("spdlog") ? "registered" : "not registered") << '\n';
    } else if (action == "location") {
        showLocation();
    } else if (action == "level") {
        const int level = brellix::Logger::Instance("spdlog").level_;
        std::cout << "level " << level << '\n';
    } else if (action == "count") {
        const unsigned count = brellix::Logger::Instance("spdlog").count_;
        std::cout << "count " << count << '\n';
    } else if (action == "model") {
        constructModel();
    } else {
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (!run(argv[i])) {
            return 2;
        }
    }
    return 0;
}
