#include "files/inputs.h"

#include "console/failure.h"
#include "files/file_kind.h"

#include <glob.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

bool isHidden(const fs::path& path) {
    return path.filename().string().front() == '.';
}

/// How inputs are expanded.
struct Expansion {
    bool recursive;
    Accepted accepted;
};

bool isWanted(const fs::directory_entry& entry, Accepted accepted) {
    const bool isAccepted = hasPictureExtension(entry.path()) ||
                            (accepted == Accepted::kStreams && hasVideoExtension(entry.path()));
    return isAccepted && !isHidden(entry.path()) && entry.is_regular_file();
}

std::vector<std::string> picturesIn(const std::string& folder, Accepted accepted) {
    std::vector<std::string> pictures;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (isWanted(entry, accepted)) {
            pictures.push_back(entry.path().string());
        }
    }
    return pictures;
}

std::vector<std::string> picturesBelow(const std::string& folder, Accepted accepted) {
    std::vector<std::string> pictures;
    for (auto place = fs::recursive_directory_iterator(folder); place != fs::end(place); ++place) {
        if (isWanted(*place, accepted)) {
            pictures.push_back(place->path().string());
        } else if (place->is_directory() && isHidden(place->path())) {
            place.disable_recursion_pending();
        }
    }
    return pictures;
}

std::vector<std::string> expandFolder(const std::string& folder, Expansion how) {
    try {
        std::vector<std::string> pictures =
            how.recursive ? picturesBelow(folder, how.accepted) : picturesIn(folder, how.accepted);
        std::sort(pictures.begin(), pictures.end());
        return pictures;
    } catch (const fs::filesystem_error& error) {
        throw wrongUse("input " + folder + ": cannot read the folder " + error.path1().string() + ": " +
                       error.code().message());
    }
}

bool isPattern(const std::string& input) {
    return input.find_first_of("*?[") != std::string::npos;
}

std::vector<std::string> expandExisting(const std::string& name, Expansion how) {
    std::error_code ignored;
    return fs::is_directory(name, ignored) ? expandFolder(name, how) : std::vector<std::string>{name};
}

std::vector<std::string> expandPattern(const std::string& pattern, Expansion how) {
    std::vector<std::string> pictures;
    for (const std::string& name : matchesOf(pattern)) {
        const std::vector<std::string> more = expandExisting(name, how);
        pictures.insert(pictures.end(), more.begin(), more.end());
    }
    if (pictures.empty()) {
        throw wrongUse("input " + pattern + ": nothing matches this pattern");
    }
    return pictures;
}

[[noreturn]] void refuseEmptyFolder(const std::string& folder, Expansion how) {
    throw wrongUse("input " + folder + ": no pictures" +
                   (how.accepted == Accepted::kStreams ? " or videos" : "") + " in this folder" +
                   (how.recursive ? "" : "; --recursive looks into its subfolders too"));
}

std::vector<std::string> expandInput(const std::string& input, Expansion how) {
    if (input == kStandardInput && how.accepted == Accepted::kStreams) {
        return {input};
    }
    std::error_code error;
    if (fs::exists(input, error)) {
        std::vector<std::string> pictures = expandExisting(input, how);
        if (pictures.empty()) {
            refuseEmptyFolder(input, how);
        }
        return pictures;
    }
    if (isPattern(input)) {
        return expandPattern(input, how);
    }
    throw wrongUse("input " + input + ": " + (error ? error.message() : "no such file or folder"));
}

}  // namespace

std::vector<std::string> matchesOf(const std::string& pattern) {
    glob_t found{};
    std::vector<std::string> names;
    if (glob(pattern.c_str(), 0, nullptr, &found) == 0) {
        names.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    globfree(&found);
    return names;
}

InputList expandInputs(const std::vector<std::string>& inputs, bool recursive, Accepted accepted) {
    InputList list;
    std::set<std::string> seen;
    for (const std::string& input : inputs) {
        for (std::string& picture : expandInput(input, {recursive, accepted})) {
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
