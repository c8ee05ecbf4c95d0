#include "evaluation/yolo_truth.h"

#include "console/failure.h"
#include "evaluation/yolo_description.h"
#include "files/inputs.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <utility>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

bool isDirectory(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

bool isFile(const fs::path& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

YoloDescription describe(const std::string& path) {
    if (!isDirectory(path)) {
        return readYoloDescription(path);
    }
    for (const char* name : {"data.yaml", "dataset.yaml"}) {
        if (isFile(fs::path(path) / name)) {
            return readYoloDescription((fs::path(path) / name).string());
        }
    }
    const fs::path pictures = fs::path(path) / "images";
    return {"", {isDirectory(pictures) ? pictures.string() : path}, {}};
}

/// \return the path with its last folder called "images" called "labels"; empty where there is none.
fs::path inLabelTree(const fs::path& picture) {
    const std::vector<fs::path> parts(picture.begin(), picture.end());
    if (parts.empty()) {
        return {};
    }
    const auto last = std::find(parts.rbegin() + 1, parts.rend(), fs::path("images"));
    if (last == parts.rend()) {
        return {};
    }
    fs::path path;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        path /= part == last.base() - 1 ? fs::path("labels") : *part;
    }
    return path;
}

/// \return the label file of a picture; empty where there is none, which says that nothing is on it.
std::string labelFile(const std::string& picture) {
    // A folder like "." may lie inside a tree called images.
    const fs::path absolute = fs::absolute(picture).lexically_normal();
    for (fs::path candidate : {inLabelTree(absolute), fs::path(picture)}) {
        candidate.replace_extension(".txt");
        // One that is there and cannot be read does not say that nothing is on the picture.
        std::error_code ignored;
        if (fs::symlink_status(candidate, ignored).type() != fs::file_type::not_found) {
            return candidate.string();
        }
    }
    return {};
}

std::vector<std::string> picturesOf(const YoloDescription& description) {
    // Figures of a part of the dataset would look like figures of all of it.
    const auto refuse = [](const std::string& message) { throw wrongUse(message); };
    return expandInputs(description.pictures, true, Accepted::kPictures, refuse).pictures;
}

/// The place where each class is first seen, by class index.
std::map<std::int64_t, std::string> classesIn(const UnplacedLabels& labels) {
    std::map<std::int64_t, std::string> classes;
    for (const auto& ofPicture : labels) {
        for (const YoloLabel& label : ofPicture) {
            classes.emplace(label.label, label.place);
        }
    }
    return classes;
}

/// What the description names; where it names nothing, the classes that occur.
std::vector<Category> categoriesFor(std::vector<Category> named, const UnplacedLabels& labels) {
    const bool areNamed = !named.empty();
    for (const auto& [label, place] : classesIn(labels)) {
        if (!areNamed) {
            named.push_back({label, {}, place, true});
            continue;
        }
        const auto found = std::find_if(named.begin(), named.end(),
                                        [id = label](const Category& category) { return category.id == id; });
        if (found == named.end()) {
            throw wrongUse(place + ": the class is " + std::to_string(label) +
                           ", expected one that \"names\" of the dataset lists");
        }
        found->seenAt = place;
        found->isUsed = true;
    }
    return named;
}

}  // namespace

GroundTruth readYoloTruth(const std::string& path) {
    YoloDescription description = describe(path);
    GroundTruth truth;
    truth.dataset.path = path;
    truth.dataset.idsAreLabels = true;
    for (const std::string& picture : picturesOf(description)) {
        const std::string file = labelFile(picture);
        truth.labels.emplace_back();
        if (!file.empty()) {
            truth.labels.back() = readYoloLabels(file);
            truth.files.push_back(file);
        }
        truth.dataset.pictures.push_back({static_cast<std::int64_t>(truth.labels.size()), picture, {}, {}});
    }
    if (truth.files.empty()) {
        throw wrongUse(path + ": no picture has a label file: expected NAME.txt beside NAME.jpg, or in a " +
                       "folder labels beside the folder images");
    }
    if (!description.file.empty()) {
        truth.files.push_back(description.file);
    }
    truth.dataset.categories = categoriesFor(std::move(description.categories), truth.labels);
    return truth;
}

void placeLabels(const std::vector<YoloLabel>& labels, const Dataset& dataset, cv::Size size,
                 TruthPicture& picture) {
    picture.size = size;
    const auto inPixels = [&](cv::Point2d point) {
        return cv::Point2d(point.x * size.width, point.y * size.height);
    };
    for (const YoloLabel& label : labels) {
        TruthObject object;
        const auto category =
            std::find_if(dataset.categories.begin(), dataset.categories.end(),
                         [&](const Category& candidate) { return candidate.id == label.label; });
        object.category = static_cast<std::size_t>(category - dataset.categories.begin());
        object.box = {inPixels(label.box.tl()), inPixels(label.box.br())};
        object.area = object.box.area();
        if (!label.polygon.empty()) {
            Polygon polygon;
            std::transform(label.polygon.begin(), label.polygon.end(), std::back_inserter(polygon), inPixels);
            object.mask = measured(maskOfPolygons({polygon}, size));
            object.area = static_cast<double>(object.mask->area);
        }
        picture.objects.push_back(std::move(object));
    }
}

}  // namespace brellix::app
