// The logger is one a process and reads its environment once: every case runs in a child of its own.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

struct ChildResult {
    int status;
    std::string out;
};

/// Runs the probe with nothing but these variables ("NAME=value ...", quoted for the shell) and actions.
ChildResult probe(const std::string& variables, const std::string& actions) {
    const std::string command =
        "env -i " + variables + " '" + BRELLIX_LOGGER_PROBE + "' " + actions + " 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    std::string out;
    std::array<char, 4096> part{};
    for (std::size_t size = 0; (size = fread(part.data(), 1, part.size(), pipe)) > 0;) {
        out.append(part.data(), size);
    }
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

const std::string kStdoutUnset = "environment variable SPDLOG_STDOUT is not set, and set true\n";
const std::string kStdoutInvalid = "environment variable SPDLOG_STDOUT is invalid, and set true\n";
const std::string kSystemdUnset = "environment variable SPDLOG_SYSTEMD is not set, and set false\n";
const std::string kSystemdInvalid = "environment variable SPDLOG_SYSTEMD is invalid, and set false\n";
const std::string kLevelUnset = "environment variable SPDLOG_LEVEL is not set, and set default level\n";
const std::string kLevelInvalid = "environment variable SPDLOG_LEVEL is invalid, and set default level\n";
const std::string kQuiet = "SPDLOG_STDOUT=true SPDLOG_SYSTEMD=false SPDLOG_LEVEL=info";

TEST(Logger, WithoutVariablesThreeNoticesThenPlainLines) {
    const ChildResult result = probe("", "info error");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              kStdoutUnset + kSystemdUnset + kLevelUnset + "  1 [INFO] an info\n  2 [ERROR] an error of 7\n");
}

TEST(Logger, NoticesAppearWhenItIsFirstUsed) {
    EXPECT_EQ(probe("", "").out, "");
}

TEST(Logger, CompleteEnvironmentIsQuiet) {
    EXPECT_EQ(probe(kQuiet, "info").out, "  1 [INFO] an info\n");
}

TEST(Logger, ConsoleValuesAreExact) {
    for (const std::string value : {"TRUE", "1", "", "yes", "\" true\""}) {
        EXPECT_EQ(probe("SPDLOG_SYSTEMD=false SPDLOG_LEVEL=info SPDLOG_STDOUT=" + value, "info").out,
                  kStdoutInvalid + "  1 [INFO] an info\n")
            << value;
    }
}

TEST(Logger, ConsoleOffDiscardsEverything) {
    EXPECT_EQ(probe("SPDLOG_STDOUT=false SPDLOG_LEVEL=info", "info error count").out,
              kSystemdUnset + "count 2\n");
}

TEST(Logger, JournalValuesAreExact) {
    for (const std::string value : {"True", "0", ""}) {
        EXPECT_EQ(probe("SPDLOG_STDOUT=true SPDLOG_LEVEL=info SPDLOG_SYSTEMD=" + value, "info").out,
                  kSystemdInvalid + "  1 [INFO] an info\n")
            << value;
    }
}

TEST(Logger, JournalBesideTheConsoleLeavesTheConsoleLinesAsTheyAre) {
    // Without a journal the sink fails; spdlog reports that on standard error and goes on.
    const ChildResult result =
        probe("SPDLOG_STDOUT=true SPDLOG_SYSTEMD=true SPDLOG_LEVEL=info", "info error");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "  1 [INFO] an info\n  2 [ERROR] an error of 7\n");
}

TEST(Logger, JournalGetsTheTextWithoutALineEnd) {
    const std::string out =
        probe("SPDLOG_STDOUT=false SPDLOG_SYSTEMD=true SPDLOG_LEVEL=info", "journal error").out;
    EXPECT_EQ(out.rfind("MESSAGE=  1 [ERROR] an error of 7\nPRIORITY=3\n", 0), 0U) << out;
    EXPECT_NE(out.find("\nSYSLOG_IDENTIFIER=spdlog\n"), std::string::npos) << out;
    EXPECT_NE(out.find("\nCODE_FUNC=run\n"), std::string::npos) << out;
}

TEST(Logger, ConsoleAndJournalGetTheSameText) {
    const std::string out =
        probe("SPDLOG_STDOUT=true SPDLOG_SYSTEMD=true SPDLOG_LEVEL=info", "journal info").out;
    EXPECT_EQ(out.rfind("  1 [INFO] an info\nMESSAGE=  1 [INFO] an info\nPRIORITY=6\n", 0), 0U) << out;
}

TEST(Logger, LevelNamesAreExact) {
    for (const std::string value : {"warn", "err", "off", "INFO", "2", ""}) {
        EXPECT_EQ(probe("SPDLOG_STDOUT=true SPDLOG_SYSTEMD=false SPDLOG_LEVEL=" + value, "level").out,
                  kLevelInvalid + "level 2, spdlog's 2\n")
            << value;
    }
}

TEST(Logger, LevelNamesGiveTheirNumbers) {
    const std::array<std::pair<const char*, int>, 6> levels = {
        {{"trace", 0}, {"debug", 1}, {"info", 2}, {"warning", 3}, {"error", 4}, {"critical", 5}}};
    for (const auto& [name, number] : levels) {
        EXPECT_EQ(
            probe(std::string("SPDLOG_STDOUT=true SPDLOG_SYSTEMD=false SPDLOG_LEVEL=") + name, "level").out,
            "level " + std::to_string(number) + ", spdlog's " + std::to_string(number) + "\n");
    }
}

TEST(Logger, DroppedMessagesAreNotCounted) {
    const std::string base = "SPDLOG_STDOUT=true SPDLOG_SYSTEMD=false ";
    EXPECT_EQ(probe(base + "SPDLOG_LEVEL=critical", "info error count").out, "count 0\n");
    EXPECT_EQ(probe(base + "SPDLOG_LEVEL=warning", "info error info error").out,
              "  1 [ERROR] an error of 7\n  2 [ERROR] an error of 7\n");
}

TEST(Logger, NumbersWrapAfter127) {
    const std::string out = probe(kQuiet, "many").out;
    EXPECT_NE(out.find(" 42 [INFO] message 41\n"), std::string::npos);
    EXPECT_NE(out.find("127 [INFO] message 126\n  0 [INFO] message 127\n  1 [INFO] message 128\n"),
              std::string::npos);
}

TEST(Logger, BracesInTheBodySurvive) {
    EXPECT_EQ(probe(kQuiet, "braces").out, "  1 [INFO] {} {0} {nonsense\n");
}

TEST(Logger, TheFirstNameStays) {
    EXPECT_EQ(probe(kQuiet, "name").out, "spdlog\n");
}

TEST(Logger, IsNotRegistered) {
    EXPECT_EQ(probe(kQuiet, "registered").out, "  1 [INFO] first\nnot registered\n");
}

TEST(Logger, CarriesLevelAndBareFunctionName) {
    EXPECT_NE(probe(kQuiet, "location").out.find("error|showLocation|  1 [ERROR] here\n"), std::string::npos);
}

TEST(Logger, LibraryAndApplicationShareOneInstance) {
    // The application logs first; the model's line, from inside the library, goes on counting and the
    // environment is not read again. The engine refuses the network, so the process ends with status 0.
    const ChildResult result = probe("", "info model");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              kStdoutUnset + kSystemdUnset + kLevelUnset +
                  "  1 [INFO] an info\n  2 [ERROR] Failed to init ai_engine, check config file\n");
}

TEST(Logger, LinesOfSeveralThreadsStayWholeAndHaveNumbersOfTheirOwn) {
    constexpr int kThreads = 8;
    constexpr int kMessages = 500;
    const std::string out = probe(kQuiet, "threads").out;
    std::array<int, 128> timesOfNumber{};
    std::array<int, kMessages> timesOfMessage{};
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        unsigned number = 0;
        unsigned message = 0;
        int end = 0;
        ASSERT_EQ(std::sscanf(line.c_str(), "%3u [INFO] message %u%n", &number, &message, &end), 2) << line;
        ASSERT_EQ(static_cast<std::size_t>(end), line.size()) << line;
        ++timesOfNumber.at(number);
        ++timesOfMessage.at(message);
    }
    for (const int times : timesOfMessage) {
        ASSERT_EQ(times, kThreads);
    }
    // 31 rounds of 128 numbers, and 32 messages more that begin with the number 1.
    for (std::size_t number = 0; number < timesOfNumber.size(); ++number) {
        EXPECT_EQ(timesOfNumber.at(number), number >= 1 && number <= 32 ? 32 : 31) << number;
    }
}

}  // namespace
