#include "console/shell_quote.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace brellix::app {
namespace {

bool isPlain(char c) {
    constexpr std::string_view kPlainSigns = "_-./=:,+@%";
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || kPlainSigns.find(c) != std::string_view::npos;
}

}  // namespace

std::string shellQuoted(const std::string& argument) {
    if (!argument.empty() && std::all_of(argument.begin(), argument.end(), isPlain)) {
        return argument;
    }
    std::string quoted = "'";
    for (const char c : argument) {
        // Nothing ends a single-quoted string but the quote itself.
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + '\'';
}

std::string shellQuotedPath(const std::string& path) {
    return shellQuoted(!path.empty() && path.front() == '-' ? "./" + path : path);
}

}  // namespace brellix::app
