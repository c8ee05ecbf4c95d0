#include "detect_fixture.h"

namespace brellix::testing {
namespace {

/// The program's standard input is a pipe here, which gives its bytes once.
class NamesFile : public DetectTest {
  protected:
    NamesFile() { writePicture("a.png"); }

    ProgramResult runWithPipe(const std::string& text, const std::vector<std::string>& arguments) const {
        RunningProgram program(arguments, path("."));
        program.write(text);
        return program.finish();
    }

    /// The names of the disc and of the cube.
    static std::vector<std::string> namesIn(const ProgramResult& result) {
        EXPECT_EQ(result.status, 0) << result.err;
        std::vector<std::string> names;
        for (const nlohmann::json& line : jsonLines(result.out)) {
            for (const nlohmann::json& object : line["objects"]) {
                names.push_back(object["name"]);
            }
        }
        return names;
    }

    static std::vector<std::string> detectWith(const std::string& names) {
        return {"detect", "model.yaml", "a.png", "--names", names, "--json", "-"};
    }
};

TEST_F(NamesFile, MayBeAPipe) {
    const ProgramResult result = runWithPipe("ball\ncone\nbox\n", detectWith("/dev/stdin"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(namesIn(result), (std::vector<std::string>{"ball", "box"}));
}

TEST_F(NamesFile, MayBeAPipeForANewConfiguration) {
    const ProgramResult result =
        runWithPipe("ball\ncone\nbox\n", {"init", "network.onnx", "--names", "/dev/stdin", "-o", "-"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find("\"ball\""), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\"box\""), std::string::npos) << result.out;
}

TEST_F(NamesFile, MayBeginWithAByteOrderMark) {
    writeText("names.txt",
              "\xEF\xBB\xBF"
              "ball\r\ncone\r\nbox\r\n");
    EXPECT_EQ(namesIn(run(detectWith("names.txt"))), (std::vector<std::string>{"ball", "box"}));
}

TEST_F(NamesFile, ThatIsAFolderOrEmptyIsRefused) {
    makeFolder("folder");
    writeText("empty.txt", "");
    writeText("mark.txt", "\xEF\xBB\xBF");
    EXPECT_NE(run(detectWith("folder")).err.find("class names folder: this is a folder, expected a file"),
              std::string::npos);
    for (const char* name : {"empty.txt", "mark.txt"}) {
        const ProgramResult result = run(detectWith(name));
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.err.find(std::string("class names ") + name + ": nothing in it"), std::string::npos)
            << result.err;
    }
}

TEST_F(NamesFile, AConfigurationMayBeAPipeToo) {
    const ProgramResult result = runWithPipe(goodConfig(), {"detect", "/dev/stdin", "a.png", "--json", "-"});
    EXPECT_EQ(namesIn(result), (std::vector<std::string>{"disc", "cube"}));
}

}  // namespace
}  // namespace brellix::testing
