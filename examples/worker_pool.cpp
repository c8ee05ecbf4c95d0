// Many pictures on several threads, the results in the order of the pictures.
//
// A model serves one thread at a time and separate models are independent: so each worker has one of its own.
//
//   worker_pool 4 models/shapes/shapes_fused.yaml pictures/*.jpg

#include <brellix/model_zoo.h>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <future>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace ai_orvo::model;

namespace {

std::vector<Object> detectOn(YOLOv5& model, const std::string& path) {
    const cv::Mat image = cv::imread(path);
    if (image.empty()) {
        throw std::runtime_error("not a picture");
    }
    std::vector<Object> objects;
    model.detect(image, objects);
    if (last_run_report().inference_status != 0) {  // the calling thread's own report
        throw std::runtime_error("the engine failed");
    }
    return objects;
}

using Results = std::vector<std::promise<std::vector<Object>>>;

/// Takes pictures until none is left. What goes wrong with a picture reaches whoever waits for its result.
void work(YOLOv5& model, const std::vector<std::string>& pictures, Results& results,
          std::atomic<std::size_t>& next) {
    for (std::size_t index = next++; index < pictures.size(); index = next++) {
        try {
            results[index].set_value(detectOn(model, pictures[index]));
        } catch (...) {
            results[index].set_exception(std::current_exception());
        }
    }
}

/// Prints each result as soon as all before it are printed. \return how many pictures failed.
int printInOrder(const std::vector<std::string>& pictures, Results& results) {
    int failed = 0;
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        try {
            const std::size_t count = results[index].get_future().get().size();
            std::cout << pictures[index] + ": " + std::to_string(count) + " objects\n";
        } catch (const std::exception& error) {
            std::cerr << pictures[index] + ": " + error.what() + '\n';
            ++failed;
        }
    }
    return failed;
}

int run(int workers, const std::string& config, const std::vector<std::string>& pictures) {
    std::vector<std::unique_ptr<YOLOv5>> models;
    for (int i = 0; i < workers; ++i) {
        models.push_back(std::make_unique<YOLOv5>(config));
        if (last_run_report().init_status != 0) {
            return 2;  // the engine has said why on standard error
        }
    }
    Results results(pictures.size());
    std::atomic<std::size_t> next{0};
    std::vector<std::future<void>> running;  // whose end waits for the workers, whatever happens here
    for (const std::unique_ptr<YOLOv5>& model : models) {
        running.push_back(std::async(std::launch::async, [&] { work(*model, pictures, results, next); }));
    }
    return printInOrder(pictures, results) == 0 ? 0 : 3;
}

}  // namespace

int main(int argc, char** argv) {
    const int workers = argc > 3 ? std::atoi(argv[1]) : 0;
    if (workers < 1) {
        std::cerr << "usage: worker_pool WORKERS CONFIG PICTURE...\n";
        return 2;
    }
    cv::setNumThreads(1);  // the workers share the processor already
    try {
        return run(workers, argv[2], {argv + 3, argv + argc});
    } catch (const std::exception& error) {
        std::cerr << "worker_pool: " << error.what() << '\n';
        return 2;
    }
}
