// Watches a camera, a line for each frame, until SIGINT or SIGTERM.
//
// A frame that the engine fails on is passed over; several of them in a row end the program, and so does a
// camera that gives no more: with status 3, for whatever started it to start it anew.
//
//   watch_camera models/shapes/shapes_fused.yaml 0
//
// The path of a video will do in place of the camera's number.

#include <brellix/model_zoo.h>
#include <opencv2/videoio.hpp>

#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

using namespace ai_orvo::model;

namespace {

constexpr int kMostFailuresInARow = 10;

volatile std::sig_atomic_t isStopRequested = 0;

void requestStop(int) {
    isStopRequested = 1;
}

bool isCamera(const std::string& source) {
    return source.find_first_not_of("0123456789") == std::string::npos;
}

/// \return whether the engine served the frame.
bool detectOn(YOLOv5& model, const cv::Mat& frame) {
    std::vector<Object> objects;
    model.detect(frame, objects);
    const RunReport report = last_run_report();
    if (report.inference_status != 0) {
        std::cerr << "the engine failed with status " << report.inference_status << '\n';
        return false;
    }
    std::cout << objects.size() << " objects, " << report.pre_ms + report.infer_ms + report.post_ms << " ms"
              << std::endl;  // whoever reads along gets the line now
    return true;
}

/// \return whether the frames came to their end, and not the engine.
bool watch(YOLOv5& model, cv::VideoCapture& capture) {
    int failures = 0;
    cv::Mat frame;
    while (isStopRequested == 0 && failures < kMostFailuresInARow && capture.read(frame)) {
        failures = detectOn(model, frame) ? 0 : failures + 1;
    }
    return failures < kMostFailuresInARow;
}

int run(const std::string& config, const std::string& source) {
    YOLOv5 model(config);
    if (last_run_report().init_status != 0) {
        return 2;  // the engine has said why on standard error
    }
    cv::VideoCapture capture =
        isCamera(source) ? cv::VideoCapture(std::stoi(source)) : cv::VideoCapture(source);
    if (!capture.isOpened()) {
        std::cerr << source << ": cannot be opened\n";
        return 2;
    }
    const bool isEngineWell = watch(model, capture);
    const bool isCameraLost = isCamera(source) && isStopRequested == 0;
    return isEngineWell && !isCameraLost ? 0 : 3;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: watch_camera CONFIG CAMERA\n";
        return 2;
    }
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
    try {
        return run(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::cerr << "watch_camera: " << error.what() << '\n';
        return 2;
    }
}
