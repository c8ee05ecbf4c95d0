// Ground truth in COCO's form: read, or refused as wrong use; what was read is evaluated against itself,
// where every figure is a share. Capped: 64 objects evaluated.

#include "evaluation/coco_truth.h"
#include "console/failure.h"
#include "evaluation/evaluation.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"
#include "support/temporary_folder.h"

#include <cstddef>
#include <optional>
#include <string>

namespace brellix::fuzz {
namespace {

constexpr std::size_t kMostEvaluated = 64;

std::optional<app::Dataset> readFile(const std::string& path) {
    try {
        return app::readCocoTruth(path);
    } catch (const app::Failure& failure) {
        require(failure.status() == app::ExitStatus::kWrongUse, "status of a refusal");
        require(std::string(failure.what()).find("truth.json") != std::string::npos,
                "a refusal names the file");
        return std::nullopt;
    }
}

/// The truth as detections of falling score.
app::Detections detectionsOf(const app::Dataset& dataset) {
    app::Detections detections;
    double score = 1.0;
    for (const app::TruthPicture& picture : dataset.pictures) {
        detections.emplace_back();
        for (const app::TruthObject& object : picture.objects) {
            detections.back().push_back({object.category, object.box, score, object.mask});
            score *= 0.9;
        }
    }
    return detections;
}

void checkFigures(const app::Figures& figures) {
    for (const app::NamedFigure& figure : app::kFigures) {
        const std::optional<double> value = figures.*figure.member;
        require(!value || (*value >= 0.0 && *value <= 1.0 + 1e-9), std::string(figure.name) + " is no share");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const testing::TemporaryFolder folder;
    const std::string path = folder.write("truth.json", FuzzedData(bytes, size).rest());
    const std::optional<app::Dataset> dataset = readFile(path);
    if (!dataset || app::objectsIn(*dataset) > kMostEvaluated) {
        return 0;
    }
    const app::Detections detections = detectionsOf(*dataset);
    checkFigures(app::evaluate(*dataset, detections, app::Shape::kBox).mean);
    if (app::hasMasks(*dataset)) {
        checkFigures(app::evaluate(*dataset, detections, app::Shape::kMask).mean);
    }
    return 0;
}

}  // namespace brellix::fuzz
