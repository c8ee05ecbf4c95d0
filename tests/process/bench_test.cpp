#include "run/stage_times.h"

#include "detect_fixture.h"

namespace brellix::testing {
namespace {

using app::summaryOf;
using app::TimeSummary;

TEST(StageTimes, PercentilesAreThoseOfTheNearestRank) {
    std::vector<double> times;
    for (int i = 100; i >= 1; --i) {
        times.push_back(i);
    }
    const TimeSummary hundred = summaryOf(times);
    EXPECT_EQ(hundred.mean, 50.5);
    EXPECT_EQ(hundred.p50, 50.0);
    EXPECT_EQ(hundred.p90, 90.0);
    EXPECT_EQ(hundred.p99, 99.0);
    EXPECT_EQ(hundred.max, 100.0);
    const TimeSummary three = summaryOf({3.0, 1.0, 2.0});
    EXPECT_EQ(three.p50, 2.0);
    EXPECT_EQ(three.p90, 3.0);
    EXPECT_EQ(summaryOf({7.0}).p50, 7.0);
}

class Bench : public DetectTest {
  protected:
    Bench() { writePicture("a.png"); }
};

TEST_F(Bench, JsonHoldsEveryStage) {
    writePicture("b.png", {100, 80});
    const ProgramResult result =
        run({"bench", "model.yaml", "a.png", "b.png", "--frames", "7", "--warm-up", "1", "--json", "-"});
    EXPECT_EQ(result.status, 0) << result.err;
    const nlohmann::json json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["schema"], 1);
    EXPECT_EQ(json["config"], "model.yaml");
    EXPECT_EQ(json["pictures"], 2);
    EXPECT_EQ(json["frames"], 7);
    const std::string backEnd = json["back_end"];
    EXPECT_TRUE(backEnd == "opencv_dnn" || backEnd == "onnxruntime") << backEnd;
    EXPECT_GT(json["frames_per_second"], 0.0);
    EXPECT_GT(json["peak_memory_bytes"], 1000000);
    for (const char* stage : {"pre", "infer", "post", "detect"}) {
        const nlohmann::json& times = json["ms"][stage];
        EXPECT_GT(times["mean"], 0.0) << stage;
        EXPECT_LE(times["p50"], times["p90"]) << stage;
        EXPECT_LE(times["p90"], times["p99"]) << stage;
        EXPECT_LE(times["p99"], times["max"]) << stage;
    }
}

TEST_F(Bench, TheTableNamesStagesAndBackEnd) {
    const ProgramResult result =
        run({"bench", "model.yaml", "a.png", "--frames", "3", "--json", "times.json"});
    EXPECT_EQ(result.status, 0) << result.err;
    for (const char* word :
         {"mean", "p99", "pre", "infer", "post", "detect", "3 frames of 1 picture", "back-end"}) {
        EXPECT_NE(result.out.find(word), std::string::npos) << word << " is not in: " << result.out;
    }
    EXPECT_EQ(nlohmann::json::parse(readText("times.json"))["frames"], 3);
}

TEST_F(Bench, ABrokenPictureIsReportedAndTheStatusSaysSo) {
    writeText("broken.png", "no picture");
    const ProgramResult some = run({"bench", "model.yaml", "broken.png", "a.png", "--frames", "2"});
    EXPECT_EQ(some.status, 3) << some.err;
    EXPECT_NE(some.err.find("broken.png"), std::string::npos) << some.err;
    EXPECT_NE(some.out.find("2 frames of 1 picture,"), std::string::npos) << some.out;
    const ProgramResult none = run({"bench", "model.yaml", "broken.png", "--frames", "2"});
    EXPECT_EQ(none.status, 3);
    EXPECT_NE(none.err.find("no picture could be used"), std::string::npos) << none.err;
}

TEST_F(Bench, ThatJsonCannotBeWrittenIsSaidBeforeTheWork) {
    writeText("broken.png", "no picture");
    const ProgramResult result = run({"bench", "model.yaml", "broken.png", "--json", "none/times.json"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "brellix: cannot write to none/times.json: No such file or directory\n");
}

TEST_F(Bench, ZeroFramesAndAnInputAsTargetAreWrongUse) {
    EXPECT_EQ(run({"bench", "model.yaml", "a.png", "--frames", "0"}).status, 2);
    EXPECT_EQ(run({"bench", "model.yaml", "a.png", "--frames", "2", "--json", "a.png"}).status, 2);
}

}  // namespace
}  // namespace brellix::testing
