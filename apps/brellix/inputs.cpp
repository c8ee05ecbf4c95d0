#include "inputs.h"

#include "failure.h"

#include <glob.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <set>
#include <string_view>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 15> kPictureExtensions = {".bmp", ".dib", ".jp2", ".jpe",  ".jpeg",
                                                                 ".jpg", ".pbm", ".pgm", ".png",  ".pnm",
                                                                 ".ppm", ".pxm", ".tif", ".tiff", ".webp"};

bool hasPictureExtension(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(kPictureExtensions.begin(), kPictureExtensions.end(), extension) !=
           kPictureExtensions.end();
}

bool isHidden(const fs::path& path) {
    return path.filename().string().front() == '.';
}

bool isPictureFile(const fs::directory_entry& entry) {
    return !isHidden(entry.path()) && hasPictureExtension(entry.path()) && entry.is_regular_file();
}

std::vector<std::string> picturesIn(const std::string& folder) {
    std::vector<std::string> pictures;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (isPictureFile(entry)) {
            pictures.push_back(entry.path().string());
        }
    }
    return pictures;
}

std::vector<std::string> picturesBelow(const std::string& folder) {
    std::vector<std::string> pictures;
    for (auto place = fs::recursive_directory_iterator(folder); place != fs::end(place); ++place) {
        if (isPictureFile(*place)) {
            pictures.push_back(place->path().string());
        } else if (place->is_directory() && isHidden(place->path())) {
            place.disable_recursion_pending();
        }
    }
    return pictures;
}

std::vector<std::string> expandFolder(const std::string& folder, bool recursive) {
    try {
        std::vector<std::string> pictures = recursive ? picturesBelow(folder) : picturesIn(folder);
        std::sort(pictures.begin(), pictures.end());
        return pictures;
    } catch (const fs::filesystem_error& error) {
        throw wrongUse("input " + folder + ": cannot read the folder " + error.path1().string() + ": " +
                       error.code().message());
    }
}

/// \return the names that match, sorted; none where nothing does.
std::vector<std::string> matchesOf(const std::string& pattern) {
    glob_t found{};
    std::vector<std::string> names;
    if (glob(pattern.c_str(), 0, nullptr, &found) == 0) {
        names.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    globfree(&found);
    return names;
}

bool isPattern(const std::string& input) {
    return input.find_first_of("*?[") != std::string::npos;
}

std::vector<std::string> expandExisting(const std::string& name, bool recursive) {
    std::error_code ignored;
    return fs::is_directory(name, ignored) ? expandFolder(name, recursive) : std::vector<std::string>{name};
}

std::vector<std::string> expandPattern(const std::string& pattern, bool recursive) {
    std::vector<std::string> pictures;
    for (const std::string& name : matchesOf(pattern)) {
        const std::vector<std::string> more = expandExisting(name, recursive);
        pictures.insert(pictures.end(), more.begin(), more.end());
    }
    if (pictures.empty()) {
        throw wrongUse("input " + pattern + ": nothing matches this pattern");
    }
    return pictures;
}

[[noreturn]] void refuseEmptyFolder(const std::string& folder, bool recursive) {
    throw wrongUse("input " + folder + ": no pictures in this folder" +
                   (recursive ? "" : "; --recursive looks into its subfolders too"));
}

std::vector<std::string> expandInput(const std::string& input, bool recursive) {
    std::error_code error;
    if (fs::exists(input, error)) {
        std::vector<std::string> pictures = expandExisting(input, recursive);
        if (pictures.empty()) {
            refuseEmptyFolder(input, recursive);
        }
        return pictures;
    }
    if (isPattern(input)) {
        return expandPattern(input, recursive);
    }
    throw wrongUse("input " + input + ": " + (error ? error.message() : "no such file or folder"));
}

}  // namespace

InputList expandInputs(const std::vector<std::string>& inputs, bool recursive) {
    InputList list;
    std::set<std::string> seen;
    for (const std::string& input : inputs) {
        for (std::string& picture : expandInput(input, recursive)) {
            // Two spellings of one path are one picture; a link beside its target is a picture of its own.
            if (seen.insert(fs::absolute(picture).lexically_normal().string()).second) {
                list.pictures.push_back(std::move(picture));
            } else {
                ++list.repeated;
            }
        }
    }
    return list;
}

}  // namespace brellix::app
