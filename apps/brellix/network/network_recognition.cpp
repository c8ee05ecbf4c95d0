#include "network/network_recognition.h"

#include "network/expected_tensors.h"

#include <yolov5_cutoff/tensor_tables.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <vector>

namespace brellix::app {
namespace {

using ai_orvo::alg::common::kUnknownExtent;
using ai_orvo::alg::common::TensorDescription;

constexpr std::int64_t kBox = 4;
constexpr std::int64_t kBoxAndObjectness = 5;
constexpr std::int64_t kMaskCoefficients = 32;
const cv::Size kUsualInputSize = {640, 640};
constexpr const char* kSegmentationScores = "output1";

std::optional<int> classesFrom(std::int64_t channels, std::int64_t others) {
    const std::int64_t classes = channels - others;
    const bool isCount =
        channels != kUnknownExtent && classes >= 0 && classes <= std::numeric_limits<int>::max();
    return isCount ? std::optional(static_cast<int>(classes)) : std::nullopt;
}

const TensorDescription* outputNamed(const NetworkFacts& network, const std::string& name) {
    const auto& outputs = network.description.outputs;
    const auto found = std::find_if(outputs.begin(), outputs.end(),
                                    [&name](const TensorDescription& output) { return output.name == name; });
    return found == outputs.end() ? nullptr : &*found;
}

std::optional<cv::Size> imageSize(const NetworkFacts& network) {
    const auto& inputs = network.description.inputs;
    if (inputs.size() != 1 || !inputs[0].isStatic() || inputs[0].shape.size() != 4 ||
        inputs[0].shape[1] != 3) {
        return std::nullopt;
    }
    return cv::Size{static_cast<int>(inputs[0].shape[3]), static_cast<int>(inputs[0].shape[2])};
}

/// The channels of an output of four extents.
std::int64_t channelsOf(const TensorDescription& output) {
    return output.shape.size() == 4 ? output.shape[1] : kUnknownExtent;
}

Recognition recogniseCut(const NetworkFacts& network) {
    const std::int64_t channels = channelsOf(*outputNamed(network, ai_orvo::model::kCutOutputs[0]));
    const bool isWhole = channels != kUnknownExtent && channels % ai_orvo::model::kCutAnchorsPerHead == 0;
    Recognition recognition{NetworkKind::kCut, imageSize(network), std::nullopt};
    if (isWhole) {
        recognition.classNum = classesFrom(channels / ai_orvo::model::kCutAnchorsPerHead, kBoxAndObjectness);
    }
    return recognition;
}

Recognition recogniseSegmentation(const NetworkFacts& network) {
    return {NetworkKind::kSegmentation, imageSize(network),
            classesFrom(channelsOf(*outputNamed(network, kSegmentationScores)), 0)};
}

/// The one output of decoded candidates, a list of rows; null where there is none or several.
const TensorDescription* candidateOutput(const NetworkFacts& network) {
    const TensorDescription* found = nullptr;
    for (const TensorDescription& output : network.description.outputs) {
        if (output.shape.size() == 3 || (!output.hasShape && network.description.outputs.size() == 1)) {
            if (found != nullptr) {
                return nullptr;
            }
            found = &output;
        }
    }
    return found;
}

bool hasPrototypes(const NetworkFacts& network) {
    return std::any_of(network.description.outputs.begin(), network.description.outputs.end(),
                       [](const TensorDescription& output) {
                           const std::int64_t channels = channelsOf(output);
                           return output.shape.size() == 4 &&
                                  (channels == kMaskCoefficients || channels == kUnknownExtent);
                       });
}

/// Tells the forms apart by the longer extent: there are always more candidates than values in each.
Recognition recogniseCandidates(const TensorDescription& output, bool withMasks,
                                std::optional<cv::Size> inputSize) {
    const std::int64_t first = output.hasShape ? output.shape[1] : kUnknownExtent;
    const std::int64_t second = output.hasShape ? output.shape[2] : kUnknownExtent;
    const bool isTall = second != kUnknownExtent && first > second;
    const bool isWide = first != kUnknownExtent && second > first;
    const std::int64_t fused = inputSize ? fusedCandidates(*inputSize) : 0;
    if (withMasks) {
        return isTall ? Recognition{NetworkKind::kFusedWithMasks, inputSize,
                                    classesFrom(second, kBoxAndObjectness + kMaskCoefficients)}
                      : Recognition{NetworkKind::kSegmentationExport, inputSize,
                                    classesFrom(first, kBox + kMaskCoefficients)};
    }
    if (isWide && second == fused && first != fused) {
        return {NetworkKind::kFusedTransposed, inputSize, classesFrom(first, kBoxAndObjectness)};
    }
    if (isWide && first != fused) {
        return {NetworkKind::kBoxesWithoutObjectness, inputSize, classesFrom(first, kBox)};
    }
    return {NetworkKind::kFused, inputSize, classesFrom(second, kBoxAndObjectness)};
}

bool hasCutOutputs(const NetworkFacts& network) {
    return std::all_of(std::begin(ai_orvo::model::kCutOutputs), std::end(ai_orvo::model::kCutOutputs),
                       [&network](const char* name) { return outputNamed(network, name) != nullptr; });
}

std::optional<ModelClass> classByNames(const NetworkFacts& network) {
    std::vector<std::string> names;
    for (const TensorDescription& output : network.description.outputs) {
        names.push_back(output.name);
    }
    return modelClassWithOutputs(names);
}

}  // namespace

Recognition recognise(const NetworkFacts& network) {
    if (network.format != NetworkFormat::kOnnx) {
        return {};
    }
    if (hasCutOutputs(network)) {
        return recogniseCut(network);
    }
    if (classByNames(network) == ModelClass::kYoloV8Seg) {
        return recogniseSegmentation(network);
    }
    const TensorDescription* const candidates = candidateOutput(network);
    if (candidates == nullptr) {
        return {NetworkKind::kUnknown, imageSize(network), std::nullopt};
    }
    return recogniseCandidates(*candidates, hasPrototypes(network), imageSize(network));
}

const char* describe(NetworkKind kind) {
    switch (kind) {
        case NetworkKind::kFused:
            return "a YOLOv5 network with its detection layer";
        case NetworkKind::kFusedTransposed:
            return "a YOLOv5 network with its detection layer, whose rows and columns are exchanged";
        case NetworkKind::kCut:
            return "a YOLOv5 network cut before its detection layer";
        case NetworkKind::kSegmentation:
            return "a YOLOv8 segmentation network with raw heads";
        case NetworkKind::kSegmentationExport:
            return "a YOLOv8 segmentation network as it is exported, with decoded boxes";
        case NetworkKind::kFusedWithMasks:
            return "a YOLOv5 segmentation network";
        case NetworkKind::kBoxesWithoutObjectness:
            return "a YOLOv8 detection network (boxes and scores without objectness, one column a candidate)";
        case NetworkKind::kUnknown:
            break;
    }
    return "a network of no known kind";
}

std::optional<cv::Size> openInputSize(const NetworkFacts& network) {
    if (imageSize(network)) {
        return std::nullopt;
    }
    const auto said = network.metadata.find("imgsz");
    int height = 0;
    int width = 0;
    const bool isSaid = said != network.metadata.end() &&
                        // NOLINTNEXTLINE(cert-err34-c): five digits cannot overflow
                        std::sscanf(said->second.c_str(), "[%5d, %5d]", &height, &width) == 2;
    const bool isSize = isSaid && height > 0 && width > 0;
    return isSize ? cv::Size{width, height} : kUsualInputSize;
}

std::optional<ModelClass> modelClassOf(NetworkKind kind) {
    switch (kind) {
        case NetworkKind::kFused:
        case NetworkKind::kFusedTransposed:
            return ModelClass::kYoloV5;
        case NetworkKind::kCut:
            return ModelClass::kYoloV5Cutoff;
        case NetworkKind::kSegmentation:
            return ModelClass::kYoloV8Seg;
        case NetworkKind::kSegmentationExport:
        case NetworkKind::kFusedWithMasks:
        case NetworkKind::kBoxesWithoutObjectness:
        case NetworkKind::kUnknown:
            break;
    }
    return std::nullopt;
}

}  // namespace brellix::app
