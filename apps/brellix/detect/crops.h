#pragma once

/// \file
/// Each object as a picture of its own.

#include "config/class_list.h"
#include "console/console.h"
#include "files/protected_files.h"
#include "run/picture_result.h"
#include "sources/source_names.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace brellix::app {

class CropWriter : public ResultWriter {
  public:
    /// Creates `folder` where it does not exist. The classes, `files` and `console` outlive the writer.
    /// \param sources those that are known beforehand.
    /// \param files   holds the inputs, and what other options write.
    CropWriter(const std::string& folder, const std::vector<FrameId>& sources, const ClassList& classes,
               ProtectedFiles& files, Console& console);

    void write(const PictureResult& result) override;
    void finish(const RunTotals& totals) override;

  private:
    std::string folder_;
    SourceNames stems_;
    const ClassList& classes_;
    ProtectedFiles& files_;
    Console& console_;
    std::size_t written_ = 0;
    std::size_t empty_ = 0;
};

}  // namespace brellix::app
