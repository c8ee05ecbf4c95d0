#include "config_keys.h"

#include "text.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

std::string placeOf(const std::string& path, const YAML::Node& node) {
    return path + ':' + std::to_string(node.Mark().line + 1);
}

YAML::Node parse(const std::string& path) {
    try {
        return YAML::LoadFile(path);
    } catch (const YAML::ParserException& error) {
        throw wrongUse(path + ':' + std::to_string(error.mark.line + 1) + ':' +
                       std::to_string(error.mark.column + 1) + ": this is not valid YAML: " + error.msg);
    } catch (const YAML::Exception& error) {
        throw wrongUse(path + ": cannot be read as YAML: " + error.what());
    }
}

}  // namespace

YAML::Node loadDocument(const std::string& path, const char* example) {
    requireReadableFile(path, "configuration");
    YAML::Node document = parse(path);
    if (!document.IsMap()) {
        throw wrongUse(path + ": the file holds " + (document.IsNull() ? "nothing" : describe(document)) +
                       ", expected lines of the form \"key: value\", the first for example \"" + example +
                       '"');
    }
    return document;
}

void requireReadableFile(const std::string& path, const std::string& what) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        throw wrongUse(what + ' ' + path + ": " + error.message());
    }
    if (fs::is_directory(status)) {
        throw wrongUse(what + ' ' + path + ": this is a folder, expected a file");
    }
    if (access(path.c_str(), R_OK) != 0) {
        throw wrongUse(what + ' ' + path + ": " + std::strerror(errno));
    }
}

std::string describe(const YAML::Node& node) {
    switch (node.Type()) {
        case YAML::NodeType::Scalar:
            return '"' + node.Scalar() + '"';
        case YAML::NodeType::Sequence:
            return "a list of " + counted(node.size(), "element");
        case YAML::NodeType::Map:
            return "a map";
        default:
            return "empty";
    }
}

void KeyReader::refuse(const KeyRule& rule, const std::string& found) const {
    throw wrongUse(placeOf(path_, find(rule)) + ": \"" + rule.key + "\" is " + found + ", expected " +
                   rule.expected + "; write for example \"" + rule.example + '"');
}

YAML::Node KeyReader::find(const KeyRule& rule) const {
    if (!has(rule)) {
        throw wrongUse(path_ + ": the key \"" + rule.key + "\" is missing, expected " + rule.expected +
                       "; add for example \"" + rule.example + '"');
    }
    return document_[rule.key];
}

}  // namespace brellix::app
