#include "files/config_keys.h"

#include "console/text.h"
#include "files/readable_file.h"

#include <filesystem>
#include <fstream>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

/// \return what the parser says, in words of ours where its own mislead.
std::string reasonOf(const YAML::ParserException& error) {
    // The parser's limit on nesting says this; a file that cannot be opened is another exception.
    return error.msg == YAML::ErrorMsg::BAD_FILE ? "lists and maps lie too deep inside each other"
                                                 : error.msg;
}

/// A network or a picture in the place of a configuration; the parser's words do not tell. Text has no such
/// bytes.
bool isBinaryFile(const std::string& path) {
    constexpr int kLooksAt = 512;
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        return false;
    }
    std::ifstream file(path, std::ios::binary);
    char byte = 0;
    for (int count = 0; count < kLooksAt && file.get(byte); ++count) {
        if (static_cast<unsigned char>(byte) < '\t') {
            return true;
        }
    }
    return false;
}

YAML::Node parse(const std::string& path) {
    try {
        return YAML::LoadFile(path);
    } catch (const YAML::ParserException& error) {
        if (isBinaryFile(path)) {
            throw wrongUse(path +
                           ": this is no text, expected a YAML file; brellix init NETWORK writes the "
                           "configuration of a network");
        }
        throw wrongUse(path + ':' + std::to_string(error.mark.line + 1) + ':' +
                       std::to_string(error.mark.column + 1) +
                       ": this is not valid YAML: " + reasonOf(error));
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

Finding KeyReader::fault(const KeyRule& rule, const std::string& found) const {
    return {Severity::kError,
            rule.key,
            placeOf(rule.key),
            found,
            rule.expected,
            std::string("write for example \"") + rule.example + '"',
            true};
}

std::string KeyReader::placeOf(const char* key) const {
    const YAML::Node node = document_[key];
    const bool hasLine = node.IsDefined() && !node.Mark().is_null();
    return hasLine ? path_ + ':' + std::to_string(node.Mark().line + 1) : path_;
}

void KeyReader::refuse(const KeyRule& rule, const std::string& found) const {
    throw wrongUse(sentenceOf(fault(rule, found)));
}

YAML::Node KeyReader::find(const KeyRule& rule) const {
    if (!has(rule)) {
        throw wrongUse(path_ + ": the key \"" + rule.key + "\" is missing, expected " + rule.expected +
                       "; add for example \"" + rule.example + '"');
    }
    return document_[rule.key];
}

}  // namespace brellix::app
