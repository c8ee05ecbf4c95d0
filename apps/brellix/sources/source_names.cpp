#include "sources/source_names.h"

#include "files/file_kind.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

bool canKeepExtension(const std::string& name) {
    const std::string extension = lowerCaseExtension(name);
    return extension == ".png" || extension == ".jpg" || extension == ".jpeg";
}

std::string numbered(const fs::path& wanted, std::size_t number) {
    return wanted.stem().string() + '-' + std::to_string(number) + wanted.extension().string();
}

}  // namespace

std::string stemName(const FrameId& frame) {
    std::string stem = fs::path(frame.source).stem().string();
    if (frame.origin == FrameOrigin::kLive) {
        std::replace(stem.begin(), stem.end(), ' ', '-');
    }
    return stem;
}

std::string annotatedName(const FrameId& frame) {
    if (frame.origin != FrameOrigin::kPicture) {
        return stemName(frame) + ".avi";
    }
    const fs::path name = fs::path(frame.source).filename();
    return canKeepExtension(name) ? name.string() : name.stem().string() + ".png";
}

SourceNames::SourceNames(Wish wish, const std::vector<FrameId>& known) : wish_(wish) {
    // A later "name-2.png" keeps its name although an earlier second "name.png" could have had it.
    std::set<std::string> given;
    for (const FrameId& frame : known) {
        taken_.insert(wish(frame));
    }
    for (const FrameId& frame : known) {
        const std::string wanted = wish(frame);
        names_[frame.source] = given.insert(wanted).second ? wanted : firstFree(wanted);
    }
}

/// Takes the wanted name, or the first numbered one that is free.
std::string SourceNames::firstFree(const std::string& wanted) {
    // The numbers before that are taken, and stay so.
    std::size_t& number = nextNumbers_.emplace(wanted, 2).first->second;
    std::string name = wanted;
    while (!taken_.insert(name).second) {
        name = numbered(wanted, number++);
    }
    return name;
}

const std::string& SourceNames::of(const FrameId& frame) {
    const auto found = names_.find(frame.source);
    return found != names_.end() ? found->second
                                 : names_.emplace(frame.source, firstFree(wish_(frame))).first->second;
}

std::string SourceNames::another(const FrameId& frame) {
    return firstFree(wish_(frame));
}

}  // namespace brellix::app
