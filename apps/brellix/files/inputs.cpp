#include "files/inputs.h"

#include "console/failure.h"
#include "files/file_kind.h"
#include "files/real_path.h"

#include <glob.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

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
    const UnreadableHandler& onUnreadable;
};

bool hasAcceptedExtension(const fs::path& path, Accepted accepted) {
    return hasPictureExtension(path) || (accepted == Accepted::kStreams && hasVideoExtension(path));
}

/// Gathers what a folder gives.
class FolderWalk {
  public:
    FolderWalk(const std::string& folder, Expansion how) : how_(how) {
        const std::error_code error = lookInto(folder);
        if (error) {
            throw wrongUse("input " + folder + ": cannot read the folder: " + error.message());
        }
        lookIntoSubfolders();
        std::sort(pictures_.begin(), pictures_.end());
        std::sort(unreadable_.begin(), unreadable_.end());
        std::for_each(unreadable_.begin(), unreadable_.end(), how.onUnreadable);
    }

    const std::vector<std::string>& pictures() const { return pictures_; }

  private:
    /// \return why the folder could not be read to its end.
    std::error_code lookInto(const fs::path& folder) {
        std::error_code error;
        for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
             entry.increment(error)) {
            if (!isHidden(entry->path())) {
                take(*entry);
            }
        }
        return error;
    }

    void lookIntoSubfolders() {
        while (!subfolders_.empty()) {
            const fs::path folder = std::move(subfolders_.back());
            subfolders_.pop_back();
            const std::error_code error = lookInto(folder);
            if (error) {
                unreadable_.push_back("cannot read the folder " + folder.string() + ": " + error.message());
            }
        }
    }

    void take(const fs::directory_entry& entry) {
        std::error_code error;
        if (entry.is_directory(error)) {
            if (how_.recursive && !entry.is_symlink(error)) {
                subfolders_.push_back(entry.path());
            }
        } else if (hasAcceptedExtension(entry.path(), how_.accepted)) {
            takePicture(entry);
        }
    }

    void takePicture(const fs::directory_entry& entry) {
        std::error_code error;
        const fs::file_status status = entry.status(error);
        if (fs::is_regular_file(status)) {
            pictures_.push_back(entry.path().string());
        } else if (!fs::exists(status)) {
            unreadable_.push_back("cannot read " + entry.path().string() + ": " + error.message());
        }
    }

    Expansion how_;
    std::vector<fs::path> subfolders_;  ///< not yet looked into
    std::vector<std::string> pictures_;
    std::vector<std::string> unreadable_;  ///< messages
};

bool isPattern(const std::string& input) {
    return input.find_first_of("*?[") != std::string::npos;
}

std::vector<std::string> expandExisting(const std::string& name, Expansion how) {
    std::error_code ignored;
    return fs::is_directory(name, ignored) ? FolderWalk(name, how).pictures()
                                           : std::vector<std::string>{name};
}

[[noreturn]] void refuseEmpty(const std::string& input, const std::string& folders, Expansion how) {
    throw wrongUse("input " + input + ": no pictures" +
                   (how.accepted == Accepted::kStreams ? " or videos" : "") + " in " + folders +
                   (how.recursive ? "" : "; --recursive looks into subfolders, too"));
}

std::vector<std::string> expandPattern(const std::string& pattern, Expansion how) {
    const std::vector<std::string> names = matchesOf(pattern);
    if (names.empty()) {
        throw wrongUse("input " + pattern + ": nothing matches this pattern");
    }
    std::vector<std::string> pictures;
    for (const std::string& name : names) {
        const std::vector<std::string> more = expandExisting(name, how);
        pictures.insert(pictures.end(), more.begin(), more.end());
    }
    if (pictures.empty()) {
        refuseEmpty(pattern, "the folders that match", how);
    }
    return pictures;
}

std::vector<std::string> expandInput(const std::string& input, Expansion how) {
    if (input == kStandardInput && how.accepted == Accepted::kStreams) {
        return {input};
    }
    std::error_code error;
    if (fs::exists(input, error)) {
        std::vector<std::string> pictures = expandExisting(input, how);
        if (pictures.empty()) {
            refuseEmpty(input, "this folder", how);
        }
        return pictures;
    }
    if (isPattern(input)) {
        return expandPattern(input, how);
    }
    throw wrongUse("input " + input + ": " + (error ? error.message() : "no such file or folder"));
}

/// \return the same for all spellings of a path: ".." behind a link to a folder leads elsewhere. A link
///         beside its target is a picture of its own.
std::string placeOf(const fs::path& picture) {
    return (realPath(fs::absolute(picture).parent_path()) / picture.filename()).string();
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

InputList expandInputs(const std::vector<std::string>& inputs, bool recursive, Accepted accepted,
                       const UnreadableHandler& onUnreadable) {
    InputList list;
    std::set<std::string> seen;
    for (const std::string& input : inputs) {
        for (std::string& picture : expandInput(input, {recursive, accepted, onUnreadable})) {
            if (seen.insert(placeOf(picture)).second) {
                list.pictures.push_back(std::move(picture));
            } else {
                ++list.repeated;
            }
        }
    }
    return list;
}

}  // namespace brellix::app
