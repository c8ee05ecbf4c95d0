#include "check_fixture.h"

namespace brellix::testing {
namespace {

using nlohmann::json;

class CheckCalibration : public CheckTest {
  protected:
    /// All ten outputs, with this entry for "output2".
    void calibrateSegmentation(const std::string& coefficients) const {
        std::string text = "schema: 1\ntensors:\n";
        for (const std::string name :
             {"output0", "output1", "output3", "output4", "output6", "output7", "proto"}) {
            text += "  \"" + name + "\": {min: -1, max: 8}\n";
        }
        for (const std::string name : {"output5", "output8"}) {
            text += "  \"" + name + "\": {min: -1, max: 8, symmetric: true}\n";
        }
        writeText("seg.onnx.calibration.yaml", text + "  \"output2\": " + coefficients + '\n');
    }
};

TEST_F(CheckCalibration, OneThatCoversTheOutputsPasses) {
    calibrateSegmentation("{min: -1, max: 8, symmetric: true}");
    expectFinding(report("seg8.yaml"), "calibration", "ok", {"covers the outputs"});
}

TEST_F(CheckCalibration, WhatTheCommandWritesPasses) {
    ASSERT_EQ(run({"calibrate", "cut.yaml", "a.png", "--quiet"}).status, 0);
    ASSERT_EQ(run({"calibrate", "seg8.yaml", "a.png", "--quiet"}).status, 0);
    for (const char* config : {"cut.yaml", "seg8.yaml"}) {
        expectFinding(report(config), "calibration", "ok", {"covers the outputs"});
    }
}

TEST_F(CheckCalibration, MaskCoefficientsMustBeSymmetric) {
    calibrateSegmentation("{min: -1, max: 8}");
    bool isNamed = false;
    const json answer = report("seg8.yaml");
    for (const json& candidate : answer["findings"]) {
        isNamed =
            isNamed || (candidate["severity"] == "error" && candidate["what"] == "calibration" &&
                        candidate["found"] == "the mask coefficients output2 have the zero point -100" &&
                        candidate["fix"] == "run: brellix calibrate seg8.yaml PICTURES --force");
    }
    EXPECT_TRUE(isNamed) << answer.dump(1);
    EXPECT_EQ(run({"detect", "seg8.yaml", "a.png"}).status, 2);
}

TEST_F(CheckCalibration, UncoveredOutputIsAWarning) {
    writeText("cut.onnx.calibration.yaml",
              "schema: 1\ntensors:\n  \"/model.24/m.0/Conv_output_0\": {min: -1, max: 8}\n");
    const json answer = report("cut.yaml");
    EXPECT_EQ(answer["fits"], true);
    expectFinding(answer, "calibration", "warning",
                  {"/model.24/m.1/Conv_output_0, /model.24/m.2/Conv_output_0", "--force"});
}

TEST_F(CheckCalibration, ForeignOrDamagedOneDoesNotFit) {
    writeText("cut.onnx.calibration.yaml", "schema: 1\ntensors:\n  \"other\": {min: -1, max: 8}\n");
    expectFinding(report("cut.yaml"), "calibration", "error", {"names tensor 'other'", "--force"});
    writeText("cut.onnx.calibration.yaml", "damaged");
    expectFinding(report("cut.yaml"), "calibration", "error", {"cut.onnx.calibration.yaml"});
    // The engine refuses it for a model without 8-bit outputs, too.
    writeText("network.onnx.calibration.yaml", "damaged");
    expectFinding(report("model.yaml"), "calibration", "error");
}

TEST_F(CheckCalibration, MissingOneIsANoteWhereBytesAreRead) {
    expectFinding(report("seg8.yaml"), "calibration", "note",
                  {"none", "brellix calibrate seg8.yaml PICTURES"});
    EXPECT_EQ(finding(report("seg.yaml"), "calibration"), json());
    calibrateSegmentation("{min: -1, max: 8, symmetric: true}");
    expectFinding(report("seg.yaml"), "calibration", "note", {"not used"});
}

}  // namespace
}  // namespace brellix::testing
