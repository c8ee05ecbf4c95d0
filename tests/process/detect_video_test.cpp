#include "detect_fixture.h"
#include "file_size_limit.h"

#include "detect/annotated_video.h"
#include "sources/video_file.h"

#include <opencv2/videoio.hpp>

#include <filesystem>

namespace brellix::testing {
namespace {

using nlohmann::json;
using Names = std::vector<std::string>;

class DetectVideo : public DetectTest {
  protected:
    std::vector<json> linesOf(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"detect", "model.yaml", "--json", "-"});
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        return jsonLines(result.out);
    }

    /// "SOURCE FRAME" of each line.
    static Names places(const std::vector<json>& lines) {
        Names names;
        for (const json& line : lines) {
            names.push_back(line.value("source", "") + ' ' + std::to_string(line.value("frame", -1)));
        }
        return names;
    }

    /// Where the program finds the cube on the first frame.
    cv::Rect2f cubeOf(const std::string& name) const {
        const json box = linesOf({name}).at(0)["objects"].at(1)["box"];
        return {box.at(0), box.at(1), box.at(2), box.at(3)};
    }

    /// The brightness of the pixel at `place` of each frame of a video.
    std::vector<int> levels(const std::string& name, cv::Point place) const {
        cv::VideoCapture video(path(name), cv::CAP_FFMPEG);
        std::vector<int> list;
        for (cv::Mat frame; video.read(frame);) {
            list.push_back(frame.at<cv::Vec3b>(place)[1]);
        }
        return list;
    }

    double property(const std::string& name, int which) const {
        return cv::VideoCapture(path(name), cv::CAP_FFMPEG).get(which);
    }

    void cutInHalf(const std::string& name) const {
        const std::string whole = readText(name);
        writeText(name, whole.substr(0, whole.size() / 2));
    }
};

// Motion JPEG rounds.
constexpr int kLevelTolerance = 2;

TEST_F(DetectVideo, EachFrameHasALineWithItsNumberAndTime) {
    writeVideo("clip.avi", 3, {96, 80});
    const std::vector<json> lines = linesOf({"clip.avi"});
    EXPECT_EQ(places(lines), (Names{"clip.avi 0", "clip.avi 1", "clip.avi 2"}));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_DOUBLE_EQ(lines[i]["time_ms"].get<double>(), 100.0 * static_cast<double>(i));
        EXPECT_EQ(lines[i]["width"], 96);
        EXPECT_EQ(lines[i]["height"], 80);
        EXPECT_EQ(lines[i]["objects"].size(), 2U);
    }
}

TEST_F(DetectVideo, EveryAndLimitChooseFrames) {
    writeVideo("clip.avi", 8);
    EXPECT_EQ(places(linesOf({"clip.avi", "--every", "3"})),
              (Names{"clip.avi 0", "clip.avi 3", "clip.avi 6"}));
    EXPECT_EQ(places(linesOf({"clip.avi", "--limit", "2"})), (Names{"clip.avi 0", "clip.avi 1"}));
    EXPECT_EQ(places(linesOf({"clip.avi", "--every", "3", "--limit", "2"})),
              (Names{"clip.avi 0", "clip.avi 3"}));
}

TEST_F(DetectVideo, EveryAndLimitChoosePictures) {
    for (const char* name : {"a.png", "b.png", "c.png", "d.png", "e.png"}) {
        writePicture(name);
    }
    EXPECT_EQ(places(linesOf({"*.png", "--every", "2"})), (Names{"a.png 0", "c.png 0", "e.png 0"}));
    EXPECT_EQ(places(linesOf({"*.png", "--limit", "2"})), (Names{"a.png 0", "b.png 0"}));
}

TEST_F(DetectVideo, FramesAreTheVideosInTheirOrder) {
    writeVideo("clip.avi", 5);
    ASSERT_EQ(run({"detect", "model.yaml", "clip.avi", "--every", "2", "--crops", "crops", "-q"}).status, 0);
    for (const int frame : {0, 2, 4}) {
        const cv::Mat crop = readPicture("crops/clip_00000" + std::to_string(frame) + "_1_cube.jpg");
        ASSERT_EQ(crop.size(), cv::Size(16, 24)) << frame;
        EXPECT_NEAR(crop.at<cv::Vec3b>(12, 8)[1], frameLevel(frame), kLevelTolerance);
    }
    EXPECT_FALSE(exists("crops/clip_000001_1_cube.jpg"));
}

TEST_F(DetectVideo, PicturesAndVideosCanBeMixed) {
    writeVideo("clip.avi", 2);
    writePicture("a.png");
    writePicture("b.png");
    const std::vector<json> lines = linesOf({"b.png", "clip.avi", "a.png"});
    EXPECT_EQ(places(lines), (Names{"b.png 0", "clip.avi 0", "clip.avi 1", "a.png 0"}));
    EXPECT_FALSE(lines[0].contains("time_ms"));
}

TEST_F(DetectVideo, FolderGivesItsVideosToo) {
    makeFolder("shots");
    writeVideo("shots/b.avi", 1);
    writePicture("shots/c.png");
    writeVideo("shots/a.AVI", 1);
    EXPECT_EQ(places(linesOf({"shots"})), (Names{"shots/a.AVI 0", "shots/b.avi 0", "shots/c.png 0"}));
}

TEST_F(DetectVideo, IsKnownByItsContentWhereTheNameSaysNothing) {
    writeVideo("clip", 2);
    EXPECT_EQ(places(linesOf({"clip"})), (Names{"clip 0", "clip 1"}));
}

TEST_F(DetectVideo, TextIsNoVideo) {
    writeText("notes.txt", "what a decoder would take for the picture of a terminal\n");
    const ProgramResult result = run({"detect", "model.yaml", "notes.txt", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("brellix: notes.txt: not a picture"), std::string::npos) << result.err;
}

TEST_F(DetectVideo, PhotographInAContainerOfVideosIsNone) {
    using namespace std::string_literals;
    for (const std::string brand : {"avif", "heic", "mif1"}) {
        writeText("photo.heic",
                  "\0\0\0\x18"s
                  "ftyp" +
                      brand + "\0\0\0\0"s + "mif1" + brand);
        const ProgramResult result = run({"detect", "model.yaml", "photo.heic", "--quiet"});
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.err,
                  "brellix: photo.heic: not a picture, or a damaged one, or of a format that OpenCV "
                  "does not read here\n")
            << brand;
    }
}

TEST_F(DetectVideo, NameLikeAnAddressIsAFile) {
    writeVideo("http:clip.avi", 1);
    EXPECT_EQ(places(linesOf({"http:clip.avi"})), Names{"http:clip.avi 0"});
}

TEST_F(DetectVideo, TableNamesTheFrame) {
    writeVideo("clip.avi", 2);
    const ProgramResult result = run({"detect", "model.yaml", "clip.avi"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("\nclip.avi #1      disc         37.5 %"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\n2 frames, 4 objects; "), std::string::npos) << result.out;
}

TEST_F(DetectVideo, OneThatBreaksOffIsReportedAfterItsFrames) {
    writeVideo("clip.avi", 20);
    cutInHalf("clip.avi");
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "clip.avi", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    const std::vector<json> lines = jsonLines(result.out);
    EXPECT_GT(lines.size(), 5U);
    EXPECT_LT(lines.size(), 15U);
    EXPECT_EQ(lines.back()["source"], "a.png");
    EXPECT_EQ(result.err.find("brellix: clip.avi: the video breaks off: its header says 20 frames, and "), 0U)
        << result.err;
    EXPECT_NE(result.err.find(std::to_string(lines.size() - 1) + " can be decoded\nbrellix: 1 of "),
              std::string::npos)
        << result.err;
}

TEST_F(DetectVideo, OneThatCannotBeReadIsReportedWithOneLine) {
    writeText("clip.mp4", "no video at all, whatever its name says");
    writeText("empty.avi", "");
    const ProgramResult result = run({"detect", "model.yaml", "clip.mp4", "empty.avi", "--quiet"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(
        result.err,
        "brellix: clip.mp4: not a video, or a damaged one, or of a format that OpenCV does not read here\n"
        "brellix: empty.avi: the file is empty\n");
}

TEST_F(DetectVideo, AnnotatedVideoHasItsFramesSizeAndRate) {
    writeVideo("clip.avi", 6, {96, 80});
    const ProgramResult result = run({"detect", "model.yaml", "clip.avi", "--out", "seen"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.err.find("1 annotated video written to seen"), std::string::npos) << result.err;
    EXPECT_DOUBLE_EQ(property("seen/clip.avi", cv::CAP_PROP_FRAME_WIDTH), 96.0);
    EXPECT_DOUBLE_EQ(property("seen/clip.avi", cv::CAP_PROP_FRAME_HEIGHT), 80.0);
    EXPECT_DOUBLE_EQ(property("seen/clip.avi", cv::CAP_PROP_FPS), 10.0);
    // Far from everything that is drawn.
    const std::vector<int> corner = levels("seen/clip.avi", {90, 4});
    ASSERT_EQ(corner.size(), 6U);
    for (int frame = 0; frame < 6; ++frame) {
        EXPECT_NEAR(corner[static_cast<std::size_t>(frame)], frameLevel(frame), kLevelTolerance);
    }
    cv::VideoCapture video(path("seen/clip.avi"), cv::CAP_FFMPEG);
    cv::Mat first;
    ASSERT_TRUE(video.read(first));
    const cv::Rect2f cube = cubeOf("clip.avi");
    const cv::Point rightEdge(cvRound(cube.x + cube.width) - 1, cvRound(cube.y + cube.height / 2));
    // Drawn in (237, 177, 32).
    EXPECT_GT(first.at<cv::Vec3b>(rightEdge)[0], frameLevel(0) + 100);
}

TEST_F(DetectVideo, RateOfAnAnnotatedVideoIsDividedByEvery) {
    writeVideo("clip.avi", 6);
    ASSERT_EQ(run({"detect", "model.yaml", "clip.avi", "--out", "seen", "-q", "--every", "4"}).status, 0);
    EXPECT_DOUBLE_EQ(property("seen/clip.avi", cv::CAP_PROP_FPS), 2.5);
    EXPECT_EQ(levels("seen/clip.avi", {62, 2}).size(), 2U);
}

TEST_F(DetectVideo, OddSizesAreFilledUp) {
    writeVideo("clip.avi", 2, {65, 63});
    ASSERT_EQ(run({"detect", "model.yaml", "clip.avi", "--out", "seen", "-q"}).status, 0);
    EXPECT_DOUBLE_EQ(property("seen/clip.avi", cv::CAP_PROP_FRAME_WIDTH), 66.0);
    EXPECT_DOUBLE_EQ(property("seen/clip.avi", cv::CAP_PROP_FRAME_HEIGHT), 64.0);
}

TEST_F(DetectVideo, AnnotatedVideosOfOneNameDoNotOverwriteEachOther) {
    makeFolder("a");
    makeFolder("b");
    writeVideo("a/clip.avi", 2);
    writeVideo("b/clip.avi", 3);
    writePicture("b/clip.png");
    const ProgramResult result =
        run({"detect", "model.yaml", "a/clip.avi", "b/clip.png", "b/clip.avi", "--out", "seen", "-q"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(levels("seen/clip.avi", {62, 2}).size(), 2U);
    EXPECT_EQ(levels("seen/clip-2.avi", {62, 2}).size(), 3U);
    EXPECT_TRUE(exists("seen/clip.png"));
}

TEST_F(DetectVideo, SourceIsNeverOverwritten) {
    writeVideo("clip.avi", 2);
    const std::string before = readText("clip.avi");
    const ProgramResult out = run({"detect", "model.yaml", "clip.avi", "--out", "."});
    EXPECT_EQ(out.status, 2);
    EXPECT_NE(out.err.find("clip.avi is one of the inputs"), std::string::npos) << out.err;
    EXPECT_EQ(run({"detect", "model.yaml", "clip.avi", "--json", "clip.avi"}).status, 2);
    EXPECT_EQ(readText("clip.avi"), before);
}

TEST_F(DetectVideo, AnnotatedVideoThatCannotBeCreatedIsAFailure) {
    writeVideo("clip.avi", 2);
    makeFolder("seen/clip.avi");
    const ProgramResult result = run({"detect", "model.yaml", "clip.avi", "--out", "seen"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("cannot write to seen/clip.avi: Is a directory"), std::string::npos)
        << result.err;
}

TEST_F(DetectVideo, AnnotatedVideoThatDidNotFitIsAFailure) {
    writeVideo("clip.avi", 30, {640, 480});
    const std::vector<std::string> arguments = {"detect", "model.yaml", "clip.avi",
                                                "--out",  "seen",       "--quiet"};
    ASSERT_EQ(run(arguments).status, 0);
    const std::size_t whole = readText("seen/clip.avi").size();
    // Nothing but the header; some frames; all of them, but not their index.
    for (const std::size_t bytes : {std::size_t{6000}, whole / 2, whole - 100}) {
        const FileSizeLimit limit(bytes);
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 3) << bytes;
        EXPECT_EQ(result.err.find("brellix: seen/clip.avi is not complete: not all of its 30 frames"), 0U)
            << result.err;
    }
}

TEST(AnnotatedVideoRoom, IsThatOfOneFrameMoreAndOfTheIndex) {
    constexpr std::uintmax_t kMebibyte = 1048576;
    EXPECT_EQ(app::roomForAFrame({640, 480}, 0), kMebibyte + 921600);
    EXPECT_EQ(app::roomForAFrame({640, 480}, 1000), kMebibyte + 921600 + 64000);
    // Beyond 32 bits.
    EXPECT_EQ(app::roomForAFrame({65536, 65536}, 0), kMebibyte + 12884901888U);
}

TEST(AnnotatedVideoRate, IsOneThatPlayersTake) {
    EXPECT_DOUBLE_EQ(app::playableRate(29.97), 29.97);
    EXPECT_DOUBLE_EQ(app::playableRate(0.0), 25.0);
    EXPECT_DOUBLE_EQ(app::playableRate(std::nan("")), 25.0);
    EXPECT_DOUBLE_EQ(app::playableRate(0.001), 0.1);
    EXPECT_DOUBLE_EQ(app::playableRate(90000.0), 240.0);
}

TEST(AnnotatedVideoRate, OfACameraIsMeasured) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/camera-0.avi";
    app::FrameId frame;
    frame.origin = app::FrameOrigin::kLive;
    frame.framesPerSecond = 30.0;
    frame.timeMs = 0.0;
    const cv::Mat picture(64, 64, CV_8UC3, cv::Scalar::all(90));
    for (const int frames : {1, 3, 20}) {
        app::AnnotatedVideo video(path, frame, picture.size());
        for (int i = 0; i < frames; ++i) {
            // A model that takes four frames a second of thirty.
            frame.timeMs = 1000.0 + 250.0 * i;
            video.add(picture, frame);
        }
        video.close();
        const cv::VideoCapture written(path, cv::CAP_FFMPEG);
        EXPECT_DOUBLE_EQ(written.get(cv::CAP_PROP_FRAME_COUNT), frames);
        EXPECT_DOUBLE_EQ(written.get(cv::CAP_PROP_FPS), frames == 1 ? 25.0 : 4.0);
    }
}

TEST(VideoThatBreaksOff, IsShortByItsFramesAndByItsTime) {
    EXPECT_TRUE(app::brokeOff({50, 100.0, 1960.0, 25.0}));
    EXPECT_FALSE(app::brokeOff({100, 100.0, 3960.0, 25.0}));
    // Half the frames over the whole duration: a changing rate.
    EXPECT_FALSE(app::brokeOff({50, 100.0, 3960.0, 25.0}));
    // All the frames, whatever the clock says.
    EXPECT_FALSE(app::brokeOff({100, 100.0, 0.0, 25.0}));
    // A header that is a little off.
    EXPECT_FALSE(app::brokeOff({98, 100.0, 3880.0, 25.0}));
    EXPECT_TRUE(app::brokeOff({92, 100.0, 3640.0, 25.0}));
}

TEST(VideoThatBreaksOff, IsNotSaidWhereTheHeaderSaysNothing) {
    EXPECT_FALSE(app::brokeOff({5, 0.0, 160.0, 25.0}));
    EXPECT_FALSE(app::brokeOff({5, -9e15, 160.0, 25.0}));
    EXPECT_FALSE(app::brokeOff({5, std::nan(""), 160.0, 25.0}));
    EXPECT_FALSE(app::brokeOff({5, 100.0, 160.0, 0.0}));
}

TEST_F(DetectVideo, MissingCameraIsWrongUse) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--camera", "9999"}, std::vector<std::string>{"/dev/video9999"}}) {
        std::vector<std::string> words = {"detect", "model.yaml"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        const ProgramResult result = run(words);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find("/dev/video9999: "), std::string::npos) << result.err;
    }
    EXPECT_NE(run({"detect", "model.yaml", "--camera", "9999"}).err.find("this machine has"),
              std::string::npos);
}

}  // namespace
}  // namespace brellix::testing
