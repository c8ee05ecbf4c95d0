// Class names as text, against the plain version, and as YAML. Capped: indices of "class_mapping" up to
// 65535, since the list grows to the largest one by definition; deeper documents than yaml-cpp takes are its
// own refusal.

#include "reference/class_names.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"
#include "support/temporary_folder.h"

#include "brellix/class_names.h"

#include <yaml-cpp/yaml.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace brellix::fuzz {
namespace {

constexpr int kHighestIndex = 65535;

void compareText(const std::string& content) {
    static const testing::TemporaryFolder folder;
    std::vector<std::string> names{"first"};
    ai_orvo::model::read_class_name(folder.write("names.txt", content), names);
    std::vector<std::string> expected{"first"};
    for (const std::string& label : reference::labelsOf(content)) {
        expected.push_back(label);
    }
    require(names == expected, "labels of a text file");
}

std::optional<YAML::Node> documentOf(const std::string& content) {
    try {
        return YAML::Load(content);
    } catch (const YAML::Exception&) {
        return std::nullopt;
    }
}

bool hasHugeIndex(const YAML::Node& document) {
    try {
        for (const auto& entry : document["class_mapping"]) {
            if (entry.first.IsScalar() && entry.first.as<int>(0) > kHighestIndex) {
                return true;
            }
        }
    } catch (const YAML::Exception&) {
        return false;
    }
    return false;
}

/// Nothing of yaml-cpp is thrown, and the list holds at least an entry for each of the mapping.
void tryYaml(const YAML::Node& document) {
    std::vector<std::string> names(2, "before");
    ai_orvo::model::read_class_name(document, names);
    if (document.IsMap() && document["class_mapping"].IsDefined()) {
        require(names.size() >= document["class_mapping"].size(), "length of the list");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string content = FuzzedData(bytes, size).rest();
    compareText(content);
    const std::optional<YAML::Node> document = documentOf(content);
    // Looking a key up in a node that is not constant would add it.
    if (document && !hasHugeIndex(static_cast<const YAML::Node&>(*document))) {
        tryYaml(static_cast<const YAML::Node&>(*document));
    }
    return 0;
}

}  // namespace brellix::fuzz
