#pragma once

/// \file
/// Results for people: a table on standard output.

#include "config/class_list.h"
#include "files/sink.h"
#include "run/picture_result.h"

#include <cstddef>
#include <string>
#include <vector>

namespace brellix::app {

/// Widths of the columns that depend on the texts, known before the first row.
struct TableLayout {
    std::size_t picture;
    std::size_t name;
};

/// \param sources those that are known beforehand.
TableLayout tableLayout(const std::vector<FrameId>& sources, const ClassList& classes);

std::string tableHead(const TableLayout& layout);

/// \return one row an object, or one that says that nothing was found.
std::string tableRows(const TableLayout& layout, const PictureResult& result, const ClassList& classes);

/// \return the closing line with the counts and the mean times.
std::string tableSummary(const RunTotals& totals);

class TableWriter : public ResultWriter {
  public:
    /// `sink` and `classes` outlive the writer.
    TableWriter(Sink& sink, const ClassList& classes, const std::vector<FrameId>& sources);

    void write(const PictureResult& result) override;
    void finish(const RunTotals& totals) override;

  private:
    Sink& sink_;
    const ClassList& classes_;
    TableLayout layout_;
    bool headWritten_ = false;
};

}  // namespace brellix::app
