#pragma once

/// \file
/// Standard output carries what was asked for and nothing else.

#include "files/sink.h"

namespace brellix::app {

/// Takes standard output away from everything else in the process.
///
/// The models write lines of their own to standard output. From construction on these go nowhere, or to
/// standard error after `showLibraryLines`; what the program has to say goes through `sink`. Construct it
/// first thing in `main`.
class OwnOutput {
  public:
    OwnOutput();

    Sink& sink() { return sink_; }

    void showLibraryLines();

  private:
    Sink sink_;
};

}  // namespace brellix::app
