#include "files/protected_files.h"

#include "console/failure.h"
#include "files/real_path.h"

#include <sys/stat.h>

namespace brellix::app {
namespace {

/// What a file is known by: its place and, where there is one already, its number in the file system.
std::vector<std::string> marksOf(const std::string& path) {
    struct stat status {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (path.empty() || (exists && !S_ISREG(status.st_mode))) {
        return {};
    }
    std::vector<std::string> marks = {realPath(path).string()};
    if (exists) {
        marks.push_back(std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino));
    }
    return marks;
}

/// Behind these names is the nothing that the library's lines go to (`OwnOutput`).
bool isNameOfStandardOutput(const std::string& path) {
    return path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
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

void ProtectedFiles::setCurrentInput(const std::string& path) {
    const std::vector<std::string> marks = marksOf(path);
    current_ = marks.empty() ? "" : marks.back();
    if (!marks.empty()) {
        holders_[marks.front()].clear();
    }
}

/// \return an option, an empty text for the inputs; nothing where nobody holds it.
std::optional<std::string> ProtectedFiles::holderOf(const std::string& mark) const {
    const auto entry = holders_.find(mark);
    return entry != holders_.end() ? std::optional(entry->second)
           : mark == current_      ? std::optional(std::string())
                                   : std::nullopt;
}

void ProtectedFiles::refuse(const std::string& option, const std::string& target) const {
    if (isNameOfStandardOutput(target)) {
        throw wrongUse(option + ": " + target +
                       " cannot be written by its name; give - where the option takes it, else a file");
    }
    for (const std::string& mark : marksOf(target)) {
        const std::optional<std::string> holder = holderOf(mark);
        if (!holder || *holder == option) {
            continue;
        }
        throw wrongUse(option + ": " + target +
                       (holder->empty() ? " is one of the inputs and would be overwritten"
                                        : " is where " + *holder + " writes, too") +
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
