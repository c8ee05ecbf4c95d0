#include "check/check_table.h"

#include "console/text.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace brellix::app {
namespace {

constexpr std::size_t kVerdictWidth = 9;  // "warning" and a gap

using Row = std::vector<std::string>;

/// Columns as wide as their widest cell, two blanks apart, and no blanks at the end.
std::string aligned(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()), 0);
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    std::string text;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            text += padRight(row[i], widths[i] + 2);
        }
        text += row.back();
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}

Row tensorRow(const TensorRow& tensor) {
    const ExpectedTensor& expected = tensor.expected;
    const std::string name = tensor.found && tensor.found->name != expected.name
                                 ? expected.name + " (" + tensor.found->name + ')'
                                 : expected.name;
    return {expected.isInput ? "input" : "output",
            printable(name),
            shapeOf(expected) + ' ' + nameOf(expected.form),
            std::to_string(expected.elements),
            printable(foundText(tensor)),
            nameOf(tensor.verdict)};
}

std::string tensorTable(const TensorRows& tensors) {
    std::vector<Row> rows = {{"tensor", "name", "the model asks for", "elements", "the network has", ""}};
    for (const TensorRow& tensor : tensors) {
        rows.push_back(tensorRow(tensor));
    }
    return aligned(rows);
}

std::string findingLines(const Finding& finding, std::size_t whatWidth) {
    const std::string indent(kVerdictWidth + whatWidth, ' ');
    std::string lines = padRight(nameOf(finding.severity), kVerdictWidth) +
                        padRight(printable(finding.what), whatWidth) + printable(finding.found) + '\n';
    if (finding.severity == Severity::kOk) {
        return lines;
    }
    if (!finding.expected.empty()) {
        lines += indent + "expected: " + printable(finding.expected) + '\n';
    }
    if (!finding.fix.empty()) {
        lines += indent + "fix: " + printable(finding.fix) + '\n';
    }
    return lines + indent + "in: " + printable(finding.where) + '\n';
}

/// What needs doing comes last, where the eye is when the table has run through.
std::string findingTable(const Findings& findings) {
    std::size_t width = 0;
    for (const Finding& finding : findings) {
        width = std::max(width, displayWidth(finding.what) + 2);
    }
    std::string text;
    for (const Severity severity : {Severity::kOk, Severity::kNote, Severity::kWarning, Severity::kError}) {
        for (const Finding& finding : findings) {
            text += finding.severity == severity ? findingLines(finding, width) : "";
        }
    }
    return text;
}

std::size_t countOf(const Findings& findings, Severity severity) {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [severity](const Finding& finding) { return finding.severity == severity; }));
}

std::string answer(const CheckReport& report) {
    const std::size_t errors = countOf(report.findings, Severity::kError);
    const std::size_t warnings = countOf(report.findings, Severity::kWarning);
    std::string text = report.fits() ? "fits" : "does not fit: " + counted(errors, "error");
    if (warnings > 0) {
        text += ", " + counted(warnings, "warning");
    }
    return printable(report.configPath) + ": " + text + '\n';
}

}  // namespace

std::string checkTable(const CheckReport& report) {
    std::string table = aligned({{"configuration", printable(report.configPath)},
                                 {"network", printable(report.networkPath)},
                                 {"model", report.modelClass.empty() ? "unknown" : report.modelClass}});
    if (!report.tensors.empty()) {
        table += '\n' + tensorTable(report.tensors);
    }
    return table + '\n' + findingTable(report.findings) + '\n' + answer(report);
}

}  // namespace brellix::app
