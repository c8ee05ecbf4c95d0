#include "detect/crop_box.h"
#include "detect_fixture.h"

#include <cmath>
#include <limits>

namespace brellix::testing {
namespace {

using DetectCrops = DetectTest;

const cv::Size kPicture(100, 50);
const float kNaN = std::nanf("");
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(CropBox, HoldsEveryPixelThatTheBoxTouches) {
    EXPECT_EQ(app::cropBox({10, 20, 30, 5}, kPicture), cv::Rect(10, 20, 30, 5));
    EXPECT_EQ(app::cropBox({10.6F, 20.2F, 30.0F, 5.0F}, kPicture), cv::Rect(10, 20, 31, 6));
}

TEST(CropBox, IsCutOffAtThePicturesEdges) {
    EXPECT_EQ(app::cropBox({-5, -7, 20, 10}, kPicture), cv::Rect(0, 0, 15, 3));
    EXPECT_EQ(app::cropBox({95, 45, 20, 10}, kPicture), cv::Rect(95, 45, 5, 5));
    EXPECT_EQ(app::cropBox({-1e30F, -1e30F, 2e30F, 2e30F}, kPicture), cv::Rect(0, 0, 100, 50));
    EXPECT_EQ(app::cropBox({0, 0, kInfinity, kInfinity}, kPicture), cv::Rect(0, 0, 100, 50));
}

TEST(CropBox, IsEmptyWhereThereIsNothingOfThePicture) {
    EXPECT_TRUE(app::cropBox({100, 0, 10, 10}, kPicture).empty());
    EXPECT_TRUE(app::cropBox({-20, 0, 10, 10}, kPicture).empty());
    EXPECT_TRUE(app::cropBox({10, 10, 0, 10}, kPicture).empty());
    EXPECT_TRUE(app::cropBox({10, 10, -5, 10}, kPicture).empty());
    EXPECT_TRUE(app::cropBox({kNaN, 10, 5, 10}, kPicture).empty());
    EXPECT_TRUE(app::cropBox({10, 10, 5, kNaN}, kPicture).empty());
    EXPECT_TRUE(app::cropBox({-kInfinity, 0, kInfinity, 10}, kPicture).empty());
    EXPECT_TRUE(app::cropBox({3e38F, 3e38F, 3e38F, 3e38F}, kPicture).empty());
}

TEST(CropName, HasSafeCharactersAlone) {
    app::FrameId picture;
    EXPECT_EQ(app::cropName("photo", picture, 2, "traffic light/../x_1"),
              "photo_0_2_traffic-light-..-x-1.jpg");
    app::FrameId frame;
    frame.origin = app::FrameOrigin::kVideo;
    frame.number = 12;
    EXPECT_EQ(app::cropName("clip", frame, 0, "caf\xC3\xA9"), "clip_000012_0_caf--.jpg");
    frame.number = 1234567;
    EXPECT_EQ(app::cropName("clip", frame, 0, std::string(100, 'a')),
              "clip_1234567_0_" + std::string(60, 'a') + ".jpg");
}

TEST_F(DetectCrops, AreThePixelsOfEachBox) {
    cv::Mat picture(64, 64, CV_8UC3, cv::Scalar(10, 20, 30));
    picture(cv::Rect(4, 36, 16, 24)).setTo(cv::Scalar(200, 100, 50));
    ASSERT_TRUE(writeMat("a.png", picture));
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--crops", "found/here"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("brellix: 2 crops written to found/here\n"), std::string::npos) << result.err;
    EXPECT_EQ(readPicture("found/here/a_0_0_disc.jpg").size(), cv::Size(20, 10));
    const cv::Mat cube = readPicture("found/here/a_0_1_cube.jpg");
    ASSERT_EQ(cube.size(), cv::Size(16, 24));
    // JPEG rounds.
    EXPECT_LE(cv::norm(cube, cv::Mat(24, 16, CV_8UC3, cv::Scalar(200, 100, 50)), cv::NORM_INF), 3.0);
}

TEST_F(DetectCrops, BoxPastTheEdgeIsCutAndOneWithoutWidthLeftOut) {
    writeTinyNetwork(path("network.onnx"),
                     fusedNetwork(3, {{60.0F, 30.0F, 20.0F, 10.0F, 1.0F, {0.5F, 0.0F, 0.0F}},
                                      {32.0F, 20.0F, 0.0F, 10.0F, 1.0F, {0.0F, 0.5F, 0.0F}}}));
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--crops", "found", "--json", "-"});
    EXPECT_EQ(result.status, 0) << result.err;
    const std::size_t objects = jsonLines(result.out)[0]["objects"].size();
    ASSERT_EQ(objects, 2U) << result.out;
    EXPECT_EQ(readPicture("found/a_0_0_disc.jpg").size(), cv::Size(14, 10));
    EXPECT_FALSE(exists("found/a_0_1_cone.jpg"));
    EXPECT_NE(result.err.find("1 crop written to found; 1 object without a pixel left out"),
              std::string::npos)
        << result.err;
}

TEST_F(DetectCrops, SourcesOfOneNameDoNotShareCrops) {
    makeFolder("a");
    makeFolder("b");
    writePicture("a/x.png", {64, 64});
    writePicture("b/x.png", {128, 128});
    ASSERT_EQ(run({"detect", "model.yaml", "a/x.png", "b/x.png", "--crops", "found", "-q"}).status, 0);
    EXPECT_EQ(readPicture("found/x_0_1_cube.jpg").size(), cv::Size(16, 24));
    EXPECT_EQ(readPicture("found/x-2_0_1_cube.jpg").size(), cv::Size(32, 48));
}

TEST_F(DetectCrops, NeverOverwriteAnInput) {
    makeFolder("found");
    writePicture("a.png");
    writePicture("found/a_0_1_cube.jpg");
    const std::string before = readText("found/a_0_1_cube.jpg");
    const ProgramResult result =
        run({"detect", "model.yaml", "a.png", "found/a_0_1_cube.jpg", "--crops", "found"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("found/a_0_1_cube.jpg is one of the inputs"), std::string::npos) << result.err;
    EXPECT_EQ(readText("found/a_0_1_cube.jpg"), before);
}

class ChosenClasses : public DetectTest {
  protected:
    ChosenClasses() { writePicture("a.png"); }

    std::vector<std::string> names(const std::vector<std::string>& options) const {
        std::vector<std::string> arguments = {"detect", "model.yaml", "--json", "-"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.emplace_back("a.png");
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        const nlohmann::json line = jsonLines(result.out).at(0);
        std::vector<std::string> found;
        for (const nlohmann::json& object : line["objects"]) {
            found.push_back(object["name"]);
        }
        return found;
    }
};

using Names = std::vector<std::string>;

TEST_F(ChosenClasses, ArePickedByNameOrNumber) {
    EXPECT_EQ(names({"--classes", "cube"}), Names{"cube"});
    EXPECT_EQ(names({"--classes", "0"}), Names{"disc"});
    EXPECT_EQ(names({"--classes", "cube,disc"}), (Names{"disc", "cube"}));
    EXPECT_EQ(names({"--classes", "cube", "--classes", "cone,0"}), (Names{"disc", "cube"}));
    EXPECT_EQ(names({"--classes", "cone"}), Names{});
}

TEST_F(ChosenClasses, NameThatIsANumberMeansTheName) {
    writeText("names.txt", "2\nball\nbox\n");
    EXPECT_EQ(names({"--names", "names.txt", "--classes", "2"}), Names{"2"});
    EXPECT_EQ(names({"--names", "names.txt", "--classes", "1,box"}), Names{"box"});
}

TEST_F(ChosenClasses, NameOfSeveralClassesMeansThemAll) {
    writeText("names.txt", "thing\nball\nthing\n");
    EXPECT_EQ(names({"--names", "names.txt", "--classes", "thing"}), (Names{"thing", "thing"}));
    EXPECT_EQ(names({"--names", "names.txt", "--classes", "2"}), Names{"thing"});
}

TEST_F(ChosenClasses, HoldForTheTableThePictureAndTheCrops) {
    const ProgramResult result =
        run({"detect", "model.yaml", "a.png", "--classes", "cube", "--out", "seen", "--crops", "found"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.find("disc"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\n1 picture, 1 object; "), std::string::npos) << result.out;
    EXPECT_TRUE(exists("found/a_0_0_cube.jpg"));
    EXPECT_FALSE(exists("found/a_0_0_disc.jpg"));
    const cv::Mat picture = readPicture("seen/a.png");
    // The disc's upper edge is not drawn, the cube's right one is.
    EXPECT_EQ(picture.at<cv::Vec3b>(19, 30), cv::Vec3b(90, 120, 150));
    EXPECT_EQ(picture.at<cv::Vec3b>(59, 19), cv::Vec3b(237, 177, 32));
}

TEST_F(ChosenClasses, UnknownOneIsRefusedWithThoseThatThereAre) {
    for (const char* word : {"dog", "3", "-1", "Cube", "cube,dog"}) {
        const ProgramResult result = run({"detect", "model.yaml", "a.png", std::string("--classes=") + word});
        EXPECT_EQ(result.status, 2) << word;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find("expected names or numbers of: 0 disc, 1 cone, 2 cube"), std::string::npos)
            << result.err;
    }
}

}  // namespace
}  // namespace brellix::testing
