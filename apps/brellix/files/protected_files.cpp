#include "files/protected_files.h"

#include "console/failure.h"

#include <sys/stat.h>

#include <filesystem>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

std::string realPath(const std::string& path) {
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    const fs::path real = fs::weakly_canonical(absolute, error);
    return (error ? absolute : real).string();
}

/// What a file is known by: its place and, where there is one already, its number in the file system.
std::vector<std::string> marksOf(const std::string& path) {
    struct stat status {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (path.empty() || (exists && !S_ISREG(status.st_mode))) {
        return {};
    }
    std::vector<std::string> marks = {realPath(path)};
    if (exists) {
        marks.push_back(std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino));
    }
    return marks;
}

}  // namespace

void ProtectedFiles::addInput(const std::string& path) {
    for (const std::string& mark : marksOf(path)) {
        holders_[mark].clear();
    }
}

void ProtectedFiles::addInputs(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        addInput(path);
    }
}

void ProtectedFiles::refuse(const std::string& option, const std::string& target) const {
    for (const std::string& mark : marksOf(target)) {
        const auto entry = holders_.find(mark);
        if (entry == holders_.end() || entry->second == option) {
            continue;
        }
        throw wrongUse(option + ": " + target +
                       (entry->second.empty() ? " is one of the inputs and would be overwritten"
                                              : " is where " + entry->second + " writes, too") +
                       "; choose another path");
    }
}

void ProtectedFiles::claim(const std::string& option, const std::string& target) {
    refuse(option, target);
    for (const std::string& mark : marksOf(target)) {
        holders_[mark] = option;
    }
}

}  // namespace brellix::app
