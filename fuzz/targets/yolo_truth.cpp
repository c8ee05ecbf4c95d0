// Ground truth in YOLO's form: a description and a label file, read or refused as wrong use; labels placed on
// a picture lie in it. The input is the description up to the first zero byte, behind it the labels. Capped:
// a picture of 64 x 48.

#include "evaluation/yolo_truth.h"
#include "console/failure.h"
#include "evaluation/ground_truth.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"
#include "support/temporary_folder.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace brellix::fuzz {
namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;
// Labels may lie this share of the picture outside of it, on either side.
constexpr double kRounding = 0.02;

/// A folder with one picture, which is never read.
class DatasetFolder {
  public:
    DatasetFolder() {
        std::filesystem::create_directories(folder_.path() + "/images");
        std::filesystem::create_directories(folder_.path() + "/labels");
        static_cast<void>(folder_.write("images/a.jpg", ""));
    }

    std::string write(const std::string& description, const std::string& labels) const {
        static_cast<void>(folder_.write("labels/a.txt", labels));
        return folder_.write("data.yaml", description);
    }

  private:
    testing::TemporaryFolder folder_;
};

std::optional<app::GroundTruth> readTruth(const std::string& path) {
    try {
        return app::readGroundTruth(path);
    } catch (const app::Failure& failure) {
        require(failure.status() == app::ExitStatus::kWrongUse, "status of a refusal");
        require(failure.what()[0] != '\0', "a refusal without a word");
        return std::nullopt;
    }
}

void checkObject(const app::TruthObject& object, const app::Dataset& dataset) {
    require(object.category < dataset.categories.size(), "category");
    require(object.area >= 0.0 && object.area <= kWidth * kHeight * 2.0, "area");
    require(object.box.x >= -kWidth * (0.5 + kRounding) && object.box.br().x <= kWidth * (1.5 + kRounding),
            "box");
    if (object.mask) {
        require(object.mask->mask.size == cv::Size(kWidth, kHeight), "size of a mask");
        require(object.mask->area <= std::int64_t{kWidth} * kHeight, "area of a mask");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const DatasetFolder folder;
    const std::string content = FuzzedData(bytes, size).rest();
    const std::size_t end = content.find('\0');
    const std::string labels = end == std::string::npos ? std::string() : content.substr(end + 1);
    const std::optional<app::GroundTruth> truth = readTruth(folder.write(content.substr(0, end), labels));
    if (!truth) {
        return 0;
    }
    for (std::size_t i = 0; i < truth->labels.size(); ++i) {
        app::TruthPicture picture = truth->dataset.pictures.at(i);
        app::placeLabels(truth->labels[i], truth->dataset, {kWidth, kHeight}, picture);
        for (const app::TruthObject& object : picture.objects) {
            checkObject(object, truth->dataset);
        }
    }
    return 0;
}

}  // namespace brellix::fuzz
