#pragma once

/// \file
/// One model over very many frames: whether its memory grows and its results drift.

#include "brellix/cv_model.h"
#include "endurance/resident_memory.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace brellix::testing {

/// A model, and the pictures that it is given in turn.
struct EnduranceCase {
    std::string name;
    std::function<std::unique_ptr<ai_orvo::model::CvModel>()> make;
    std::vector<cv::Mat> pictures;
};

struct EnduranceResult {
    std::size_t frames = 0;
    std::size_t objects = 0;        ///< found on all pictures, each once
    MemoryUse start{};              ///< after some rounds over the pictures
    MemoryUse end{};                ///< after the last frame
    std::uint64_t firstDigest = 0;  ///< of what was found on the first round over the pictures
    std::uint64_t lastDigest = 0;   ///< of what was found on the last one
    std::size_t driftedFrames = 0;  ///< frames whose objects are not those of the first round
    std::size_t failedFrames = 0;   ///< frames whose inference failed
};

/// Runs about `frames` frames, whole rounds over the pictures.
EnduranceResult endure(const EnduranceCase& which, std::size_t frames);

/// By how many bytes memory may grow from start to end.
struct EnduranceLimits {
    /// A block of 16 bytes lost with each of 100,000 frames is 1.5 MiB; heaps and kernels round to less than
    /// this.
    std::size_t resident = std::size_t{1024} * 1024;
    /// What is allocated is known to the byte; the standard library may keep a little more or less between
    /// frames.
    std::size_t allocated = std::size_t{16} * 1024;
};

/// \return what is wrong with a result, one sentence each; nothing for a good one.
std::vector<std::string> faultsOf(const EnduranceResult& result, const EnduranceLimits& limits = {});

}  // namespace brellix::testing
