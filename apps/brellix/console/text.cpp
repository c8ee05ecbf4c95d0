#include "console/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace brellix::app {
namespace {

// The first byte in UTF-8 of U+0080 to U+00BF. The first half of them are control characters, which terminals
// obey like those below a blank.
constexpr unsigned char kLatinLead = 0xC2;

std::string blanksUpTo(std::string_view text, std::size_t width) {
    const std::size_t taken = displayWidth(text);
    return std::string(taken < width ? width - taken : 0, ' ');
}

template <typename Number>
int leastDecimals(Number value, int fewest) {
    int decimals = fewest;
    while (decimals < kMostDecimals &&
           static_cast<Number>(std::strtod(fixed(static_cast<double>(value), decimals).c_str(), nullptr)) !=
               value) {
        ++decimals;
    }
    return decimals;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const unsigned char next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
        if (byte == kLatinLead && next >= 0x80 && next < 0xA0) {
            ++i;
            result += '?';
        } else {
            result += byte < 0x20 || byte == 0x7F ? '?' : text[i];
        }
    }
    return result;
}

std::size_t displayWidth(std::string_view text) {
    const auto startsCodePoint = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), startsCodePoint));
}

std::string padRight(std::string_view text, std::size_t width) {
    return std::string(text) + blanksUpTo(text, width);
}

std::string padLeft(std::string_view text, std::size_t width) {
    return blanksUpTo(text, width) + std::string(text);
}

std::string joined(const std::vector<std::string>& parts, std::string_view between) {
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) {
            text += between;
        }
        text += parts[i];
    }
    return text;
}

std::string counted(std::size_t count, std::string_view noun, std::string_view plural) {
    const std::string several = plural.empty() ? std::string(noun) + 's' : std::string(plural);
    return std::to_string(count) + ' ' + (count == 1 ? std::string(noun) : several);
}

std::string sizeText(std::int64_t width, std::int64_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

std::string fixed(double value, int decimals) {
    std::array<char, 64> digits{};
    // The largest float has 39 digits before the point, so nothing that a model gives is cut off.
    std::snprintf(digits.data(), digits.size(), "%.*f", decimals, value);
    return digits.data();
}

int decimalsOf(float value, int fewest) {
    return leastDecimals(value, fewest);
}

int decimalsOf(double value, int fewest) {
    return leastDecimals(value, fewest);
}

std::string thresholdText(float value) {
    constexpr int kFewestDecimals = 3;
    return fixed(static_cast<double>(value), decimalsOf(value, kFewestDecimals));
}

}  // namespace brellix::app
