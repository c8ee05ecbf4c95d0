#include "check/network_fit.h"

#include "console/text.h"
#include "network/prepare_hint.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace brellix::app {
namespace {

std::string listText(cv::Size size) {
    return '[' + std::to_string(size.width) + ", " + std::to_string(size.height) + ']';
}

/// Judges one configuration and its network, cause by cause.
class Fit {
  public:
    Fit(const CheckedConfig& checked, const Recognition& recognition, Findings& findings)
        : checked_(checked), config_(checked.config), recognition_(recognition), findings_(findings) {}

    bool judge(const TensorRows& rows) {
        if (!isKindOfModel()) {
            addOtherKind();
            return false;
        }
        judgeInputSize();
        judgeClassNum();
        judgeOrder();
        judgeRemaining(rows);
        return true;
    }

  private:
    /// A network of no known kind is judged tensor by tensor.
    bool isKindOfModel() const {
        return recognition_.kind == NetworkKind::kUnknown ||
               modelClassOf(recognition_.kind) == config_.modelClass;
    }

    void addOtherKind() {
        const std::optional<ModelClass> fitting = modelClassOf(recognition_.kind);
        std::string expected =
            std::string("a network for it; ") + checked_.network.path + " is " + describe(recognition_.kind);
        add("model", placeOf(config_, "model"), nameOf(config_.modelClass), expected, kindFix(fitting), true);
    }

    std::string kindFix(std::optional<ModelClass> fitting) const {
        const bool canBePrepared =
            recognition_.kind == NetworkKind::kSegmentationExport ||
            (recognition_.kind == NetworkKind::kFused && config_.modelClass == ModelClass::kYoloV5Cutoff);
        std::string fix = canBePrepared ? exportFix(checked_, recognition_) : "";
        if (recognition_.kind == NetworkKind::kSegmentationExport &&
            config_.modelClass != ModelClass::kYoloV8Seg) {
            fix += " and write \"model: yolov8_seg\"";
        }
        if (fitting) {
            fix += (fix.empty() ? "" : ", or ") + ("write \"model: " + nameOf(*fitting)) + '"';
        }
        return fix.empty() ? "no model decodes such a network: train or export another kind" : fix;
    }

    void judgeInputSize() {
        if (!recognition_.inputSize) {
            return;
        }
        const cv::Size size = *recognition_.inputSize;
        if (size.width % kCoarsestStride != 0 || size.height % kCoarsestStride != 0) {
            addNetworkInput(size,
                            "multiples of " + std::to_string(kCoarsestStride) + ", the coarsest stride");
        } else if (traitsOf(config_.modelClass).makesMasks && size.width != size.height) {
            addNetworkInput(size, "a square, which the masks need");
        } else if (size != config_.inputSize) {
            add("input_size", placeOf(config_, "input_size"),
                sizeText(config_.inputSize.width, config_.inputSize.height) +
                    ", and the network's input is " + sizeText(size.width, size.height),
                listText(size), "write \"input_size: " + listText(size) + '"', true);
        }
    }

    void addNetworkInput(cv::Size size, const std::string& expected) {
        add("network input", checked_.network.path, sizeText(size.width, size.height), expected,
            "export it with another size, for example with --size 640 640 of tools/prepare_network.py");
    }

    void judgeClassNum() {
        if (!recognition_.classNum || *recognition_.classNum == config_.classNum) {
            return;
        }
        const std::string count = std::to_string(*recognition_.classNum);
        add("class_num", placeOf(config_, "class_num"),
            std::to_string(config_.classNum) + ", and the network has " +
                counted(static_cast<std::size_t>(*recognition_.classNum), "class", "classes"),
            count, "write \"class_num: " + count + '"', true);
    }

    void judgeOrder() {
        if (recognition_.kind == NetworkKind::kFusedTransposed) {
            add("layout", checked_.network.path,
                std::string("output ") + checked_.network.description.outputs.front().describeShape() +
                    " (one column a candidate)",
                "one row a candidate", "export it without the transposition at its end");
        }
    }

    /// What differs even from the tensors for the network's own input size and class count.
    void judgeRemaining(const TensorRows& rows) {
        ModelSettings settings = settingsOf(config_);
        settings.inputSize = recognition_.inputSize.value_or(settings.inputSize);
        settings.classNum = recognition_.classNum.value_or(settings.classNum);
        const bool isSame = settings.inputSize == config_.inputSize && settings.classNum == config_.classNum;
        const TensorRows corrected =
            isSame ? rows
                   : compareTensors(expectedTensors(settings), checked_.network.description, chosenBackEnd());
        for (const TensorRow& row : corrected) {
            if (!isExplained(row)) {
                add(row.expected.isInput ? "input " + row.expected.name : "output " + row.expected.name,
                    checked_.network.path, row.found ? foundText(row) : "missing", expectedText(row.expected),
                    rowFix(row));
            }
        }
    }

    /// Types and open shapes are the back-end's matter, told once for the whole network.
    bool isExplained(const TensorRow& row) const {
        switch (row.verdict) {
            case TensorVerdict::kMissing:
            case TensorVerdict::kOtherSize:
                return false;
            case TensorVerdict::kOtherLayout:
                return recognition_.kind == NetworkKind::kFusedTransposed && !row.expected.isInput;
            default:
                return true;
        }
    }

    std::string rowFix(const TensorRow& row) const {
        if (row.expected.isInput && row.verdict == TensorVerdict::kOtherLayout) {
            return "export it with a planar input, 1 x 3 x height x width";
        }
        return exportFix(checked_, recognition_);
    }

    void add(std::string what, std::string where, std::string found, std::string expected, std::string fix,
             bool isKey = false) {
        findings_.push_back({Severity::kError, std::move(what), std::move(where), std::move(found),
                             std::move(expected), std::move(fix), isKey});
    }

    const CheckedConfig& checked_;
    const ModelConfig& config_;
    const Recognition& recognition_;
    Findings& findings_;
};

}  // namespace

bool judgeFit(const CheckedConfig& checked, const Recognition& recognition, const TensorRows& rows,
              Findings& findings) {
    return Fit(checked, recognition, findings).judge(rows);
}

std::string exportFix(const CheckedConfig& checked, const Recognition& recognition) {
    const bool isOrdinary =
        recognition.kind == NetworkKind::kFused || recognition.kind == NetworkKind::kSegmentationExport;
    if (!isOrdinary) {
        return "export it again with the tensors that the model asks for, opset 12, float32 and a static "
               "shape (tools/prepare_network.py takes ordinary exports)";
    }
    const bool isCut = checked.modelClassIsKnown && recognition.kind == NetworkKind::kFused &&
                       checked.config.modelClass == ModelClass::kYoloV5Cutoff;
    const std::optional<cv::Size> size =
        recognition.inputSize ? std::nullopt : std::optional(checked.config.inputSize);
    return "prepare it with " +
           prepareCommand(checked.network.path, isCut ? PreparedForm::kCut : PreparedForm::kAsFound, size);
}

}  // namespace brellix::app
