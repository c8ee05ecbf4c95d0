#include "model_config_check.h"

#include "failure.h"
#include "text.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <utility>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

// The deepest of the networks' three grids has one cell for 32 pixels.
constexpr std::int64_t kCoarsestStride = 32;

struct KeyRule {
    const char* key;
    const char* expected;
    const char* example;
};

constexpr KeyRule kModelRule = {"model", "the name of a model class", "model: yolov5"};
constexpr KeyRule kModelPathRule = {"model_path", "the path of the network file", "model_path: network.onnx"};
constexpr KeyRule kConfRule = {"conf_thres", "a number, usually 0 to 1", "conf_thres: 0.25"};
constexpr KeyRule kNmsRule = {"nms_thres", "a number, usually 0 to 1", "nms_thres: 0.65"};
constexpr KeyRule kClassNumRule = {"class_num", "a whole number of at least 0", "class_num: 80"};
constexpr KeyRule kInputSizeRule = {
    "input_size", "the width and height of the network input, multiples of 32", "input_size: [640, 640]"};

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

std::string placeOf(const std::string& path, const YAML::Node& node) {
    return path + ':' + std::to_string(node.Mark().line + 1);
}

/// Reads the keys of one document and refuses values that do not fit their rule.
class KeyReader {
  public:
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

    [[noreturn]] void refuse(const KeyRule& rule, const std::string& found) const {
        throw wrongUse(placeOf(path_, find(rule)) + ": \"" + rule.key + "\" is " + found + ", expected " +
                       rule.expected + "; write for example \"" + rule.example + '"');
    }

  private:
    YAML::Node find(const KeyRule& rule) const {
        if (!has(rule)) {
            throw wrongUse(path_ + ": the key \"" + rule.key + "\" is missing, expected " + rule.expected +
                           "; add for example \"" + rule.example + '"');
        }
        return document_[rule.key];
    }

    const std::string& path_;
    const YAML::Node& document_;
};

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

YAML::Node loadDocument(const std::string& path) {
    requireReadableFile(path, "configuration");
    YAML::Node document = parse(path);
    if (!document.IsMap()) {
        throw wrongUse(path + ": the file holds " + (document.IsNull() ? "nothing" : describe(document)) +
                       ", expected lines of the form \"key: value\", the first for example \"" +
                       kModelPathRule.example + '"');
    }
    return document;
}

std::string readModel(const KeyReader& keys) {
    return keys.has(kModelRule) ? keys.read<std::string>(kModelRule) : std::string();
}

void requireModelPath(const KeyReader& keys) {
    if (keys.isNull(kModelPathRule) || keys.read<std::string>(kModelPathRule).empty()) {
        keys.refuse(kModelPathRule, "empty");
    }
}

void checkThreshold(const KeyReader& keys, const KeyRule& rule, std::vector<std::string>& warnings) {
    const auto value = keys.read<float>(rule);
    if (!(value >= 0.0F && value <= 1.0F)) {
        warnings.push_back(std::string(rule.key) + " is " + fixed(static_cast<double>(value), 3) +
                           ", outside 0 to 1: then either everything passes it or nothing does");
    }
}

int readClassNum(const KeyReader& keys) {
    const int classNum = keys.read<int>(kClassNumRule);
    if (classNum < 0) {
        keys.refuse(kClassNumRule, std::to_string(classNum));
    }
    return classNum;
}

/// \return whether no tensor of a network of this size has more elements than the engine's tables can hold.
bool tensorsAreCountable(std::int64_t width, std::int64_t height, std::int64_t classNum) {
    constexpr std::int64_t kMost = std::numeric_limits<int>::max();
    if (width > kMost / 3 / height) {
        return false;
    }
    const std::int64_t candidates =
        3 * ((width / 8) * (height / 8) + (width / 16) * (height / 16) + (width / 32) * (height / 32));
    return candidates <= kMost / (classNum + 5);
}

cv::Size readInputSize(const KeyReader& keys, int classNum) {
    const auto size = keys.read<std::vector<std::int64_t>>(kInputSizeRule);
    if (size.size() < 2) {
        keys.refuse(kInputSizeRule, "a list of " + counted(size.size(), "element"));
    }
    const std::string found = std::to_string(size[0]) + " x " + std::to_string(size[1]);
    if (size[0] <= 0 || size[1] <= 0 || size[0] % kCoarsestStride != 0 || size[1] % kCoarsestStride != 0) {
        keys.refuse(kInputSizeRule, found);
    }
    if (!tensorsAreCountable(size[0], size[1], classNum)) {
        keys.refuse(kInputSizeRule,
                    found + " with " + std::to_string(classNum) + " classes, which is too large to count");
    }
    return {static_cast<int>(size[0]), static_cast<int>(size[1])};
}

/// \return where `written` leads to from the configuration's folder: along the path as it stands, else to a
///         file of that name beside the configuration. Empty where there is neither.
std::string findBesideConfig(const std::string& configPath, const fs::path& written) {
    const fs::path folder = fs::path(configPath).parent_path();
    for (const fs::path& candidate : {folder / written, folder / written.filename()}) {
        std::error_code ignored;
        if (fs::exists(candidate, ignored)) {
            return fs::absolute(candidate).string();
        }
    }
    return {};
}

/// The constructors look for a relative path from the working directory only; people write it relative to
/// the configuration, or run the program from anywhere.
void locateNetwork(const KeyReader& keys, ModelConfig& config) {
    const auto written = keys.read<std::string>(kModelPathRule);
    std::error_code ignored;
    config.networkPath = written;
    if (!fs::exists(written, ignored)) {
        config.networkPath = findBesideConfig(config.path, written);
        config.networkIsBesideFile = true;
    }
    if (config.networkPath.empty()) {
        keys.refuse(kModelPathRule, '"' + written +
                                        "\", and there is no such file, neither from the working directory " +
                                        "nor beside the configuration");
    }
    requireReadableFile(config.networkPath, "network");
}

}  // namespace

ModelConfig checkModelConfig(const std::string& path) {
    ModelConfig config;
    config.path = path;
    config.document = loadDocument(path);
    const YAML::Node& document = config.document;
    const KeyReader keys(config.path, document);
    config.model = readModel(keys);
    requireModelPath(keys);
    checkThreshold(keys, kConfRule, config.warnings);
    checkThreshold(keys, kNmsRule, config.warnings);
    config.classNum = readClassNum(keys);
    config.inputSize = readInputSize(keys, config.classNum);
    locateNetwork(keys, config);
    return config;
}

}  // namespace brellix::app
