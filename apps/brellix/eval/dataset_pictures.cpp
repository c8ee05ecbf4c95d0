#include "eval/dataset_pictures.h"

#include "console/failure.h"
#include "console/text.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <set>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

std::size_t countIn(const fs::path& folder, const Dataset& dataset) {
    const auto isThere = [&](const TruthPicture& picture) {
        std::error_code ignored;
        return fs::exists(folder / picture.file, ignored);
    };
    return static_cast<std::size_t>(std::count_if(dataset.pictures.begin(), dataset.pictures.end(), isThere));
}

/// Sorted; none where the folder cannot be read.
std::vector<fs::path> foldersIn(const fs::path& folder) {
    std::vector<fs::path> folders;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_directory(ignored)) {
            folders.push_back(entry->path());
        }
    }
    std::sort(folders.begin(), folders.end());
    return folders;
}

/// What was found where.
struct Search {
    fs::path folder;
    std::size_t found = 0;

    void lookInto(const std::vector<fs::path>& candidates, const Dataset& dataset) {
        for (const fs::path& candidate : candidates) {
            const std::size_t count = countIn(candidate, dataset);
            if (count > found) {
                found = count;
                folder = candidate;
            }
        }
    }
};

Search searchAround(const Dataset& dataset) {
    const fs::path file = fs::path(dataset.path);
    const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    Search search;
    search.lookInto({folder}, dataset);
    search.lookInto(foldersIn(folder), dataset);
    if (search.found < dataset.pictures.size()) {
        // COCO keeps its files in a folder "annotations" beside those of the pictures.
        search.lookInto(foldersIn(folder / ".."), dataset);
    }
    return search;
}

std::vector<std::string> pathsIn(const fs::path& folder, const Dataset& dataset) {
    std::vector<std::string> paths;
    std::set<std::string> taken;
    for (const TruthPicture& picture : dataset.pictures) {
        paths.push_back((folder / picture.file).lexically_normal().string());
        if (!taken.insert(paths.back()).second) {
            throw wrongUse(dataset.path + ": \"file_name\" of the image " + std::to_string(picture.id) +
                           " is \"" + printable(picture.file) +
                           "\", expected a picture that no other entry has: this one is " + paths.back());
        }
    }
    return paths;
}

}  // namespace

std::vector<std::string> picturePaths(const Dataset& dataset, const std::string& folder) {
    Search search;
    if (folder.empty()) {
        search = searchAround(dataset);
    } else {
        search.lookInto({folder}, dataset);
    }
    if (search.found == 0) {
        const std::string where =
            folder.empty() ? "beside the file and in the folders around it" : "in " + folder;
        throw wrongUse(dataset.path + ": none of its " + counted(dataset.pictures.size(), "picture") +
                       " is " + where + " (the first is " + dataset.pictures.front().file +
                       "); say with --images DIR where they are");
    }
    return pathsIn(search.folder, dataset);
}

}  // namespace brellix::app
