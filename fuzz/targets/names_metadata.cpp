// What a network's metadata and a person's paths turn into: class names as exporters print them, text as YAML
// that gives the same text back, words of a shell.

#include "config/config_template.h"
#include "console/shell_quote.h"
#include "console/text.h"
#include "console/utf8.h"
#include "network/class_names_metadata.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"

#include <yaml-cpp/yaml.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace brellix::fuzz {
namespace {

void checkNames(const std::string& text) {
    const auto names = app::parseClassNames(text);
    if (!names) {
        return;
    }
    require(names->empty() || names->begin()->first >= 0, "a negative class index");
}

void checkYaml(const std::string& text) {
    if (app::isUtf8(text)) {
        require(YAML::Load(app::yamlQuoted(text)).as<std::string>() == text, "text changes by quoting");
    } else {
        require(app::isUtf8(app::yamlQuoted(text)), "quoted text is no UTF-8");
    }
}

void checkTerminal(const std::string& text) {
    const std::string shown = app::printable(text);
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const auto code = static_cast<unsigned char>(shown[i]);
        require(code >= 0x20 && code != 0x7F, "a terminal is told something");
        const auto next = i + 1 < shown.size() ? static_cast<unsigned char>(shown[i + 1]) : 0;
        const bool isControl = code == 0xC2 && next >= 0x80 && next < 0xA0;
        require(!isControl, "a terminal is told something in two bytes");
    }
    require(app::padRight(shown, 20).size() >= shown.size(), "padding");
}

/// What a POSIX shell makes of one word.
std::string unquoted(const std::string& word) {
    std::string text;
    bool isQuoted = false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (word[i] == '\'') {
            isQuoted = !isQuoted;
        } else if (word[i] == '\\' && !isQuoted) {
            text += word.at(++i);
        } else {
            require(isQuoted ||
                        std::string_view(" \t\n\"$`*?[]#~&|;<>(){}!").find(word[i]) == std::string_view::npos,
                    "the shell sees a sign of its own");
            text += word[i];
        }
    }
    require(!isQuoted, "a quote stays open");
    return text;
}

void checkShell(const std::string& text) {
    require(!app::shellQuoted(text).empty() && unquoted(app::shellQuoted(text)) == text, "word of a shell");
    const std::string path = unquoted(app::shellQuotedPath(text));
    require(path == text || path == "./" + text, "path in a shell");
    require(path.empty() || path.front() != '-', "a path that looks like an option");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text = FuzzedData(bytes, size).rest();
    checkNames(text);
    checkYaml(text);
    checkTerminal(text);
    checkShell(text);
    return 0;
}

}  // namespace brellix::fuzz
