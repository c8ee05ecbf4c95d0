#include "evaluation/json_entry.h"

#include "console/failure.h"
#include "console/text.h"
#include "files/readable_file.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <limits>
#include <utility>

namespace brellix::app {
namespace {

using nlohmann::json;

constexpr std::size_t kLongestQuote = 60;

bool isFinite(const json& value) {
    return value.is_number() && std::isfinite(value.get<double>());
}

bool holdsStructures(const json& array) {
    return std::any_of(array.begin(), array.end(),
                       [](const json& element) { return element.is_structured(); });
}

/// The library's messages begin with a code of its own in brackets.
std::string withoutCode(const std::string& message) {
    const std::size_t end = message.find("] ");
    return end == std::string::npos ? message : message.substr(end + 2);
}

}  // namespace

json readJsonFile(const std::string& path, const std::string& what) {
    requireReadableFile(path, what);
    std::ifstream file(path, std::ios::binary);
    try {
        return json::parse(file);
    } catch (const json::exception& error) {
        throw wrongUse(path + ": this is no JSON file: " + withoutCode(error.what()));
    }
}

std::string briefly(const json& value) {
    // What is nested may be as long, or as deep, as the file.
    if (value.is_object()) {
        return "an object";
    }
    if (value.is_array() && (value.size() > kLongestQuote || holdsStructures(value))) {
        return "an array of " + counted(value.size(), "element");
    }
    const std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
    return text.size() <= kLongestQuote ? text : text.substr(0, kLongestQuote) + "...";
}

JsonEntry::JsonEntry(const std::string& file, std::string place, const json& value)
    : file_(file), place_(std::move(place)), value_(value) {
    if (!value_.is_object()) {
        refuse("this is " + briefly(value_) + ", expected an object");
    }
}

const json& JsonEntry::at(const char* key) const {
    if (!value_.contains(key)) {
        refuse(std::string("the key \"") + key + "\" is missing");
    }
    return value_.at(key);
}

std::int64_t JsonEntry::integer(const char* key) const {
    const json& value = at(key);
    const bool fits =
        value.is_number_integer() &&
        (!value.is_number_unsigned() ||
         value.get<std::uint64_t>() <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()));
    if (!fits) {
        refuse(key, "a whole number");
    }
    return value.get<std::int64_t>();
}

double JsonEntry::number(const char* key) const {
    if (!isFinite(at(key))) {
        refuse(key, "a number");
    }
    return at(key).get<double>();
}

std::string JsonEntry::text(const char* key) const {
    if (!at(key).is_string() || at(key).get_ref<const std::string&>().empty()) {
        refuse(key, "a text");
    }
    return at(key).get<std::string>();
}

std::vector<double> JsonEntry::numbers(const char* key) const {
    const json& array = at(key);
    std::vector<double> values;
    if (!array.is_array()) {
        refuse(key, "an array of numbers");
    }
    for (const json& element : array) {
        if (!isFinite(element)) {
            refuse(key, "an array of numbers");
        }
        values.push_back(element.get<double>());
    }
    return values;
}

void JsonEntry::refuse(const char* key, const std::string& expected) const {
    refuse(std::string("\"") + key + "\" is " + briefly(at(key)) + ", expected " + expected);
}

void JsonEntry::refuse(const std::string& message) const {
    throw wrongUse(file_ + ": " + place_ + ": " + message);
}

void forEachEntry(const std::string& file, const json& document, const char* key,
                  const std::function<void(const JsonEntry&)>& task) {
    const auto found = document.is_object() ? document.find(key) : document.end();
    if (found == document.end() || !found->is_array()) {
        throw wrongUse(file + ": there is no array \"" + key +
                       "\", which a COCO file has beside \"images\", \"annotations\" and \"categories\"");
    }
    std::size_t index = 0;
    for (const json& element : *found) {
        task(JsonEntry(file, std::string(key) + '[' + std::to_string(index++) + ']', element));
    }
}

}  // namespace brellix::app
