#include "option_values.h"

#include "console/failure.h"
#include "console/text.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

namespace brellix::app {
namespace {

/// \return the whole of `word` as a number; NaN where it says none.
double numberIn(const std::string& word) {
    double value = 0.0;
    const char* const end = word.data() + word.size();
    const std::from_chars_result result = std::from_chars(word.data(), end, value);
    return result.ec == std::errc() && result.ptr == end ? value : std::numeric_limits<double>::quiet_NaN();
}

std::string expectation(const std::string& word, const std::string& expected) {
    return '"' + printable(word) + "\", expected " + expected;
}

CLI::Validator numberWithin(double low, double high, const std::string& expected) {
    return CLI::Validator(
        [=](const std::string& word) {
            const double value = numberIn(word);
            return value >= low && value <= high ? std::string() : expectation(word, expected);
        },
        "");
}

/// \return `digits` without the zeros that the parsing library would take for the mark of base eight.
std::string withoutLeadingZeros(const std::string& digits) {
    return digits.substr(std::min(digits.find_first_not_of('0'), digits.size() - 1));
}

bool isWholeNumber(const std::string& word, std::size_t low, std::size_t high) {
    if (word.empty() || word.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    const double value = numberIn(word);
    return value >= static_cast<double>(low) && value <= static_cast<double>(high);
}

std::string refuseEmpty(const std::string& word) {
    return word.empty() ? "the value is empty" : "";
}

}  // namespace

CLI::Validator wholeNumber(std::size_t low, std::size_t high) {
    return CLI::Validator(
        [=](std::string& word) {
            if (!isWholeNumber(word, low, high)) {
                return expectation(
                    word, "a whole number from " + std::to_string(low) + " to " + std::to_string(high));
            }
            word = withoutLeadingZeros(word);
            return std::string();
        },
        "");
}

CLI::Validator numberFrom0To1() {
    return numberWithin(0.0, 1.0, "a number from 0 to 1");
}

CLI::Validator finiteNumber() {
    constexpr auto kMost = static_cast<double>(std::numeric_limits<float>::max());
    return numberWithin(-kMost, kMost, "a number");
}

void refuseEmptyValues(CLI::App& command) {
    for (CLI::Option* const option : command.get_options()) {
        if (option->get_items_expected_max() > 0) {
            // Goes before the other checks, whose answers are about something else.
            option->transform(CLI::Validator(refuseEmpty, ""));
        }
    }
}

void refuseEmptyAssignments(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (argument == "--") {
            return;
        }
        const std::size_t sign = argument.find('=');
        if (argument.compare(0, 2, "--") == 0 && sign + 1 == argument.size()) {
            throw wrongUse(printable(argument.substr(0, sign)) +
                           ": the value is empty; brellix --help tells more");
        }
    }
}

}  // namespace brellix::app
