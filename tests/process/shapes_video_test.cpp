#include "detect_fixture.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

#include <algorithm>
#include <filesystem>

namespace brellix::testing {
namespace {

using nlohmann::json;

/// A video of the sample pictures, and its frames as picture files, through the sample networks.
class ShapesVideo : public DetectTest {
  protected:
    ShapesVideo() {
        cv::VideoWriter writer(path("shapes.avi"), cv::CAP_OPENCV_MJPEG,
                               cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), 10.0, size_);
        for (const std::string& file : demoPictures()) {
            cv::Mat frame;
            cv::resize(cv::imread(file), frame, size_);
            writer.write(frame);
        }
        writer.release();
        cv::VideoCapture video(path("shapes.avi"), cv::CAP_FFMPEG);
        makeFolder("frames");
        for (cv::Mat frame; video.read(frame); ++frames_) {
            EXPECT_TRUE(writeMat("frames/" + std::to_string(frames_) + ".png", frame));
        }
    }

    static std::vector<std::string> demoPictures() {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(kModels + "/demo")) {
            files.push_back(entry.path());
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    std::vector<json> detect(const std::string& config, const std::vector<std::string>& more) const {
        std::vector<std::string> arguments = {"detect", kModels + '/' + config, "--json", "-"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        return jsonLines(result.out);
    }

    /// Between a frame and the annotated copy of a picture, summed over all pixels.
    double difference(const cv::Mat& frame, int picture) const {
        return cv::norm(frame, readPicture("seen/" + std::to_string(picture) + ".png"), cv::NORM_L1);
    }

    static inline const std::string kModels = BRELLIX_SOURCE_DIR "/models/shapes";
    const cv::Size size_{640, 480};
    int frames_ = 0;
};

TEST_F(ShapesVideo, GivesTheObjectsOfItsFramesAsPictures) {
    ASSERT_EQ(frames_, 6);
    for (const char* config : {"shapes_fused.yaml", "shapes_cut.yaml", "shapes_seg.yaml"}) {
        const std::vector<json> ofVideo = detect(config, {"shapes.avi", "--out", "seen"});
        const std::vector<json> ofPictures = detect(config, {"frames"});
        ASSERT_EQ(ofVideo.size(), ofPictures.size()) << config;
        std::size_t objects = 0;
        for (std::size_t i = 0; i < ofVideo.size(); ++i) {
            EXPECT_EQ(ofVideo[i]["objects"], ofPictures[i]["objects"]) << config << ", frame " << i;
            objects += ofVideo[i]["objects"].size();
        }
        EXPECT_GT(objects, 30U) << config;
    }
}

TEST_F(ShapesVideo, AnnotatedOneShowsTheAnnotatedPictures) {
    for (const char* config : {"shapes_fused.yaml", "shapes_seg.yaml"}) {
        detect(config, {"shapes.avi", "frames", "--out", "seen"});
        cv::VideoCapture video(path("seen/shapes.avi"), cv::CAP_FFMPEG);
        int count = 0;
        for (cv::Mat frame; video.read(frame); ++count) {
            const double own = difference(frame, count);
            const double another = difference(frame, (count + 1) % frames_);
            // Motion JPEG blurs the colours of thin lines and letters; another picture is far away.
            EXPECT_LT(3.0 * own, another) << config << ", frame " << count;
        }
        EXPECT_EQ(count, frames_);
    }
}

}  // namespace
}  // namespace brellix::testing
