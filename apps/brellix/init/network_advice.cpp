#include "init/network_advice.h"

#include "check/back_end_limits.h"
#include "console/text.h"
#include "network/prepare_hint.h"
#include "network/tensor_comparison.h"

#include <algorithm>

namespace brellix::app {
namespace {

namespace engine = ai_orvo::alg::common;

std::string preparation(const NetworkFacts& network, const Recognition& recognition) {
    const std::optional<cv::Size> size = openInputSize(network);
    std::string text = "prepare it with " + prepareCommand(network.path, PreparedForm::kAsFound, size);
    if (recognition.kind == NetworkKind::kFused) {
        text += ", or, for yolov5_cutoff, with " + prepareCommand(network.path, PreparedForm::kCut, size);
    }
    return text + ", and give its result to brellix init";
}

/// \return the outputs of a class that the network lacks: "yolov8_seg lacks output2, output3, ...".
std::string lackOf(ModelClass modelClass, const NetworkFacts& network) {
    std::vector<std::string> missing;
    for (const TensorRow& row : compareTensors(expectedTensors({modelClass, {64, 64}, 1, "ONNX", false}),
                                               network.description, BackEnd::kOpencvDnn)) {
        if (!row.expected.isInput && !row.found) {
            missing.push_back(row.expected.name);
        }
    }
    return "for " + nameOf(modelClass) +
           (missing.empty() ? " the right shapes are missing" : " it lacks " + joined(missing));
}

std::string outputsOf(const NetworkFacts& network) {
    std::vector<std::string> outputs;
    for (const engine::TensorDescription& output : network.description.outputs) {
        outputs.push_back(output.name + ' ' + output.describeShape());
    }
    return joined(outputs);
}

std::string unknownKind(const NetworkFacts& network) {
    std::string text = network.path + ": no model decodes its " +
                       counted(network.description.outputs.size(), "output") + ": " + outputsOf(network);
    for (const ModelClass modelClass : modelClasses()) {
        text += "; " + lackOf(modelClass, network);
    }
    return text + "; tools/prepare_network.py takes ordinary exports of YOLOv5 and YOLOv8 segmentation";
}

std::string otherKind(const NetworkFacts& network, const Recognition& recognition) {
    const std::string text = network.path + ": this is " + describe(recognition.kind) + " (outputs " +
                             outputsOf(network) + "), which no model decodes as it stands; ";
    switch (recognition.kind) {
        case NetworkKind::kSegmentationExport:
            return text + lackOf(ModelClass::kYoloV8Seg, network) + "; " + preparation(network, recognition);
        case NetworkKind::kFusedTransposed:
            return text + "export it without the transposition at its end";
        case NetworkKind::kFused:
        case NetworkKind::kCut:
        case NetworkKind::kSegmentation:
        case NetworkKind::kFusedWithMasks:
        case NetworkKind::kBoxesWithoutObjectness:
        case NetworkKind::kUnknown:
            break;
    }
    return text + "export a YOLOv5 detection network or a YOLOv8 segmentation network";
}

/// Float16 and open shapes: what keeps a network of the right kind from running. Empty where nothing does.
std::string limitsOf(const NetworkFacts& network, const Recognition& recognition) {
    Findings findings;
    // A configuration is written for networks that every back-end runs.
    judgeTypesAndShapes(network, "", findings);
    std::vector<std::string> found;
    for (const Finding& finding : findings) {
        found.push_back(finding.what + ": " + finding.found);
    }
    if (found.empty()) {
        return {};
    }
    return network.path + ": this is " + describe(recognition.kind) +
           ", but not in float32 and a static shape (" + joined(found, "; ") + "); " +
           (recognition.kind == NetworkKind::kFused
                ? preparation(network, recognition)
                : "export it again with opset 12, float32 and a static shape");
}

}  // namespace

std::string reasonAgainst(const NetworkFacts& network, const Recognition& recognition) {
    if (recognition.kind == NetworkKind::kUnknown) {
        return unknownKind(network);
    }
    if (!modelClassOf(recognition.kind) || recognition.kind == NetworkKind::kFusedTransposed) {
        return otherKind(network, recognition);
    }
    std::string limits = limitsOf(network, recognition);
    if (!limits.empty()) {
        return limits;
    }
    if (!(recognition.inputSize && recognition.classNum)) {
        return network.path + ": the outputs of this network are named like those of " +
               describe(recognition.kind) + ", but the shapes are others: " + outputsOf(network) +
               "; export it again with one input of 1x3xHxW";
    }
    return {};
}

}  // namespace brellix::app
