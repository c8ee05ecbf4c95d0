#include "eval/eval_run.h"

#include "config/model_factory.h"
#include "console/text.h"
#include "evaluation/yolo_truth.h"
#include "files/broken_picture.h"
#include "run/detect_picture.h"
#include "run/finite_objects.h"
#include "sources/picture_loop.h"

#include <map>
#include <utility>

namespace brellix::app {
namespace {

using ai_orvo::model::Object;

// Where a picture cannot be read nobody knows how large its objects are; they are missed in any size.
constexpr int kSizeOfUnreadPicture = 640;

/// Run lengths have a size of their own, which is all that there is where the dataset does not say the
/// picture's.
void requireSize(const TruthPicture& truth, cv::Size found) {
    const std::string cause = "the picture has " + sizeText(found.width, found.height) + " pixels, and ";
    const std::string effect = ": its objects would be at other places";
    if (!truth.size.empty() && truth.size != found) {
        throw BrokenPicture(cause + "the dataset says " + sizeText(truth.size.width, truth.size.height) +
                            effect);
    }
    for (const TruthObject& object : truth.objects) {
        if (object.mask && object.mask->mask.size != found) {
            const cv::Size size = object.mask->mask.size;
            throw BrokenPicture(cause + "a mask of the dataset has " + sizeText(size.width, size.height) +
                                effect);
        }
    }
}

/// Runs one model over one dataset.
class Evaluator {
  public:
    Evaluator(EvalJob& job, ai_orvo::model::CvModel& model) : job_(job), model_(model) {
        run_.detections.resize(job.sources.size());
        for (std::size_t i = 0; i < job.sources.size(); ++i) {
            indexOf_[job.sources[i]] = i;
        }
    }

    void detect(const std::string& source, const cv::Mat& picture) {
        const std::size_t index = indexOf_.at(source);
        requireSize(job_.truth.dataset.pictures[index], picture.size());
        place(index, picture.size());
        const PictureResult result = detectOn(picture, source, model_);
        requireNumbers(result.objects);
        std::vector<Detection> detections;
        for (const Object& object : result.objects) {
            add(object, detections);
        }
        run_.detections[index] = std::move(detections);
    }

    EvalRun finish(std::size_t failed) {
        for (std::size_t i = 0; i < job_.truth.labels.size(); ++i) {
            place(i, {kSizeOfUnreadPicture, kSizeOfUnreadPicture});
        }
        run_.failed = failed;
        return std::move(run_);
    }

  private:
    void place(std::size_t index, cv::Size size) {
        Dataset& dataset = job_.truth.dataset;
        if (!job_.truth.labels.empty() && dataset.pictures[index].size.empty()) {
            placeLabels(job_.truth.labels[index], dataset, size, dataset.pictures[index]);
        }
    }

    void add(const Object& object, std::vector<Detection>& detections) {
        const auto category = job_.mapping.find(object.label);
        if (category == job_.mapping.end()) {
            ++run_.withoutCategory;
            return;
        }
        Detection detection{category->second, cv::Rect2d(object.rect), static_cast<double>(object.prob), {}};
        if (job_.makesMasks()) {
            detection.mask = measured(runLengthsOf(object.mask));
        }
        detections.push_back(std::move(detection));
    }

    EvalJob& job_;
    ai_orvo::model::CvModel& model_;
    std::map<std::string, std::size_t> indexOf_;
    EvalRun run_;
};

EvalRun detectAll(EvalJob& job, Console& console) {
    const auto model = buildModel(job.config);
    Evaluator evaluator(job, *model);
    const std::size_t failed = overPictures(
        job.sources, job.config.inputSize, console,
        [&](const std::string& source, const cv::Mat& picture) { evaluator.detect(source, picture); });
    return evaluator.finish(failed);
}

std::vector<CategoryName> categoryNames(const EvalJob& job) {
    std::vector<CategoryName> names;
    for (const Category& category : job.dataset().categories) {
        names.push_back({category.name, -1});
    }
    for (const auto& [label, category] : job.mapping) {
        names[category].label = label;
        if (names[category].name.empty()) {
            names[category].name = job.classes.nameOf(label);
        }
    }
    return names;
}

bool canMeasureMasks(const EvalJob& job, Console& console) {
    if (!job.makesMasks()) {
        return false;
    }
    if (!hasMasks(job.dataset())) {
        console.note(job.dataset().path + ": not every object has a mask, so masks are not measured");
        return false;
    }
    return true;
}

}  // namespace

EvalResult runEvaluation(EvalJob& job, Console& console) {
    EvalResult result;
    result.run = detectAll(job, console);
    if (result.run.withoutCategory > 0) {
        console.note(counted(result.run.withoutCategory, "detection") +
                     " of classes that the dataset does not have, not counted");
    }
    result.boxes = evaluate(job.dataset(), result.run.detections, Shape::kBox);
    if (canMeasureMasks(job, console)) {
        result.masks = evaluate(job.dataset(), result.run.detections, Shape::kMask);
    }
    result.names = categoryNames(job);
    return result;
}

}  // namespace brellix::app
