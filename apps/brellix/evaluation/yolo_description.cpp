#include "evaluation/yolo_description.h"

#include "console/failure.h"
#include "files/config_keys.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <filesystem>
#include <map>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

constexpr KeyRule kValRule = {"val", "the folder of the pictures, or a list of folders", "val: images/val"};
constexpr KeyRule kNamesRule = {"names", "class names, as a list or by class index", "names: [person, car]"};
constexpr KeyRule kPathRule = {"path", "the folder that \"val\" is seen from", "path: ."};

std::vector<std::string> readVal(const KeyReader& keys, const YAML::Node& document) {
    if (keys.has(kValRule) && document["val"].IsSequence()) {
        return keys.read<std::vector<std::string>>(kValRule);
    }
    if (keys.has(kValRule) && keys.isNull(kValRule)) {
        keys.refuse(kValRule, "empty");
    }
    return {keys.read<std::string>(kValRule)};
}

/// The folder that "path" names seen from the file; tools leave paths of another machine there.
fs::path rootOf(const std::string& path, const KeyReader& keys) {
    fs::path folder = fs::path(path).parent_path();
    if (!keys.has(kPathRule) || keys.isNull(kPathRule)) {
        return folder;
    }
    fs::path root = folder / keys.read<std::string>(kPathRule);
    std::error_code ignored;
    return fs::is_directory(root, ignored) ? root : folder;
}

std::map<std::int64_t, std::string> readNames(const KeyReader& keys, const YAML::Node& document) {
    if (document["names"].IsMap()) {
        return keys.read<std::map<std::int64_t, std::string>>(kNamesRule);
    }
    std::map<std::int64_t, std::string> names;
    for (const std::string& name : keys.read<std::vector<std::string>>(kNamesRule)) {
        names.emplace(static_cast<std::int64_t>(names.size()), name);
    }
    return names;
}

}  // namespace

YoloDescription readYoloDescription(const std::string& path) {
    const YAML::Node document = loadDocument(path, kValRule.example);
    const KeyReader keys(path, document);
    const fs::path root = rootOf(path, keys);
    YoloDescription description;
    description.file = path;
    for (const std::string& folder : readVal(keys, document)) {
        std::error_code ignored;
        const std::string pictures = (root / folder).string();
        if (!fs::is_directory(pictures, ignored)) {
            keys.refuse(kValRule, '"' + folder + "\", and " + pictures + " is no folder");
        }
        description.pictures.push_back(pictures);
    }
    if (keys.has(kNamesRule) && !keys.isNull(kNamesRule)) {
        for (const auto& [label, name] : readNames(keys, document)) {
            description.categories.push_back({label, name, {}, false});
        }
    }
    return description;
}

}  // namespace brellix::app
