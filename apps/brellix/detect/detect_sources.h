#pragma once

/// \file
/// From the command line to the frames that `detect` works on.

#include "console/console.h"
#include "run_options.h"
#include "sources/frame_source.h"

#include <CLI/App.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

/// INPUT with videos and streams, and what is taken of them.
struct SourceOptions {
    InputOptions input;
    std::optional<int> camera;
    std::size_t every = 1;
    std::optional<std::size_t> limit;
};

void addSourceOptions(CLI::App& command, SourceOptions& options);

/// The frames of a run.
struct DetectSources {
    std::unique_ptr<FrameSource> frames;
    std::vector<FrameId> known;  ///< the sources that are known beforehand, in their order
    std::string noun;            ///< what their frames are counted as: "picture" or "frame"

    /// \return those of them that are files.
    std::vector<std::string> files() const;
};

/// Nothing is opened yet. Throws `Failure` where an input gives nothing, and where a camera is missing.
DetectSources loadSources(const SourceOptions& options, Console& console);

}  // namespace brellix::app
