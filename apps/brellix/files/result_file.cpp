#include "files/result_file.h"

#include "console/failure.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

Failure cannotWrite(const std::string& path, const std::string& cause) {
    return failedAtWork("cannot write to " + path + ": " + cause);
}

/// \return where `path` leads to, whether or not something is there.
fs::path behindLinks(fs::path path) {
    // The kernel follows no more of them either.
    constexpr int kMostLinks = 40;
    std::error_code ignored;
    for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(path, ignored)); ++i) {
        path = path.parent_path() / fs::read_symlink(path, ignored);
    }
    return path;
}

fs::path folderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

void requireAccess(const fs::path& place, int mode, const std::string& path) {
    if (eaccess(place.c_str(), mode) != 0) {
        throw cannotWrite(path, std::strerror(errno));
    }
}

/// \return a name beside `path` that no file has.
std::string freeName(const std::string& path) {
    std::error_code ignored;
    std::string name = path + ".unfinished";
    for (int number = 2; fs::exists(fs::symlink_status(name, ignored)); ++number) {
        name = path + ".unfinished" + std::to_string(number);
    }
    return name;
}

/// Puts a finished file in the place of one that stood at `path`, if any did.
void putInPlace(const std::string& finished, const fs::file_status& before, const std::string& path) {
    std::error_code error;
    if (fs::exists(before)) {
        fs::permissions(finished, before.permissions(), error);
    }
    if (!error) {
        fs::rename(finished, path, error);
    }
    if (error) {
        throw cannotWrite(path, error.message());
    }
}

}  // namespace

void requireWritable(const std::string& path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (!fs::exists(status)) {
        requireReplaceable(path);
    } else if (fs::is_directory(status)) {
        throw cannotWrite(path, std::strerror(EISDIR));
    } else {
        requireAccess(path, W_OK, path);
    }
}

void requireReplaceable(const std::string& path) {
    requireAccess(folderOf(behindLinks(path)), W_OK | X_OK, path);
}

void writeWhole(const std::string& path, const std::function<void(const std::string& path)>& write) {
    std::error_code ignored;
    const fs::file_status before = fs::status(path, ignored);
    if (fs::exists(before) && !fs::is_regular_file(before)) {
        write(path);
        return;
    }
    const std::string target = behindLinks(path).string();
    const std::string unfinished = freeName(target);
    try {
        write(unfinished);
        putInPlace(unfinished, before, target);
    } catch (const Failure&) {
        fs::remove(unfinished, ignored);
        throw;
    }
}

}  // namespace brellix::app
