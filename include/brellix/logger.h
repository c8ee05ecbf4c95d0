#pragma once

/// \file
/// The process-wide logger and the two macros that write to it.
///
/// Three environment variables, read once when the logger is first used, choose where messages go:
///
/// | variable | values | when absent or something else |
/// |---|---|---|
/// | SPDLOG_STDOUT | "true", "false": console | console on |
/// | SPDLOG_SYSTEMD | "true", "false": systemd journal | journal off |
/// | SPDLOG_LEVEL | "trace", "debug", "info", "warning", "error", "critical" | info |
///
/// For each one that is absent or something else a notice goes to standard output.

#include "brellix/export.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/ansicolor_sink.h>
#include <spdlog/sinks/systemd_sink.h>
#include <spdlog/spdlog.h>
#include <syslog.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace brellix {

/// The one logger of the process. It is visible everywhere, so that the library and every module that
/// includes this header share one instance.
///
/// `Instance`, `LOG_ERROR` and `LOG_INFO` may be used from several threads: lines stay whole, each has a
/// number of its own, but lines of different threads may come in another order than their numbers. Code that
/// reads or writes `count_` itself while others log has to hold `count_mutex_`. `logger_`, its sinks and
/// `level_` may be changed only while nobody logs. `level_` decides which messages are counted, spdlog's own
/// level which of them are written: who changes one changes both.
class BRELLIX_API Logger {
  public:
    /// \param name name of the spdlog logger; only the first call's counts. The library says "spdlog".
    static Logger& Instance(const std::string& name) {
        static Logger instance(name);
        static const End end;
        return instance;
    }

    /// \return whether the one instance is destroyed already, as the process ends. Nothing is logged any more.
    static bool isGone() { return is_gone_; }

    /// Reads the environment and opens the chosen sinks. A logger that cannot be set up has a null `logger_`;
    /// nothing is thrown for it.
    /// \param name name of the spdlog logger.
    explicit Logger(const std::string& name) : count_(0) {
        try {
            std::vector<spdlog::sink_ptr> sinks;
            if (switchedOn("SPDLOG_STDOUT", true)) {
                using ConsoleSink = spdlog::sinks::ansicolor_stdout_sink<spdlog::details::console_mutex>;
                sinks.push_back(std::make_shared<ConsoleSink>());
            }
            if (switchedOn("SPDLOG_SYSTEMD", false)) {
                sinks.push_back(std::make_shared<spdlog::sinks::systemd_sink<std::mutex>>());
            }
            // Not registered: the application's own spdlog loggers may have any name.
            logger_ = std::make_shared<spdlog::logger>(name, sinks.begin(), sinks.end());
            level_ = chosenLevel();
            logger_->set_level(static_cast<spdlog::level::level_enum>(level_));
            logger_->set_pattern("%v", spdlog::pattern_time_type::local);
        } catch (const spdlog::spdlog_ex&) {
            // A logger that cannot be set up completely must not stop the application.
            return;
        }
    }

    std::shared_ptr<spdlog::logger> logger_;  ///< null where its construction failed
    unsigned count_ : 7;                      ///< number of the last counted message, 127 is followed by 0
    int level_ = spdlog::level::info;         ///< the least severe level that is counted

    /// Guards `count_`; one for the process, as the instance is.
    static inline std::mutex count_mutex_;

  private:
    /// Destructors of static objects that were there before the instance may still log after its end.
    struct End {
        ~End() { is_gone_ = true; }
    };

    static inline std::atomic<bool> is_gone_{false};

    /// \return what a "true" or "false" variable says, else `fallback` after a notice.
    static bool switchedOn(const char* variable, bool fallback) {
        const char* value = std::getenv(variable);
        if (value != nullptr && (std::string(value) == "true" || std::string(value) == "false")) {
            return std::string(value) == "true";
        }
        std::cout << "environment variable " << variable << (value == nullptr ? " is not set" : " is invalid")
                  << ", and set " << (fallback ? "true" : "false") << '\n';
        return fallback;
    }

    /// \return the level that SPDLOG_LEVEL names, else info after a notice.
    static int chosenLevel() {
        static const std::map<std::string, int> kLevels = {
            {"trace", spdlog::level::trace}, {"debug", spdlog::level::debug},
            {"info", spdlog::level::info},   {"warning", spdlog::level::warn},
            {"error", spdlog::level::err},   {"critical", spdlog::level::critical}};
        const char* value = std::getenv("SPDLOG_LEVEL");
        const auto known = kLevels.find(value == nullptr ? "" : value);
        if (known != kLevels.end()) {
            return known->second;
        }
        std::cout << "environment variable SPDLOG_LEVEL" << (value == nullptr ? " is not set" : " is invalid")
                  << ", and set default level\n";
        return spdlog::level::info;
    }
};

/// Counts a message of this level if it is logged. \return the number of the last counted message.
inline unsigned countMessage(Logger& logger, int level) {
    const std::lock_guard<std::mutex> lock(Logger::count_mutex_);
    if (logger.level_ <= level) {
        logger.count_ = (logger.count_ + 1U) & 127U;
    }
    return logger.count_;
}

/// Numbers, labels and logs one message; the work behind the macros.
///
/// \param where  the calling file, line and function.
/// \param level  how severe it is; messages below the logger's level are neither counted nor written.
/// \param prefix fmt format of the message number and the level's label.
/// \param format fmt format of the body. The finished text is not formatted again: braces in it survive.
/// \param args   what the format asks for.
/// \throws fmt::format_error where a formatter refuses its argument.
template <typename... Args>
void logMessage(spdlog::source_loc where, spdlog::level::level_enum level,
                fmt::format_string<unsigned> prefix, fmt::format_string<Args...> format, Args&&... args) {
    if (Logger::isGone()) {
        return;
    }
    // Held for the whole call: another module may release the instance's own handle at exit.
    const std::shared_ptr<spdlog::logger> logger = Logger::Instance("spdlog").logger_;
    std::string text = fmt::format(prefix, countMessage(Logger::Instance("spdlog"), level));
    text += fmt::format(format, std::forward<Args>(args)...);
    if (logger) {
        logger->log(where, level, spdlog::string_view_t(text));
    }
}

}  // namespace brellix

// `syslog.h` has a priority of the same name, and the journal's headers bring it. Without parentheses it goes
// on meaning that, so that `syslog(LOG_INFO, ...)` beside this header is what it was.
#undef LOG_INFO
enum { LOG_INFO = LOG_NOTICE + 1 };

#define BRELLIX_LOG_AT(level, prefix, ...) \
    ::brellix::logMessage(::spdlog::source_loc{__FILE__, __LINE__, __func__}, level, prefix, __VA_ARGS__)

/// Logs at error level: `LOG_ERROR(format, args...)`, fmt formatting.
#define LOG_ERROR(...) BRELLIX_LOG_AT(::spdlog::level::err, "{0:3d} [ERROR] ", __VA_ARGS__)

/// Logs at info level: `LOG_INFO(format, args...)`, fmt formatting.
#define LOG_INFO(...) BRELLIX_LOG_AT(::spdlog::level::info, "{0:3d} [INFO] ", __VA_ARGS__)
