#include "evaluation/coco_truth.h"

#include "console/failure.h"
#include "console/text.h"
#include "evaluation/coco_segmentation.h"
#include "evaluation/json_entry.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <utility>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

using nlohmann::json;

/// Positions by id.
using Index = std::map<std::int64_t, std::size_t>;

template <typename Element>
void sortById(std::vector<Element>& elements) {
    std::sort(elements.begin(), elements.end(),
              [](const Element& a, const Element& b) { return a.id < b.id; });
}

template <typename Element>
Index indexOf(const std::vector<Element>& elements) {
    Index index;
    for (const Element& element : elements) {
        index.emplace(element.id, index.size());
    }
    return index;
}

/// Throws `Failure` for an id that another entry has.
std::int64_t readNewId(const JsonEntry& entry, std::set<std::int64_t>& taken) {
    const std::int64_t id = entry.integer("id");
    if (!taken.insert(id).second) {
        entry.refuse("id", "one that no other entry has");
    }
    return id;
}

std::vector<Category> readCategories(const std::string& path, const json& document) {
    std::vector<Category> categories;
    std::set<std::int64_t> ids;
    std::set<std::string> names;
    forEachEntry(path, document, "categories", [&](const JsonEntry& entry) {
        Category category;
        category.id = readNewId(entry, ids);
        if (entry.has("name")) {
            category.name = entry.text("name");
            if (!names.insert(category.name).second) {
                entry.refuse("name", "a name that no other category has");
            }
        }
        categories.push_back(std::move(category));
    });
    sortById(categories);
    return categories;
}

int readSide(const JsonEntry& entry, const char* key) {
    const std::int64_t side = entry.integer(key);
    if (side < 1 || side > kLongestSide) {
        entry.refuse(key, "1 to " + std::to_string(kLongestSide) + " pixels");
    }
    return static_cast<int>(side);
}

cv::Size readPictureSize(const JsonEntry& entry) {
    if (!entry.has("width") && !entry.has("height")) {
        return {};
    }
    const cv::Size size(readSide(entry, "width"), readSide(entry, "height"));
    if (std::int64_t{size.width} * size.height > kMostPixels) {
        entry.refuse("a picture of " + sizeText(size.width, size.height) + " pixels is too large");
    }
    return size;
}

std::vector<TruthPicture> readPictures(const std::string& path, const json& document) {
    std::vector<TruthPicture> pictures;
    std::set<std::int64_t> ids;
    std::set<std::string> files;
    forEachEntry(path, document, "images", [&](const JsonEntry& entry) {
        TruthPicture picture;
        picture.id = readNewId(entry, ids);
        picture.file = entry.text("file_name");
        picture.size = readPictureSize(entry);
        // Two spellings of one path would be one picture with the objects of one of them.
        if (!files.insert(fs::path(picture.file).lexically_normal().string()).second) {
            entry.refuse("file_name", "a picture that no other entry has");
        }
        pictures.push_back(std::move(picture));
    });
    sortById(pictures);
    return pictures;
}

cv::Rect2d readBox(const JsonEntry& annotation) {
    const std::vector<double> box = annotation.numbers("bbox");
    if (box.size() != 4 || box[2] < 0.0 || box[3] < 0.0) {
        annotation.refuse("bbox", "x, y, width and height in pixels, the latter two not negative");
    }
    return {box[0], box[1], box[2], box[3]};
}

bool readCrowd(const JsonEntry& annotation) {
    if (!annotation.has("iscrowd")) {
        return false;
    }
    const json& value = annotation.at("iscrowd");
    if (value.is_boolean()) {
        return value.get<bool>();
    }
    const bool isOne = value == 1;
    if (!isOne && value != 0) {
        annotation.refuse("iscrowd", "0 or 1");
    }
    return isOne;
}

double readArea(const JsonEntry& annotation, const TruthObject& object) {
    if (!annotation.has("area")) {
        return object.mask ? static_cast<double>(object.mask->area) : object.box.area();
    }
    const double area = annotation.number("area");
    if (area < 0.0) {
        annotation.refuse("area", "square pixels, not negative");
    }
    return area;
}

std::size_t find(const JsonEntry& annotation, const char* key, const Index& index, const char* array) {
    const auto found = index.find(annotation.integer(key));
    if (found == index.end()) {
        annotation.refuse(key, std::string("the id of one of \"") + array + '"');
    }
    return found->second;
}

TruthObject readObject(const JsonEntry& annotation, const Index& categories, cv::Size picture) {
    TruthObject object;
    object.category = find(annotation, "category_id", categories, "categories");
    object.box = readBox(annotation);
    object.isCrowd = readCrowd(annotation);
    object.mask = readSegmentation(annotation, picture);
    object.area = readArea(annotation, object);
    return object;
}

void readAnnotations(const json& document, Dataset& dataset) {
    const Index categories = indexOf(dataset.categories);
    const Index pictures = indexOf(dataset.pictures);
    forEachEntry(dataset.path, document, "annotations", [&](const JsonEntry& annotation) {
        TruthPicture& picture = dataset.pictures[find(annotation, "image_id", pictures, "images")];
        picture.objects.push_back(readObject(annotation, categories, picture.size));
        dataset.categories[picture.objects.back().category].isUsed = true;
    });
}

}  // namespace

Dataset readCocoTruth(const std::string& path) {
    const json document = readJsonFile(path, "dataset");
    Dataset dataset;
    dataset.path = path;
    dataset.categories = readCategories(path, document);
    dataset.pictures = readPictures(path, document);
    readAnnotations(document, dataset);
    if (dataset.pictures.empty()) {
        throw wrongUse(path + ": \"images\" is empty: there is nothing to evaluate");
    }
    return dataset;
}

}  // namespace brellix::app
