#include "brellix/class_names.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <new>

namespace ai_orvo::model {
namespace {

constexpr const char* kFiller = "NO_TYPE";

// Log scrapers match the line that IsFile prints; its place names the message and does not follow the source.
constexpr const char* kReportedFolder = "./src/common";
constexpr int kReportedLine = 61;

void storeName(const YAML::Node& key, const YAML::Node& value, std::vector<std::string>& names) {
    if (!key.IsScalar() || !value.IsScalar()) {
        return;
    }
    const int index = key.as<int>();
    if (index < 0) {
        return;
    }
    const auto position = static_cast<std::size_t>(index);
    if (position >= names.size()) {
        names.resize(position + 1, kFiller);
    }
    names[position] = value.as<std::string>();
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

/// \return whether the entry behind `path` is of the kind that `S_IFMT` masks out of its mode.
bool isOfKind(const std::string& path, mode_t kind) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == kind;
}

}  // namespace

void read_class_name(std::string path, std::vector<std::string>& names) {
    errno = 0;
    std::ifstream file(path);
    if (!file.is_open() && errno == ENOMEM) {
        throw std::bad_alloc();
    }
    // A stream keeps a lack of memory to itself, and the names would end where the memory did.
    file.exceptions(std::ios::badbit);
    try {
        for (std::string line; std::getline(file, line);) {
            names.push_back(line);
        }
    } catch (const std::ios::failure&) {
        // What cannot be read any further ends with its last whole line.
        return;
    }
}

void read_class_name(const YAML::Node& config, std::vector<std::string>& names) {
    try {
        const YAML::Node mapping = config["class_mapping"];
        names.resize(mapping.size(), kFiller);
        for (const auto& entry : mapping) {
            storeName(entry.first, entry.second, names);
        }
    } catch (const YAML::Exception&) {
        // A document without usable names is legal: the caller keeps what was read so far.
        return;
    }
}

bool IsFile(const std::string& path) {
    if (!exists(path)) {
        std::printf("%s:%d %s not exist\n", kReportedFolder, kReportedLine, path.c_str());
        return false;
    }
    return isOfKind(path, S_IFREG);
}

bool IsFolder(const std::string& path) {
    return exists(path) && isOfKind(path, S_IFDIR);
}

}  // namespace ai_orvo::model
