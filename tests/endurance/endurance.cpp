#include "endurance/endurance.h"

#include "brellix/run_report.h"
#include "support/object_digest.h"

#include <algorithm>

namespace brellix::testing {

using ai_orvo::model::CvModel;
using ai_orvo::model::Object;

namespace {

// Until then pools, caches and the heap's own lists have found their size.
constexpr std::size_t kWarmUpRounds = 10;

/// What a round over the pictures gives.
class Round {
  public:
    Round(CvModel& model, const std::vector<cv::Mat>& pictures, EnduranceResult& result) {
        for (const cv::Mat& picture : pictures) {
            std::vector<Object> objects;
            model.detect(picture, objects);
            ++result.frames;
            result.failedFrames += ai_orvo::model::last_run_report().inference_status == 0 ? 0U : 1U;
            objects_ += objects.size();
            digests_.push_back(digestOf(objects));
        }
    }

    std::size_t objects() const { return objects_; }

    std::size_t differences(const Round& other) const {
        std::size_t count = 0;
        for (std::size_t i = 0; i < digests_.size(); ++i) {
            count += digests_[i] == other.digests_[i] ? 0U : 1U;
        }
        return count;
    }

    std::uint64_t digest() const {
        std::uint64_t all = 0;
        for (const std::uint64_t one : digests_) {
            all = all * 31 + one;
        }
        return all;
    }

  private:
    std::size_t objects_ = 0;
    std::vector<std::uint64_t> digests_;
};

void holdGrowth(const char* what, std::size_t from, std::size_t to, std::size_t limit,
                std::vector<std::string>& faults) {
    if (to > from && to - from > limit) {
        faults.push_back(std::string(what) + " grew by " + std::to_string(to - from) + " bytes, from " +
                         std::to_string(from) + " to " + std::to_string(to) + "; the limit is " +
                         std::to_string(limit));
    }
}

}  // namespace

EnduranceResult endure(const EnduranceCase& which, std::size_t frames) {
    EnduranceResult result;
    const auto model = which.make();
    const Round first(*model, which.pictures, result);
    result.objects = first.objects();
    result.firstDigest = first.digest();
    const std::size_t rounds = std::max(frames / which.pictures.size(), kWarmUpRounds + 1);
    for (std::size_t done = 1; done < rounds; ++done) {
        if (done == kWarmUpRounds) {
            result.start = memoryUse();
        }
        const Round round(*model, which.pictures, result);
        result.driftedFrames += round.differences(first);
        result.lastDigest = round.digest();
    }
    result.end = memoryUse();
    return result;
}

std::vector<std::string> faultsOf(const EnduranceResult& result, const EnduranceLimits& limits) {
    std::vector<std::string> faults;
    holdGrowth("resident memory", result.start.resident, result.end.resident, limits.resident, faults);
    holdGrowth("allocated memory", result.start.allocated, result.end.allocated, limits.allocated, faults);
    if (result.driftedFrames != 0) {
        faults.push_back(std::to_string(result.driftedFrames) + " of " + std::to_string(result.frames) +
                         " frames gave other objects than the first round");
    }
    if (result.failedFrames != 0) {
        faults.push_back("inference failed on " + std::to_string(result.failedFrames) + " of " +
                         std::to_string(result.frames) + " frames");
    }
    if (result.objects == 0) {
        faults.push_back("nothing was found, so that no drift could show");
    }
    return faults;
}

}  // namespace brellix::testing
