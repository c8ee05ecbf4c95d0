// Average precision of any detections on any truth: boxes and scores that are no numbers, crowds, areas
// beside the boxes, masks. Every figure is a share. Capped: 4 pictures of 40 x 40, 12 objects and 12
// detections each.

#include "evaluation/evaluation.h"
#include "support/fuzzed_data.h"
#include "support/random.h"
#include "support/require.h"
#include "support/target.h"

#include <optional>
#include <string>

namespace brellix::fuzz {
namespace {

constexpr int kSide = 40;

cv::Rect2d boxFrom(FuzzedData& data) {
    const double x = static_cast<double>(data.oddNumber(0.0F, 40.0F));
    const double y = static_cast<double>(data.oddNumber(0.0F, 40.0F));
    const double width = static_cast<double>(data.oddNumber(0.0F, 30.0F));
    return {x, y, width, static_cast<double>(data.oddNumber(0.0F, 30.0F))};
}

app::MeasuredMask maskFrom(FuzzedData& data) {
    cv::Mat mask = cv::Mat::zeros(kSide, kSide, CV_8U);
    const cv::Rect patch{data.integer(0, 39), data.integer(0, 39), data.integer(0, 40), data.integer(0, 40)};
    mask(patch & cv::Rect(0, 0, kSide, kSide)).setTo(255);
    return app::measured(app::runLengthsOf(mask));
}

app::TruthPicture truthFrom(FuzzedData& data, int id) {
    app::TruthPicture picture{id, std::to_string(id), {kSide, kSide}, {}};
    for (int i = data.integer(0, 12); i > 0; --i) {
        app::TruthObject object;
        object.category = static_cast<std::size_t>(data.integer(0, 1));
        object.box = boxFrom(data);
        object.area = static_cast<double>(data.oddNumber(0.0F, 12000.0F));
        object.isCrowd = data.byte() >= 224;
        object.mask = maskFrom(data);
        picture.objects.push_back(object);
    }
    return picture;
}

std::vector<app::Detection> detectionsFrom(FuzzedData& data, const app::TruthPicture& truth) {
    std::vector<app::Detection> detections(static_cast<std::size_t>(data.integer(0, 12)));
    for (app::Detection& detection : detections) {
        detection.category = static_cast<std::size_t>(data.integer(0, 1));
        const std::uint8_t hit = data.byte();
        const bool isHit = hit < truth.objects.size();
        detection.box = isHit ? truth.objects[hit].box : boxFrom(data);
        detection.mask = isHit ? truth.objects[hit].mask : maskFrom(data);
        detection.score = static_cast<double>(data.oddNumber(0.0F, 1.0F));
    }
    return detections;
}

void checkShare(const std::optional<double>& value, const char* name) {
    require(!value || (*value >= 0.0 && *value <= 1.0 + 1e-9), std::string(name) + " is no share");
}

void check(const app::Evaluation& evaluation) {
    for (const app::NamedFigure& figure : app::kFigures) {
        checkShare(evaluation.mean.*figure.member, figure.name);
        for (const app::CategoryFigures& category : evaluation.categories) {
            checkShare(category.figures.*figure.member, figure.name);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    app::Dataset dataset;
    dataset.categories = {{0, "disc", {}, true}, {1, "cube", {}, true}};
    app::Detections detections;
    for (int id = data.integer(1, 4); id > 0; --id) {
        dataset.pictures.push_back(truthFrom(data, id));
        detections.push_back(detectionsFrom(data, dataset.pictures.back()));
    }
    check(app::evaluate(dataset, detections, app::Shape::kBox));
    check(app::evaluate(dataset, detections, app::Shape::kMask));
    return 0;
}

}  // namespace brellix::fuzz
