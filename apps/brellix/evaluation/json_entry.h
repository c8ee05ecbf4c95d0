#pragma once

/// \file
/// Reading JSON that somebody else wrote, with refusals that name the place.

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace brellix::app {

/// \return the JSON of the file at `path`, called `what` in messages. Throws `Failure`.
nlohmann::json readJsonFile(const std::string& path, const std::string& what);

/// One object of a document, and where it stands.
class JsonEntry {
  public:
    /// All of them outlive the entry. Throws `Failure` unless `value` is an object.
    JsonEntry(const std::string& file, std::string place, const nlohmann::json& value);

    bool has(const char* key) const { return value_.contains(key) && !value_.at(key).is_null(); }

    std::int64_t integer(const char* key) const;

    /// Finite.
    double number(const char* key) const;
    std::string text(const char* key) const;

    /// Finite ones.
    std::vector<double> numbers(const char* key) const;

    /// The value itself.
    const nlohmann::json& at(const char* key) const;

    /// Throws `Failure`: "FILE: PLACE: "key" is FOUND, expected EXPECTED".
    [[noreturn]] void refuse(const char* key, const std::string& expected) const;

    /// Throws `Failure`: "FILE: PLACE: MESSAGE".
    [[noreturn]] void refuse(const std::string& message) const;

    const std::string& file() const { return file_; }
    const std::string& place() const { return place_; }

  private:
    const std::string& file_;
    std::string place_;
    const nlohmann::json& value_;
};

/// Hands each element of the array `key` of a document to `task`, in order.
/// Throws `Failure` where there is no such array.
void forEachEntry(const std::string& file, const nlohmann::json& document, const char* key,
                  const std::function<void(const JsonEntry&)>& task);

/// \return the JSON text of a value, cut where it is long.
std::string briefly(const nlohmann::json& value);

}  // namespace brellix::app
