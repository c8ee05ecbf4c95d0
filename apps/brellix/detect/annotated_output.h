#pragma once

/// \file
/// Results to look at: copies of the pictures and videos with the objects drawn in.

#include "console/console.h"
#include "detect/annotated_video.h"
#include "files/protected_files.h"
#include "run/annotated_picture.h"
#include "run/picture_result.h"
#include "sources/source_names.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

/// Writes a picture file for each picture, and one video for all frames of a video or stream; where the size
/// of its frames changes, another one begins.
class AnnotatedWriter : public ResultWriter {
  public:
    /// Creates `folder` where it does not exist. The classes, `files` and `console` outlive the writer.
    /// Throws `Failure` where the folder cannot be had, or holds a file that a copy would overwrite.
    /// \param sources those that are known beforehand.
    /// \param files   holds the inputs and gets the copies.
    AnnotatedWriter(const std::string& folder, const std::vector<FrameId>& sources, const Drawing& drawing,
                    ProtectedFiles& files, Console& console);

    void write(const PictureResult& result) override;
    void finish(const RunTotals& totals) override;

  private:
    std::string pathOf(const std::string& name) const;
    void writePicture(const PictureResult& result, const std::string& path);
    void writeVideoFrame(const PictureResult& result);
    void beginVideo(const PictureResult& result);
    void closeVideo();

    std::string folder_;
    SourceNames names_;
    ProtectedFiles& files_;
    Drawing drawing_;
    Console& console_;
    std::optional<AnnotatedVideo> video_;
    std::string videoSource_;  ///< of the open video
    std::size_t pictures_ = 0;
    std::size_t videos_ = 0;
};

}  // namespace brellix::app
