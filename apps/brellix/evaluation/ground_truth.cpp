#include "evaluation/ground_truth.h"

#include "console/failure.h"
#include "evaluation/coco_truth.h"
#include "evaluation/yolo_truth.h"

#include <algorithm>
#include <filesystem>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

bool isYoloTruth(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored) || path.extension() == ".yaml" || path.extension() == ".yml";
}

}  // namespace

GroundTruth readGroundTruth(const std::string& path) {
    return isYoloTruth(path) ? readYoloTruth(path) : GroundTruth{readCocoTruth(path), {}, {path}};
}

void keepFirst(std::size_t count, GroundTruth& truth) {
    truth.dataset.pictures.resize(std::min(count, truth.dataset.pictures.size()));
    truth.labels.resize(std::min(count, truth.labels.size()));
}

}  // namespace brellix::app
