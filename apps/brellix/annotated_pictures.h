#pragma once

/// \file
/// Results to look at: copies of the pictures with the objects drawn in.

#include "class_list.h"
#include "console.h"
#include "picture_result.h"

#include <opencv2/core.hpp>

#include <map>
#include <string>
#include <vector>

namespace brellix::app {

/// How objects are drawn.
struct Drawing {
    const ClassList& classes;
    bool withMasks;  ///< the objects come from a model that makes masks
};

/// \return a copy of the picture with the objects drawn in. Any label can be drawn: the colours repeat.
cv::Mat drawAnnotated(const PictureResult& result, const Drawing& drawing);

class AnnotatedPictureWriter : public ResultWriter {
  public:
    /// Creates `folder` where it does not exist. The classes and `console` outlive the writer.
    /// Throws `Failure` where the folder cannot be had, or holds a source that a copy would overwrite.
    AnnotatedPictureWriter(const std::string& folder, const std::vector<std::string>& sources,
                           const Drawing& drawing, Console& console);

    void write(const PictureResult& result) override;
    void finish(const RunTotals& totals) override;

  private:
    std::string folder_;
    std::map<std::string, std::string> targets_;  ///< path of the copy by path of the source
    Drawing drawing_;
    Console& console_;
};

}  // namespace brellix::app
