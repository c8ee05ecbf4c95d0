#pragma once

/// \file
/// File names for what a run writes of its sources.

#include "sources/frame.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace brellix::app {

/// \return the file name of a source's annotated copy: its own where it is a PNG or JPEG file, else with the
///         extension .png; a video's or stream's has the extension .avi.
std::string annotatedName(const FrameId& frame);

/// \return the name without an extension, for example "photo" or "camera-0".
std::string stemName(const FrameId& frame);

/// Names of which no two are alike: sources that want the same one get "name.png", "name-2.png", "name-3.png"
/// in their order.
class SourceNames {
  public:
    using Wish = std::string (*)(const FrameId& frame);

    /// \param known the sources known beforehand. None of them gets a name that another one wants.
    SourceNames(Wish wish, const std::vector<FrameId>& known);

    /// \return the source's name, the same for each of its frames.
    const std::string& of(const FrameId& frame);

    /// \return one more name for the source.
    std::string another(const FrameId& frame);

  private:
    std::string firstFree(const std::string& wanted);

    Wish wish_;
    std::map<std::string, std::string> names_;  ///< by source
    std::set<std::string> taken_;
    std::map<std::string, std::size_t> nextNumbers_;  ///< by wanted name
};

}  // namespace brellix::app
