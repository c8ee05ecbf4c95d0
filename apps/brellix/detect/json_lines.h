#pragma once

/// \file
/// Results for machines: one JSON object a line, described in docs/command-line.md.

#include "config/class_list.h"
#include "files/sink.h"
#include "run/picture_result.h"

#include <string>

namespace brellix::app {

/// How masks are written.
enum class MaskFormat { kRunLengths, kPolygons, kNone };

/// \return the line for one picture, with its line end.
std::string jsonLine(const PictureResult& result, const ClassList& classes, MaskFormat masks);

class JsonLinesWriter : public ResultWriter {
  public:
    /// `sink` and `classes` outlive the writer.
    JsonLinesWriter(Sink& sink, const ClassList& classes, MaskFormat masks)
        : sink_(sink), classes_(classes), masks_(masks) {}

    void write(const PictureResult& result) override { sink_.write(jsonLine(result, classes_, masks_)); }
    void finish(const RunTotals& totals) override;

  private:
    Sink& sink_;
    const ClassList& classes_;
    MaskFormat masks_;
};

}  // namespace brellix::app
