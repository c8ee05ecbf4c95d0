#include "console/shell_quote.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>

namespace brellix::app {
namespace {

/// What a shell makes of the word.
std::string throughShell(const std::string& word) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(("printf '%s' " + word).c_str(), "r"), &pclose);
    std::string text;
    std::array<char, 256> buffer{};
    for (std::size_t got = 1; pipe && got > 0; text.append(buffer.data(), got)) {
        got = std::fread(buffer.data(), 1, buffer.size(), pipe.get());
    }
    return text;
}

TEST(ShellQuote, WordsComeThroughAShellUnchanged) {
    for (const std::string word :
         {"plain-1.0_x/y", "", " ", "two words", "it's", "'", "$HOME `id` $(id)", "a;b|c&d>e<f", "*?[a]{b}",
          "\\", "\"", "~", "!", "#", "line\nline", "\xC3\xA9"}) {
        EXPECT_EQ(throughShell(shellQuoted(word)), word) << shellQuoted(word);
    }
}

TEST(ShellQuote, PlainWordsStayReadable) {
    EXPECT_EQ(shellQuoted("models/net-1.onnx"), "models/net-1.onnx");
}

TEST(ShellQuote, PathsAreNeverTakenForOptions) {
    EXPECT_EQ(shellQuotedPath("-rf"), "./-rf");
    EXPECT_EQ(shellQuotedPath("a-b"), "a-b");
}

}  // namespace
}  // namespace brellix::app
