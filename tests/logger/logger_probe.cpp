// Logs as its arguments say and ends: one argument an action. Run as a child by the logger's tests.

#include "brellix/logger.h"
#include "brellix/yolov8_seg.h"

#include <spdlog/sinks/ostream_sink.h>

#include <syslog.h>
#include <systemd/sd-journal.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

// The logger's header leaves applications that write to syslog themselves its priority.
static_assert(LOG_INFO == 6 && LOG_MASK(LOG_INFO) == 1 << 6);

bool journalIsThere = false;

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// Prints "NAME=", up to the first conversion of the format, and then the value. spdlog's releases differ in
/// which fields they send. (By reference: on Arm a copy of the list would stay where it was.)
void printField(std::string_view format, va_list& values) {
    std::cout << format.substr(0, format.find('%'));
    if (endsWith(format, "%.*s")) {
        const int length = va_arg(values, int);
        std::cout << std::string_view(va_arg(values, const char*), static_cast<std::size_t>(length));
    } else if (endsWith(format, "%s")) {
        std::cout << va_arg(values, const char*);
    } else if (endsWith(format, "%d")) {
        std::cout << va_arg(values, int);
    } else if (endsWith(format, "%zu")) {
        std::cout << va_arg(values, std::size_t);
    } else {
        std::cerr << "a field of unknown form: " << format << std::endl;
        std::abort();
    }
    std::cout << '\n';
}

}  // namespace

/// In place of libsystemd's: prints the fields of an entry, or fails as where there is no journal.
extern "C" int(sd_journal_send)(const char* format, ...) {
    if (!journalIsThere) {
        errno = ENOENT;
        return -ENOENT;
    }
    va_list values;
    va_start(values, format);
    for (; format != nullptr; format = va_arg(values, const char*)) {
        printField(format, values);
    }
    va_end(values);
    return 0;
}

namespace {

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

/// One line of what spdlog was given: level, function, text.
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
        const auto& logger = brellix::Logger::Instance("spdlog");
        std::cout << "level " << logger.level_ << ", spdlog's " << logger.logger_->level() << '\n';
    } else if (action == "count") {
        const unsigned count = brellix::Logger::Instance("spdlog").count_;
        std::cout << "count " << count << '\n';
    } else if (action == "model") {
        constructModel();
    } else if (action == "journal") {
        journalIsThere = true;
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
