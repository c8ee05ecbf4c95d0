#include "files/readable_file.h"

#include "console/failure.h"
#include "files/broken_picture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace brellix::app {

void requireReadableFile(const std::string& path, const std::string& what) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        throw wrongUse(what + ' ' + path + ": " + error.message());
    }
    if (fs::is_directory(status)) {
        throw wrongUse(what + ' ' + path + ": this is a folder, expected a file");
    }
    if (eaccess(path.c_str(), R_OK) != 0) {
        throw wrongUse(what + ' ' + path + ": " + std::strerror(errno));
    }
}

// The decoders only say that they cannot read a file; most of the reasons are plain ones.
void requireReadableSource(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || eaccess(path.c_str(), R_OK) != 0) {
        throw BrokenPicture(std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        throw BrokenPicture(
            S_ISFIFO(status.st_mode)
                ? "a pipe, expected a picture; detect reads JPEGs from a pipe as - (detect CONFIG - < PIPE)"
                : "not a regular file");
    }
    if (status.st_size == 0) {
        throw BrokenPicture("the file is empty");
    }
}

}  // namespace brellix::app
