#include "detect_fixture.h"

#include <regex>

namespace brellix::testing {
namespace {

using DetectTable = DetectTest;

/// The table without the times, which differ from run to run.
std::string withoutTimes(const std::string& table) {
    return std::regex_replace(table, std::regex("[0-9]+\\.[0-9] ms"), "_ ms");
}

TEST_F(DetectTable, ColumnsAreAligned) {
    writePicture("a.png");
    writePicture("longer-name.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "longer-name.png"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(withoutTimes(result.out),
              "picture          object  probability       x       y   width  height\n"
              "a.png            disc         37.5 %      22      19      20      10\n"
              "a.png            cube         87.5 %       4      36      16      24\n"
              "longer-name.png  disc         37.5 %      22      19      20      10\n"
              "longer-name.png  cube         87.5 %       4      36      16      24\n"
              "\n"
              "2 pictures, 4 objects; mean times: pre _ ms, infer _ ms, post _ ms\n");
}

TEST_F(DetectTable, PictureWithoutObjectsSaysSo) {
    writeTinyNetwork(path("network.onnx"), fusedNetwork(3, {}));
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("a.png    nothing found\n"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\n1 picture, 0 objects;"), std::string::npos) << result.out;
}

TEST_F(DetectTable, SummaryCountsFailedPictures) {
    writePicture("a.png");
    writeText("b.png", "nothing of a picture");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "b.png"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.out.find("\n1 picture, 2 objects, 1 picture failed;"), std::string::npos) << result.out;
}

TEST_F(DetectTable, QuietWritesNothing) {
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--quiet"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST_F(DetectTable, ControlCharactersInNamesDoNotReachTheTerminal) {
    const std::string odd = "a\033[31m\n.png";
    writePicture("a.png");
    writeText(odd, readText("a.png"));
    const ProgramResult result = run({"detect", "model.yaml", odd});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.find('\033'), std::string::npos);
    EXPECT_NE(result.out.find("a?[31m?.png  disc"), std::string::npos) << result.out;
}

}  // namespace
}  // namespace brellix::testing
