// The program over an engine library that breaks in the middle of a run.

#include "detect_fixture.h"

#include <cstdlib>
#include <utility>

namespace brellix::testing {
namespace {

using Names = std::vector<std::string>;

class FaultyEngine : public DetectTest {
  protected:
    FaultyEngine() {
        ::setenv("LD_LIBRARY_PATH", BRELLIX_FAULTY_ENGINE_FOLDER, 1);
        for (const char* name : {"a.png", "b.png", "c.png"}) {
            writePicture(name);
        }
    }
    ~FaultyEngine() override {
        ::unsetenv("LD_LIBRARY_PATH");
        ::unsetenv("BRELLIX_TEST_FAULTS");
    }

    /// Three pictures, on each of which the engine does what a letter of `faults` says.
    ProgramResult detect(const char* faults) const {
        ::setenv("BRELLIX_TEST_FAULTS", faults, 1);
        return run({"detect", "model.yaml", "a.png", "b.png", "c.png", "--json", "-"});
    }

    static std::vector<std::size_t> objectCounts(const std::string& text) {
        std::vector<std::size_t> counts;
        for (const nlohmann::json& line : jsonLines(text)) {
            counts.push_back(line.at("objects").size());
        }
        return counts;
    }
};

TEST_F(FaultyEngine, ThatWorksGivesItsObject) {
    const ProgramResult result = detect("...");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(objectCounts(result.out), (std::vector<std::size_t>{1, 1, 1}));
}

TEST_F(FaultyEngine, FailedPictureIsNamedAndHasNoResult) {
    const ProgramResult result = detect(".f.");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(sources(result.out), (Names{"a.png", "c.png"}));
    EXPECT_EQ(objectCounts(result.out), (std::vector<std::size_t>{1, 1}));
    EXPECT_NE(result.err.find("brellix: b.png: "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("1 of 3 pictures failed"), std::string::npos) << result.err;
}

TEST_F(FaultyEngine, ExceptionIsNamedWithItsPictureAndTheOthersGoOn) {
    const ProgramResult result = detect("t..");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(sources(result.out), (Names{"b.png", "c.png"}));
    EXPECT_NE(result.err.find("brellix: a.png: "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("the accelerator has been reset"), std::string::npos) << result.err;
}

TEST_F(FaultyEngine, LostOutputsGiveNoObjectsOnTheirPictureOnly) {
    for (const char* faults : {".n.", ".d."}) {
        const ProgramResult result = detect(faults);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(objectCounts(result.out), (std::vector<std::size_t>{1, 0, 1}));
    }
}

/// The exit status is what has a service started anew.
TEST_F(FaultyEngine, ThatHasDiedEndsTheRunOnAStream) {
    std::string stream;
    for (int frame = 0; frame < 120; ++frame) {
        stream += jpegOfLevel(100);
    }
    ::setenv("BRELLIX_TEST_FAULTS", ('.' + std::string(119, 'f')).c_str(), 1);
    const ProgramResult result = runWithInput(stream, {"detect", "model.yaml", "-", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(objectCounts(result.out), std::vector<std::size_t>{1});
    EXPECT_NE(result.err.find("brellix: standard input: 100 frames in a row failed\n"), std::string::npos)
        << result.err;
    EXPECT_NE(result.err.find("100 of 101 frames failed"), std::string::npos) << result.err;
}

TEST_F(FaultyEngine, ComparedConfigurationThatFailedIsNamed) {
    writeText("other.yaml", goodConfig());
    for (const auto& [faults, side] :
         {std::pair("f", "model.yaml"), std::pair(".f", "other.yaml"), std::pair(".t", "other.yaml")}) {
        ::setenv("BRELLIX_TEST_FAULTS", faults, 1);
        const ProgramResult result = run({"compare", "model.yaml", "other.yaml", "a.png", "b.png"});
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.err.find(std::string("brellix: a.png: ") + side + ": "), 0U) << result.err;
    }
}

}  // namespace
}  // namespace brellix::testing
