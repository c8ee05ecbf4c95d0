#pragma once

/// \file
/// Reading the keys of a configuration, with refusals that say what to write instead.

#include "console/failure.h"
#include "console/finding.h"

#include <yaml-cpp/yaml.h>

#include <string>

namespace brellix::app {

/// One key: what its value has to be, in words and as a line.
struct KeyRule {
    const char* key;
    const char* expected;
    const char* example;
};

/// \return the map of the YAML file at `path`. Throws `Failure` where there is none; the message shows the
///         line `example`.
YAML::Node loadDocument(const std::string& path, const char* example);

/// \return "a list of 2 elements" and the like.
std::string describe(const YAML::Node& node);

/// Reads the keys of one document and refuses values that do not fit their rule.
class KeyReader {
  public:
    /// Both outlive the reader; `path` is what messages call the document.
    KeyReader(const std::string& path, const YAML::Node& document) : path_(path), document_(document) {}

    /// The same conversion that the constructors make.
    template <typename T>
    T read(const KeyRule& rule) const {
        const YAML::Node node = find(rule);
        try {
            return node.as<T>();
        } catch (const YAML::Exception&) {
            refuse(rule, describe(node));
        }
    }

    bool has(const KeyRule& rule) const { return document_[rule.key].IsDefined(); }

    /// yaml-cpp converts a null to the text "null".
    bool isNull(const KeyRule& rule) const { return find(rule).IsNull(); }

    /// \return what is wrong with a value that the constructors would take.
    Finding fault(const KeyRule& rule, const std::string& found) const;

    /// \return the path with the line of the key, or the path alone where the file lacks it.
    std::string placeOf(const char* key) const;

    [[noreturn]] void refuse(const KeyRule& rule, const std::string& found) const;

  private:
    YAML::Node find(const KeyRule& rule) const;

    const std::string& path_;
    // Looking a key up in a node that is not constant would add it.
    const YAML::Node& document_;
};

}  // namespace brellix::app
