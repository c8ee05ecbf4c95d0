#include "files/protected_files.h"

#include "console/failure.h"

#include <filesystem>

namespace brellix::app {
namespace {

std::string realPath(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::weakly_canonical(path, ignored).string();
}

}  // namespace

void ProtectedFiles::add(const std::string& path) {
    paths_.insert(realPath(path));
}

void ProtectedFiles::refuse(const std::string& option, const std::string& target) const {
    if (paths_.count(realPath(target)) > 0) {
        throw wrongUse(option + ": " + target +
                       " is one of the inputs and would be overwritten; choose another folder");
    }
}

}  // namespace brellix::app
