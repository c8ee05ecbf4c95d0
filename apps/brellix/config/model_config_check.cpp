#include "config/model_config_check.h"

#include "config/model_choice.h"
#include "console/text.h"
#include "files/config_keys.h"
#include "files/readable_file.h"

#include <cstdint>
#include <filesystem>
#include <limits>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

// The library names all classes up to the highest that "class_mapping" numbers: a number of ten digits would
// fill the memory with names. No network has as many.
constexpr int kMostNames = 1'000'000;

constexpr KeyRule kModelRule = {"model", "the name of a model class", "model: yolov5"};
constexpr KeyRule kModelPathRule = {"model_path", "the path of the network file", "model_path: network.onnx"};
constexpr KeyRule kConfRule = {"conf_thres", "a number from 0 to 1", "conf_thres: 0.25"};
constexpr KeyRule kNmsRule = {"nms_thres", "a number from 0 to 1", "nms_thres: 0.65"};
constexpr KeyRule kClassNumRule = {"class_num", "a whole number of at least 0", "class_num: 80"};
constexpr KeyRule kInputSizeRule = {
    "input_size", "the width and height of the network input, multiples of 32", "input_size: [640, 640]"};
constexpr KeyRule kSquareInputSizeRule = {"input_size", "a width equal to the height for yolov8_seg",
                                          "input_size: [640, 640]"};
constexpr KeyRule kFrameworkRule = {"framework", "TensorRT, RKNN or ONNX", "framework: ONNX"};
constexpr KeyRule kClassMappingRule = {"class_mapping", "a map from class numbers below 1000000 to names",
                                       "class_mapping: {0: circle, 1: triangle}"};
constexpr KeyRule kIsQuantizedRule = {"is_quantized", "true or false", "is_quantized: false"};

std::string readModel(const KeyReader& keys) {
    return keys.has(kModelRule) ? keys.read<std::string>(kModelRule) : std::string();
}

void requireModelPath(const KeyReader& keys) {
    if (keys.isNull(kModelPathRule) || keys.read<std::string>(kModelPathRule).empty()) {
        keys.refuse(kModelPathRule, "empty");
    }
}

/// Puts a threshold of the command line in the place of the file's.
void overrideThreshold(const KeyRule& rule, std::optional<float> value, ModelConfig& config) {
    if (value) {
        config.document[rule.key] = *value;
        config.isOverridden = true;
    }
}

/// The constructors take any number. \param isOption whether it comes from the command line.
float readThreshold(const KeyReader& keys, const KeyRule& rule, bool isOption, Findings& findings) {
    const auto value = keys.read<float>(rule);
    if (!(value >= 0.0F && value <= 1.0F)) {
        Finding finding = keys.fault(rule, thresholdText(value));
        finding.severity = Severity::kWarning;
        finding.fix = "outside of it either everything passes or nothing does";
        finding.where = isOption ? "the command line" : finding.where;
        findings.push_back(finding);
    }
    return value;
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
    constexpr std::int64_t kAnchors = 3;
    std::int64_t candidates = 0;
    for (const int stride : kStrides) {
        candidates += kAnchors * (width / stride) * (height / stride);
    }
    return candidates <= kMost / (classNum + 5);
}

cv::Size readInputSize(const KeyReader& keys, int classNum, Findings& findings) {
    const auto size = keys.read<std::vector<std::int64_t>>(kInputSizeRule);
    if (size.size() < 2) {
        keys.refuse(kInputSizeRule, "a list of " + counted(size.size(), "element"));
    }
    const std::string found = sizeText(size[0], size[1]);
    if (size[0] <= 0 || size[1] <= 0) {
        keys.refuse(kInputSizeRule, found);
    }
    if (size[0] % kCoarsestStride != 0 || size[1] % kCoarsestStride != 0) {
        findings.push_back(keys.fault(kInputSizeRule, found));
    }
    if (!tensorsAreCountable(size[0], size[1], classNum)) {
        keys.refuse(kInputSizeRule, found + " with " +
                                        counted(static_cast<std::size_t>(classNum), "class", "classes") +
                                        ", which is too large to count");
    }
    return {static_cast<int>(size[0]), static_cast<int>(size[1])};
}

/// What else the map may hold, the library's reader passes over.
void judgeClassMapping(const KeyReader& keys, Findings& findings) {
    if (!keys.has(kClassMappingRule) || keys.isNull(kClassMappingRule)) {
        return;
    }
    const auto mapping = keys.read<YAML::Node>(kClassMappingRule);
    if (!mapping.IsMap()) {
        Finding finding = keys.fault(kClassMappingRule, describe(mapping));
        finding.severity = Severity::kWarning;
        findings.push_back(finding);
        return;
    }
    for (const auto& entry : mapping) {
        int index = 0;
        if (entry.first.IsScalar() && YAML::convert<int>::decode(entry.first, index) && index >= kMostNames) {
            keys.refuse(kClassMappingRule, "a map with the class number " + std::to_string(index));
        }
    }
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

void readFramework(const KeyReader& keys, CheckedConfig& checked) {
    checked.config.framework = keys.read<std::string>(kFrameworkRule);
    const std::string& framework = checked.config.framework;
    if (framework != "TensorRT" && framework != "RKNN" && framework != "ONNX") {
        checked.findings.push_back(keys.fault(kFrameworkRule, '"' + framework + '"'));
    }
}

/// What a model reads that asks for its back-end.
void readBackEndKeys(const KeyReader& keys, CheckedConfig& checked) {
    readFramework(keys, checked);
    checked.config.isQuantized = keys.read<bool>(kIsQuantizedRule);
}

void judgeShapeForMasks(const KeyReader& keys, CheckedConfig& checked) {
    // Any other shape works until something is found, and raises OpenCV's error then.
    const cv::Size size = checked.config.inputSize;
    if (size.width != size.height) {
        checked.findings.push_back(keys.fault(kSquareInputSizeRule, sizeText(size.width, size.height)));
    }
}

void chooseClass(const ModelRequest& request, CheckedConfig& checked) {
    const std::optional<ModelClass> modelClass = chooseModelClass(
        {checked.config.model, request.modelClass}, checked.config.path, checked.network, checked.findings);
    if (!checked.config.model.empty() && !request.modelClass.empty() &&
        checked.config.model != request.modelClass) {
        checked.findings.push_back({Severity::kWarning, "model class", "the command line",
                                    "--model " + request.modelClass + " is not used: " + checked.config.path +
                                        " says model: " + checked.config.model,
                                    "", ""});
    }
    checked.modelClassIsKnown = modelClass.has_value();
    checked.config.modelClass = modelClass.value_or(ModelClass::kYoloV5);
}

void readSharedKeys(const KeyReader& keys, const ModelRequest& request, CheckedConfig& checked) {
    ModelConfig& config = checked.config;
    Findings& findings = checked.findings;
    config.model = readModel(keys);
    requireModelPath(keys);
    config.confThreshold = readThreshold(keys, kConfRule, request.confThreshold.has_value(), findings);
    config.nmsThreshold = readThreshold(keys, kNmsRule, request.nmsThreshold.has_value(), findings);
    config.classNum = readClassNum(keys);
    config.inputSize = readInputSize(keys, config.classNum, findings);
    judgeClassMapping(keys, findings);
}

}  // namespace

CheckedConfig checkModelConfig(const ModelRequest& request) {
    CheckedConfig checked;
    ModelConfig& config = checked.config;
    config.path = request.config;
    config.document = loadDocument(config.path, kModelPathRule.example);
    overrideThreshold(kConfRule, request.confThreshold, config);
    overrideThreshold(kNmsRule, request.nmsThreshold, config);
    const KeyReader keys(config.path, config.document);
    readSharedKeys(keys, request, checked);
    locateNetwork(keys, config);
    checked.network = readNetworkFacts(config.networkPath);
    chooseClass(request, checked);
    const ModelTraits& traits = traitsOf(config.modelClass);
    if (traits.readsBackEndKeys) {
        readBackEndKeys(keys, checked);
    }
    if (traits.makesMasks) {
        judgeShapeForMasks(keys, checked);
    }
    return checked;
}

ModelSettings settingsOf(const ModelConfig& config) {
    return {config.modelClass, config.inputSize, config.classNum, config.framework, config.isQuantized};
}

std::string placeOf(const ModelConfig& config, const char* key) {
    return KeyReader(config.path, config.document).placeOf(key);
}

}  // namespace brellix::app
