#include "detect_fixture.h"

namespace brellix::testing {
namespace {

class Thresholds : public DetectTest {
  protected:
    Thresholds() { writePicture("a.png"); }

    std::vector<std::string> names(const std::vector<std::string>& options) const {
        std::vector<std::string> arguments = {"detect", "model.yaml", "a.png", "--json", "-"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const nlohmann::json line = jsonLines(run(arguments).out).at(0);
        std::vector<std::string> found;
        for (const nlohmann::json& object : line["objects"]) {
            found.push_back(object["name"]);
        }
        return found;
    }
};

using Names = std::vector<std::string>;

TEST_F(Thresholds, ConfTakesThePlaceOfTheFilesThreshold) {
    EXPECT_EQ(names({}), (Names{"disc", "cube"}));
    EXPECT_EQ(names({"--conf", "0.6"}), Names{"cube"});
    EXPECT_EQ(names({"--conf", "0.1"}), (Names{"disc", "disc", "cube"}));
}

TEST_F(Thresholds, NmsTakesThePlaceOfTheFilesThreshold) {
    // Boxes that do not touch overlap by 0, which is more than -1.
    EXPECT_EQ(names({"--conf", "0.1", "--nms", "-1"}), (Names{"disc", "cube"}));
}

TEST_F(Thresholds, TheFileStaysAsItIs) {
    static_cast<void>(names({"--conf", "0.6", "--nms", "0.5"}));
    EXPECT_EQ(readText("model.yaml"), goodConfig());
}

TEST_F(Thresholds, AreWarnedOfOutsideTheirRange) {
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--conf", "25"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("the command line: \"conf_thres\" is 25.000, expected a number from 0 to 1"),
              std::string::npos)
        << result.err;
}

TEST_F(Thresholds, OtherWordsAreWrongUse) {
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--conf", "low"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("--conf"), std::string::npos) << result.err;
}

TEST_F(Thresholds, AreSaidWithTheDigitsThatTheyHave) {
    EXPECT_NE(run({"check", "model.yaml", "--conf", "0.00001"}).out.find("0.00001\n"), std::string::npos);
    EXPECT_NE(run({"check", "model.yaml", "--conf", "0.7"}).out.find("0.700\n"), std::string::npos);
    EXPECT_NE(run({"check", "model.yaml", "--nms", "1.0001"}).out.find("1.0001\n"), std::string::npos);
}

}  // namespace
}  // namespace brellix::testing
