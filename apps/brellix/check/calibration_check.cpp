#include "check/calibration_check.h"

#include "console/shell_quote.h"
#include "console/text.h"
#include "network/calibration_rules.h"

#include <graph/engine_network.h>
#include <refusal.h>

#include <filesystem>
#include <optional>
#include <string>

namespace brellix::app {
namespace {

namespace engine = ai_orvo::alg::common;

/// The file of one network, judged for one configuration.
class CalibrationJudge {
  public:
    CalibrationJudge(const CheckedConfig& checked, Findings& findings)
        : checked_(checked), path_(engine::calibrationPath(checked.network.path)), findings_(findings) {}

    void judge(const TensorRows& rows) {
        std::error_code ignored;
        const bool exists = std::filesystem::exists(path_, ignored);
        if (!read()) {
            return;
        }
        if (!readsBytes(rows)) {
            if (exists) {
                add(Severity::kNote, "not used: the model reads its outputs as float32");
            }
            return;
        }
        judgeCoefficients(rows);
        if (exists) {
            judgeCoverage(rows);
        } else if (!allFromGraph(rows)) {
            add(Severity::kNote, "none: each picture gets a grid of its own, which no board does", "",
                calibrateCommand(""));
        }
    }

  private:
    static bool readsBytes(const TensorRows& rows) {
        return !rows.empty() && rows.back().expected.form == TensorForm::kInt8;
    }

    /// \return whether the engine takes the file, or does without it.
    bool read() {
        try {
            calibration_ = engine::readCalibration(path_);
            const engine::EngineNetwork fits(checked_.network.path, checked_.network.description,
                                             calibration_);
            return true;
        } catch (const engine::Refusal& refusal) {
            add(Severity::kError, refusal.what(), "a calibration of this network",
                calibrateCommand(" --force"));
            return false;
        }
    }

    bool allFromGraph(const TensorRows& rows) const {
        for (const TensorRow& row : rows) {
            if (!row.expected.isInput && row.found && !row.found->grid) {
                return false;
            }
        }
        return true;
    }

    std::optional<engine::AffineGrid> fixedGrid(const TensorRow& row) const {
        if (!row.found || row.found->grid) {
            return row.found ? row.found->grid : std::nullopt;
        }
        const auto entry = calibration_.find(row.found->name);
        return entry == calibration_.end() ? std::nullopt
                                           : std::optional(engine::calibratedGrid(entry->second));
    }

    void judgeCoverage(const TensorRows& rows) {
        std::vector<std::string> uncovered;
        for (const TensorRow& row : rows) {
            if (!row.expected.isInput && row.found && !fixedGrid(row)) {
                uncovered.push_back(row.found->name);
            }
        }
        if (uncovered.empty()) {
            add(Severity::kOk, "covers the outputs");
        } else {
            add(Severity::kWarning, "does not cover " + joined(uncovered), "an entry for each output",
                calibrateCommand(" --force"));
        }
    }

    void judgeCoefficients(const TensorRows& rows) {
        for (const TensorRow& row : rows) {
            const std::optional<engine::AffineGrid> grid = fixedGrid(row);
            if (!row.expected.isInput &&
                holdsMaskCoefficients(checked_.config.modelClass, row.expected.name) && grid &&
                grid->zeroPoint != 0) {
                addSkewed(row, *grid);
            }
        }
    }

    void addSkewed(const TensorRow& row, const engine::AffineGrid& grid) {
        const bool isFromGraph = row.found->grid.has_value();
        add(Severity::kError,
            "the mask coefficients " + row.expected.name + " have the zero point " +
                std::to_string(grid.zeroPoint),
            "0 (symmetric): taken off in 8 bits another one wraps the largest values around",
            isFromGraph ? "quantise the network with a symmetric grid for this output"
                        : calibrateCommand(" --force"));
    }

    std::string calibrateCommand(const char* option) const {
        return "run: brellix calibrate " + shellQuotedPath(checked_.config.path) + " PICTURES" + option;
    }

    void add(Severity severity, const std::string& found, const std::string& expected = "",
             const std::string& fix = "") {
        findings_.push_back({severity, "calibration", path_, found, expected, fix});
    }

    const CheckedConfig& checked_;
    std::string path_;
    Findings& findings_;
    engine::Calibration calibration_;
};

}  // namespace

void judgeCalibration(const CheckedConfig& checked, const TensorRows& rows, Findings& findings) {
    CalibrationJudge(checked, findings).judge(rows);
}

}  // namespace brellix::app
