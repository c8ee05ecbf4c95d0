#include "compare/compare_run.h"

#include "compare/difference_text.h"
#include "compare/side_by_side.h"
#include "config/model_factory.h"
#include "console/text.h"
#include "files/broken_picture.h"
#include "run/detect_picture.h"
#include "run/finite_objects.h"
#include "sources/frame_loop.h"
#include "sources/picture_loop.h"

#include <exception>
#include <filesystem>
#include <memory>
#include <utility>

namespace brellix::app {
namespace {

/// One of the two models, with its latest outputs and the bytes of the 8-bit ones.
class Side {
  public:
    explicit Side(const ModelConfig& config)
        : config_(config),
          model_(
              buildModel(config, [this](const ai_orvo::model::TensorMap& outputs) { latest_ = outputs; })) {}

    /// Throws `BrokenPicture` that names the side's configuration.
    PictureResult detect(const std::string& source, const cv::Mat& picture) {
        try {
            PictureResult result = detectOn(picture, source, *model_);
            requireNumbers(result.objects);
            return result;
        } catch (const cv::Exception& error) {
            throw broken(whyOpenCvThrew(error, picture.size(), config_.inputSize));
        } catch (const std::exception& error) {
            throw broken(error.what());
        }
    }

    /// Counts the outputs of the latest picture in, on which the other side has run, too.
    void keepBytes(const Side& other) { addCounts(countBytes(latest_, other.latest_), bytes_); }

    /// Gives the outputs back to the model, which writes into the same memory again if nobody else holds it.
    void releaseOutputs() { latest_.clear(); }

    const ByteCounts& bytes() const { return bytes_; }

    SideOfPicture describe(const PictureResult& result, char letter, const ClassList& classes) const {
        return {result,
                {classes, traitsOf(config_.modelClass).makesMasks},
                std::string(1, letter) + ": " + std::filesystem::path(config_.path).filename().string() +
                    ", " + counted(result.objects.size(), "object")};
    }

  private:
    BrokenPicture broken(const std::string& reason) const {
        return BrokenPicture(config_.path + ": " + reason);
    }

    const ModelConfig& config_;
    ai_orvo::model::TensorMap latest_;
    ByteCounts bytes_;
    std::unique_ptr<ai_orvo::model::CvModel> model_;
};

}  // namespace

CompareResult runComparison(const CompareJob& job, Console& console) {
    Side a(job.a);
    Side b(job.b);
    CompareResult result;
    WorstPictures worst(job.worstCount);
    const auto task = [&](const std::string& source, const cv::Mat& picture) {
        const PictureResult inA = a.detect(source, picture);
        const PictureResult inB = b.detect(source, picture);
        a.keepBytes(b);
        b.keepBytes(a);
        a.releaseOutputs();
        b.releaseOutputs();
        const PictureComparison comparison = comparePicture(source, inA.objects, inB.objects, job.rules);
        result.comparison.add(comparison);
        worst.offer(comparison.severity(), [&] {
            WorstPicture kept{
                source, comparison.severity(), describeDifferences(comparison, job.classes), {}};
            if (job.drawsWorst) {
                kept.drawing = drawSideBySide(a.describe(inA, 'A', job.classes),
                                              b.describe(inB, 'B', job.classes), comparison, job.classes);
            }
            return kept;
        });
    };
    result.failed = overPictures(job.sources, job.a.inputSize, console, task);
    result.bytesA = a.bytes();
    result.bytesB = b.bytes();
    result.worst = worst.pictures();
    return result;
}

}  // namespace brellix::app
