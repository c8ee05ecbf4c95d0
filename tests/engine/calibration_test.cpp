// The calibration file, read and written.

#include "quantization/calibration.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <limits>
#include <string>

#include "refusal.h"
#include "support/temporary_folder.h"

namespace brellix::testing {
namespace {

using ai_orvo::alg::common::Calibration;
using ai_orvo::alg::common::readCalibration;
using ai_orvo::alg::common::Refusal;
using ai_orvo::alg::common::Status;
using ai_orvo::alg::common::writeCalibration;

class CalibrationFile : public ::testing::Test {
  protected:
    /// The sentence with which the text is refused, "accepted" where it is not.
    std::string faultOf(const std::string& text) {
        try {
            readCalibration(folder_.write("file.yaml", text));
        } catch (const Refusal& refusal) {
            EXPECT_EQ(refusal.status(), Status::kBadCalibration);
            return refusal.what();
        }
        return "accepted";
    }

    void expectFault(const std::string& text, const std::string& line, const std::string& fault) {
        const std::string found = faultOf(text);
        EXPECT_NE(found.find("file.yaml', line " + line + ": "), std::string::npos) << found;
        EXPECT_NE(found.find(fault), std::string::npos) << found;
    }

    TemporaryFolder folder_;
};

TEST_F(CalibrationFile, IsEmptyWhereThereIsNone) {
    EXPECT_TRUE(readCalibration(folder_.path() + "/absent.yaml").empty());
}

TEST_F(CalibrationFile, ReadsRangesAndTheSymmetricFlag) {
    const Calibration calibration = readCalibration(folder_.write("file.yaml",
                                                                  "schema: 1\n"
                                                                  "tensors:\n"
                                                                  "  \"/m.0/Conv\": {min: -3.5, max: 1e2}\n"
                                                                  "  output2:\n"
                                                                  "    min: 0\n"
                                                                  "    max: 0\n"
                                                                  "    symmetric: true\n"));
    ASSERT_EQ(calibration.size(), 2U);
    EXPECT_EQ(calibration.at("/m.0/Conv").range.minimum, -3.5F);
    EXPECT_EQ(calibration.at("/m.0/Conv").range.maximum, 100.0F);
    EXPECT_FALSE(calibration.at("/m.0/Conv").symmetric);
    EXPECT_TRUE(calibration.at("output2").symmetric);
}

TEST_F(CalibrationFile, ComesBackAsItWasWritten) {
    const Calibration written{{"plain", {{-0.1F, 1.0F / 3.0F}, false}},
                              {"quotes \" and : colons\nand lines", {{-3.4e38F, 1.17e-38F}, true}},
                              {"true", {{0.0F, 1e-45F}, false}},
                              {"", {{-1.0F, 1.0F}, true}},
                              {std::string(300, '\0'), {{-2.0F, 1.0F}, true}},
                              {std::string(5000, 'x'), {{-3.0F, 1.0F}, false}}};
    const std::string path = folder_.path() + "/written.yaml";
    writeCalibration(path, written);
    const Calibration read = readCalibration(path);
    ASSERT_EQ(read.size(), written.size());
    for (const auto& [name, tensor] : written) {
        EXPECT_EQ(read.at(name).range.minimum, tensor.range.minimum) << name;
        EXPECT_EQ(read.at(name).range.maximum, tensor.range.maximum) << name;
        EXPECT_EQ(read.at(name).symmetric, tensor.symmetric) << name;
    }
}

TEST_F(CalibrationFile, IsWrittenForPeople) {
    const std::string path = folder_.path() + "/written.yaml";
    writeCalibration(path, {{"output0", {{-3.5F, 12.25F}, false}}, {"3", {{-1.0F, 1.0F}, true}}});
    std::ifstream stream(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}),
              "schema: 1\ntensors:\n"
              "  \"3\": {min: -1, max: 1, symmetric: true}\n"
              "  \"output0\": {min: -3.5, max: 12.25, symmetric: false}\n");
}

TEST_F(CalibrationFile, WithoutTensorsComesBackEmpty) {
    const std::string path = folder_.path() + "/written.yaml";
    writeCalibration(path, {});
    EXPECT_TRUE(readCalibration(path).empty());
}

TEST_F(CalibrationFile, NamesTheLineOfEveryFault) {
    expectFault("schema: 1\ntensors: {a: [1, 2}\n", "2", "");
    expectFault("- 1\n", "1", "expected a map");
    expectFault("", "1", "expected a map");
    expectFault("schema: 2\ntensors: {}\n", "1", "schema must be 1");
    expectFault("schema: one\ntensors: {}\n", "1", "'one'");
    expectFault("schema: 1\n", "1", "'tensors' is missing");
    expectFault("schema: 1\nschema: 1\ntensors: {}\n", "2", "twice");
    expectFault("schema: 1\ntensor: {}\n", "2", "unknown key 'tensor'");
    expectFault("schema: 1\ntensors: [a]\n", "2", "expected a map of tensor names");
    expectFault("schema: 1\ntensors:\n  a: 3\n", "3", "expected a map of min, max");
    expectFault("schema: 1\ntensors:\n  a: {min: 1}\n", "3", "'max' is missing");
    expectFault("schema: 1\ntensors:\n  a: {min: 1, max: .inf}\n", "3", "'.inf'");
    expectFault("schema: 1\ntensors:\n  a: {min: 1, max: inf}\n", "3", "'inf'");
    expectFault("schema: 1\ntensors:\n  a: {min: nan, max: 1}\n", "3", "'nan'");
    expectFault("schema: 1\ntensors:\n  a: {min: 1e39, max: 1}\n", "3", "'1e39'");
    expectFault("schema: 1\ntensors:\n  a: {min: 2, max: 1}\n", "3", "min is greater than max");
    expectFault("schema: 1\ntensors:\n  a: {min: 0, max: 1, symmetric: maybe}\n", "3", "'maybe'");
    expectFault("schema: 1\ntensors:\n  a: {min: 0, max: 1, mean: 0}\n", "3", "unknown key 'mean'");
    expectFault("schema: 1\ntensors:\n  a: {min: 0, max: 1}\n  a: {min: 0, max: 1}\n", "4", "twice");
    expectFault("schema: 1\ntensors:\n  ? [a]\n  : {min: 0, max: 1}\n", "3", "expected a single value");
    expectFault("schema: 1\ntensors:\n  a: {min: *b, max: 1}\n", "3", "");
    expectFault("schema: 1\ntensors:\n  a: {min: -1e-50, max: 1}\n", "3",
                "too small to be kept, found '-1e-50'");
    expectFault("schema: 1\ntensors: {}\n---\nschema: 1\n", "3", "second document");
    expectFault("schema: 1\ntensors: {}\n...\nleft over\n", "4", "second document");
    expectFault("schema: 1\ntensors: {}\n...\n,\n", "4", "second document");
    expectFault(",", "1", "");
}

TEST_F(CalibrationFile, SurvivesDeepNesting) {
    EXPECT_NE(faultOf(std::string(200000, '[')), "accepted");
    EXPECT_NE(faultOf(std::string(200000, '{')), "accepted");
}

TEST_F(CalibrationFile, RefusesADirectoryInItsPlace) {
    const std::string path = folder_.path() + "/folder.yaml";
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
    try {
        readCalibration(path);
        FAIL() << "accepted";
    } catch (const Refusal& refusal) {
        EXPECT_EQ(refusal.status(), Status::kFileUnreadable);
    }
}

TEST_F(CalibrationFile, SaysWhichFileFailsWhileItIsRead) {
    // Nothing is mapped at the beginning of a process's memory.
    const std::string path = "/proc/self/mem";
    try {
        readCalibration(path);
        FAIL() << "accepted";
    } catch (const Refusal& refusal) {
        EXPECT_EQ(refusal.status(), Status::kFileUnreadable);
        EXPECT_NE(std::string(refusal.what()).find("'" + path + "' cannot be read"), std::string::npos);
    }
}

TEST_F(CalibrationFile, NamesThatAreNoTextAreNotWrittenAsOthers) {
    const std::string path = folder_.write("kept.yaml", "schema: 1\ntensors: {}\n");
    try {
        writeCalibration(path, {{"output\x89", {{0.0F, 1.0F}, false}}});
        FAIL() << "written";
    } catch (const Refusal& refusal) {
        EXPECT_NE(std::string(refusal.what()).find("not UTF-8"), std::string::npos) << refusal.what();
    }
    EXPECT_TRUE(readCalibration(path).empty()) << "the older file is replaced";
    writeCalibration(path, {{"caf\xc3\xa9", {{0.0F, 1.0F}, false}}});
    EXPECT_EQ(readCalibration(path).count("caf\xc3\xa9"), 1U);
}

TEST_F(CalibrationFile, SaysWhereItCannotBeWritten) {
    const std::string path = folder_.path() + "/absent/file.yaml";
    try {
        writeCalibration(path, {});
        FAIL() << "written";
    } catch (const Refusal& refusal) {
        EXPECT_NE(std::string(refusal.what()).find(path), std::string::npos);
    }
}

}  // namespace
}  // namespace brellix::testing
