// A configuration file through the constructors of all models, over an engine that takes every network: they
// throw what the headers say, fill the engine's tables alike, and never end the process but for a framework
// that they do not know, which is left out here. Capped: files of 4096 bytes (scripts/fuzz); detect runs
// where the input is at most 64 x 64.

#include "support/engine_scope.h"
#include "support/fake_engine.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"
#include "support/temporary_folder.h"

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "brellix/yolov8_seg.h"

#include <yaml-cpp/yaml.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace brellix::fuzz {
namespace {

using ai_orvo::model::AIEngineConfig;
using ai_orvo::model::Object;
using testing::FakeEngine;

constexpr int kLongestSide = 64;
constexpr int kMostClasses = 100;

/// The model; null for a file for which the constructor throws what it may throw.
template <typename Model>
std::unique_ptr<Model> constructed(const std::string& path) {
    FakeEngine::reset();
    try {
        return std::make_unique<Model>(path);
    } catch (const YAML::Exception&) {
    } catch (const std::out_of_range&) {
    }
    return nullptr;
}

template <typename Model>
void detectOnce(Model& model, const cv::Size& input, int classNum) {
    const bool isSmall = input.width > 0 && input.height > 0 && input.width <= kLongestSide &&
                         input.height <= kLongestSide && classNum >= 0 && classNum <= kMostClasses;
    if (!isSmall) {
        return;
    }
    static const cv::Mat image(48, 40, CV_8UC3, cv::Scalar::all(90));
    std::vector<Object> objects;
    try {
        model.detect(image, objects);
    } catch (const cv::Exception&) {
        // A network input that is not square, or one too narrow for the picture.
    }
}

/// Whether the segmentation model knows the framework, or fails before it asks for it.
bool staysAlive(const std::string& path) {
    try {
        const YAML::Node document = YAML::LoadFile(path);
        const auto framework = static_cast<const YAML::Node&>(document)["framework"].as<std::string>();
        return framework == "TensorRT" || framework == "RKNN" || framework == "ONNX";
    } catch (const YAML::Exception&) {
        return true;
    }
}

AIEngineConfig lastConfig() {
    require(FakeEngine::instance().initialised.size() == 1, "one call of Init a model");
    return FakeEngine::instance().initialised.back();
}

/// Runs the detector. \return whether the file is a configuration for it.
template <typename Model>
bool runsDetector(const std::string& path, std::size_t outputs) {
    const auto model = constructed<Model>(path);
    if (model == nullptr) {
        return false;
    }
    const AIEngineConfig config = lastConfig();
    require(config.input_sizes.size() == 1 && config.output_sizes.size() == outputs, "tables of a detector");
    detectOnce(*model, model->input_size, model->class_num);
    return true;
}

/// Runs the segmentation model. \return whether the file is a configuration for it.
bool runsSegmentation(const std::string& path) {
    const auto model = constructed<ai_orvo::model::YOLOv8Seg>(path);
    if (model == nullptr) {
        return false;
    }
    const AIEngineConfig config = lastConfig();
    require(config.input_shapes.size() == 1 && config.output_shapes.size() == 10,
            "tables of the segmentation");
    detectOnce(*model, model->inputSize, model->classNum);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const EngineScope scope;
    static const testing::TemporaryFolder folder;
    const std::string path = folder.write("model.yaml", FuzzedData(bytes, size).rest());
    const bool isDetector = runsDetector<ai_orvo::model::YOLOv5>(path, 1);
    const bool isCutDetector = runsDetector<ai_orvo::model::YOLOv5Cutoff>(path, 3);
    require(isDetector == isCutDetector, "the same file is a configuration for one detector only");
    const bool isSegmentation = staysAlive(path) && runsSegmentation(path);
    require(isDetector || !isSegmentation, "keys that the segmentation model takes and a detector does not");
    return 0;
}

}  // namespace brellix::fuzz
