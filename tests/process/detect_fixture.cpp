#include "detect_fixture.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/videoio.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace brellix::testing {
namespace {

namespace fs = std::filesystem;

TinyNetwork discAndCube() {
    return fusedNetwork(3, {
                               {32.0F, 24.0F, 20.0F, 10.0F, 0.75F, {0.5F, 0.0F, 0.0F}},
                               {12.0F, 48.0F, 16.0F, 24.0F, 1.0F, {0.0F, 0.25F, 0.875F}},
                               {50.0F, 50.0F, 8.0F, 8.0F, 0.125F, {1.0F, 1.0F, 1.0F}},  // below the threshold
                           });
}

}  // namespace

DetectTest::DetectTest() {
    writeTinyNetwork(path("network.onnx"), discAndCube());
    writeText("model.yaml", goodConfig());
}

ProgramResult DetectTest::run(const std::vector<std::string>& arguments) const {
    return runWith(StandardOutput::kCaught, arguments);
}

ProgramResult DetectTest::runWith(StandardOutput standardOutput,
                                  const std::vector<std::string>& arguments) const {
    ProgramSetup setup;
    setup.workingDirectory = folder_.path();
    setup.standardOutput = standardOutput;
    return runProgram(arguments, setup);
}

ProgramResult DetectTest::runWithInput(const std::string& standardInput,
                                       const std::vector<std::string>& arguments) const {
    ProgramSetup setup;
    setup.workingDirectory = folder_.path();
    setup.standardInput = standardInput;
    return runProgram(arguments, setup);
}

void DetectTest::writeVideo(const std::string& name, int frames, cv::Size size) const {
    // OpenCV's own encoder takes the extension for the container; the name need not have it.
    const std::string file = path("video-in-work.avi");
    cv::VideoWriter writer(file, cv::CAP_OPENCV_MJPEG, cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), 10.0,
                           size);
    ASSERT_TRUE(writer.isOpened());
    for (int frame = 0; frame < frames; ++frame) {
        writer.write(cv::Mat(size, CV_8UC3, cv::Scalar::all(frameLevel(frame))));
    }
    writer.release();
    fs::rename(file, path(name));
}

std::string DetectTest::jpegOfLevel(int level, cv::Size size) {
    std::vector<unsigned char> bytes;
    cv::imencode(".jpg", cv::Mat(size, CV_8UC3, cv::Scalar::all(level)), bytes);
    return {bytes.begin(), bytes.end()};
}

void DetectTest::writeText(const std::string& name, const std::string& text) const {
    static_cast<void>(folder_.write(name, text));
}

std::string DetectTest::readText(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path(name), std::ios::binary).rdbuf();
    return text.str();
}

void DetectTest::makeFolder(const std::string& name) const {
    fs::create_directories(path(name));
}

bool DetectTest::exists(const std::string& name) const {
    return fs::exists(path(name));
}

bool DetectTest::writeMat(const std::string& name, const cv::Mat& picture) const {
    return cv::imwrite(path(name), picture);
}

void DetectTest::writePicture(const std::string& name, cv::Size size, const cv::Scalar& color) const {
    ASSERT_TRUE(writeMat(name, cv::Mat(size, CV_8UC3, color)));
}

cv::Mat DetectTest::readPicture(const std::string& name) const {
    return cv::imread(path(name), cv::IMREAD_UNCHANGED);
}

std::string DetectTest::goodConfig() {
    return "model_path: network.onnx\n"
           "conf_thres: 0.25\n"
           "nms_thres: 0.65\n"
           "class_num: 3\n"
           "input_size: [64, 64]\n"
           "class_mapping: {0: disc, 1: cone, 2: cube}\n";
}

std::vector<nlohmann::json> DetectTest::jsonLines(const std::string& text) {
    std::vector<nlohmann::json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(nlohmann::json::parse(line, nullptr, false));
        EXPECT_TRUE(lines.back().is_object()) << "no JSON object: " << line;
    }
    return lines;
}

std::vector<std::string> DetectTest::sources(const std::string& jsonText) {
    std::vector<std::string> names;
    for (const nlohmann::json& line : jsonLines(jsonText)) {
        names.push_back(line.value("source", "(none)"));
    }
    return names;
}

}  // namespace brellix::testing
