#include "detect/detect_sources.h"

#include "console/failure.h"
#include "files/file_kind.h"
#include "files/inputs.h"
#include "option_values.h"
#include "sources/camera.h"
#include "sources/picture_files.h"
#include "sources/source_queue.h"
#include "sources/standard_input.h"
#include "sources/video_file.h"

#include <algorithm>
#include <utility>

namespace brellix::app {
namespace {

/// Gathers sources in their order.
class SourceList {
  public:
    void add(const std::string& input) {
        if (input == kStandardInput) {
            addSource(std::make_unique<StandardInput>());
        } else if (const std::optional<int> camera = cameraNumber(input)) {
            addCamera(*camera);
        } else if (isVideoFile(input)) {
            addSource(std::make_unique<VideoFile>(input));
        } else {
            pictures_.push_back(input);
            known_.push_back({input, FrameOrigin::kPicture, 0, std::nullopt, 0.0});
        }
    }

    void addCamera(int number) {
        requireCamera(number);
        auto camera = std::make_unique<Camera>(number);
        // It may be an input and that of --camera, too.
        if (!isKnown(camera->id())) {
            addSource(std::move(camera));
        }
    }

    DetectSources finish(std::size_t every) {
        const bool arePictures = sources_.empty();
        endPictures();
        return {std::make_unique<SourceQueue>(std::move(sources_), every), std::move(known_),
                arePictures ? "picture" : "frame"};
    }

  private:
    bool isKnown(const FrameId& wanted) const {
        return std::any_of(known_.begin(), known_.end(), [&wanted](const FrameId& id) {
            return id.source == wanted.source && id.origin == wanted.origin;
        });
    }

    void addSource(std::unique_ptr<FrameSource> source) {
        endPictures();
        known_.push_back(source->id());
        sources_.push_back(std::move(source));
    }

    void endPictures() {
        if (!pictures_.empty()) {
            sources_.push_back(std::make_unique<PictureFiles>(std::exchange(pictures_, {})));
        }
    }

    std::vector<std::string> pictures_;  ///< that no other source has followed yet
    std::vector<std::unique_ptr<FrameSource>> sources_;
    std::vector<FrameId> known_;
};

void requireSources(const SourceOptions& options) {
    const std::vector<std::string>& inputs = options.input.inputs;
    if (inputs.empty() && !options.camera) {
        throw wrongUse("INPUT is required, or --camera; brellix detect --help tells more");
    }
    if (std::count(inputs.begin(), inputs.end(), kStandardInput) > 1) {
        throw wrongUse("input -: standard input can be read only once");
    }
}

}  // namespace

void addSourceOptions(CLI::App& command, SourceOptions& options) {
    addInputOptions(command, options.input)
        ->required(false)
        ->description("Pictures, videos, folders, quoted patterns, /dev/videoN, or - for standard input");
    command.add_option("--camera", options.camera, "Take the frames of camera N, after those of INPUT")
        ->type_name("N")
        ->transform(wholeNumber(0, 9999));
    command
        .add_option("--every", options.every,
                    "Of each video or stream, and of pictures in a row, take the first and then every Nth")
        ->type_name("N")
        ->transform(wholeNumber(1));
    command.add_option("--limit", options.limit, "Stop when N pictures or frames are processed")
        ->type_name("N")
        ->transform(wholeNumber(1));
}

std::vector<std::string> DetectSources::files() const {
    std::vector<std::string> paths;
    for (const FrameId& source : known) {
        if (source.origin != FrameOrigin::kLive) {
            paths.push_back(source.source);
        }
    }
    return paths;
}

DetectSources loadSources(const SourceOptions& options, Console& console) {
    requireSources(options);
    SourceList list;
    for (const std::string& input : loadInputs(options.input, console, Accepted::kStreams)) {
        list.add(input);
    }
    if (options.camera) {
        list.addCamera(*options.camera);
    }
    return list.finish(options.every);
}

}  // namespace brellix::app
