#include "backends/opencv_dnn/opencv_dnn_backend.h"

#include <opencv2/core.hpp>
#include <opencv2/dnn.hpp>
#include <utility>

#include "backends/opencv_dnn/misread_forms.h"
#include "backends/opencv_dnn/model_preparation.h"
#include "backends/opencv_dnn/suitability.h"
#include "graph/graph_check.h"
#include "refusal.h"

namespace ai_orvo::alg::common {
namespace {

/// Lets static objects of an application run networks to the end of the process: what runs OpenCV's parallel
/// loops is made with the first of them, while this library is loaded, and so outlives those objects.
[[maybe_unused]] const int kLoopsOutliveTheApplication = cv::getThreadNum();

[[noreturn]] void refuse(const EngineNetwork& network, const std::string& reason) {
    throw Refusal(Status::kBackendRefusal,
                  "network '" + network.path() + "' (opset " + std::to_string(network.opset()) +
                      "): the back-end opencv_dnn (OpenCV " + CV_VERSION + ") cannot run it: " + reason);
}

std::vector<int> matShape(const TensorDescription& tensor) {
    std::vector<int> shape;
    for (const std::int64_t extent : tensor.shape) {
        shape.push_back(static_cast<int>(extent));
    }
    return shape;
}

class OpencvDnnBackend : public EngineBackend {
  public:
    OpencvDnnBackend(const EngineNetwork& network, const OpencvModel& prepared)
        : path_(network.path()), outputNames_(prepared.outputs) {
        const std::string bytes = prepared.model.SerializeAsString();
        net_ = cv::dnn::readNetFromONNX(bytes.data(), bytes.size());
        net_.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
        net_.setPreferableTarget(cv::dnn::DNN_TARGET_CPU);
        for (const TensorDescription& input : network.inputs()) {
            inputNames_.push_back(input.name);
            inputShapes_.push_back(matShape(input));
        }
        learnOutputShapes(network);
    }

    void run(const std::vector<const float*>& inputs, const std::vector<OutputRequest>& outputs) override {
        try {
            setInputs(inputs);
            forwardInto(outputs);
        } catch (const cv::Exception& error) {
            refuseInference(error.err);
        }
    }

    const char* name() const override { return "opencv_dnn"; }

  private:
    [[noreturn]] void refuseInference(const std::string& reason) const {
        throw Refusal(Status::kInferenceFailed,
                      "network '" + path_ + "': OpenCV failed: " + reason +
                          "; this network ran when it was loaded, so memory may be short");
    }

    /// OpenCV copies the values, so the caller's bytes are free afterwards.
    void setInputs(const std::vector<const float*>& inputs) {
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            // A Mat over foreign memory has no const form; it is only read.
            net_.setInput(cv::Mat(inputShapes_[i], CV_32F, const_cast<float*>(inputs[i])), inputNames_[i]);
        }
    }

    /// OpenCV's own idea of a shape can have other extents than the file's, never another element count.
    void learnOutputShapes(const EngineNetwork& network) {
        std::vector<std::vector<float>> zeros;
        std::vector<const float*> inputs;
        zeros.reserve(network.inputs().size());
        for (const TensorDescription& input : network.inputs()) {
            zeros.emplace_back(input.elementCount());
            inputs.push_back(zeros.back().data());
        }
        setInputs(inputs);
        std::vector<cv::Mat> results;
        net_.forward(results, outputNames_);
        for (std::size_t i = 0; i < outputNames_.size(); ++i) {
            const TensorDescription& output = network.outputs()[i];
            if (results[i].type() != CV_32F || results[i].total() != output.elementCount()) {
                refuse(network, "it computes output '" + output.name + "' as " +
                                    std::to_string(results[i].total()) + " elements where the file says " +
                                    output.describeShape() + ": export the network with opset 12");
            }
            outputShapes_.emplace_back(results[i].size.p, results[i].size.p + results[i].dims);
        }
    }

    /// OpenCV copies its results into matrices of the right shape at the very end, and silently gives others
    /// new memory; only the pointer tells.
    void forwardInto(const std::vector<OutputRequest>& outputs) {
        std::vector<cv::Mat> results;
        std::vector<std::string> names;
        for (const OutputRequest& request : outputs) {
            results.emplace_back(outputShapes_[request.output], CV_32F, request.values);
            names.push_back(outputNames_[request.output]);
        }
        net_.forward(results, names);
        for (std::size_t i = 0; i < outputs.size(); ++i) {
            if (results[i].data != reinterpret_cast<const unsigned char*>(outputs[i].values)) {
                refuseInference("output '" + names[i] + "' came in another shape than before");
            }
        }
    }

    std::string path_;
    cv::dnn::Net net_;
    std::vector<std::string> inputNames_;
    std::vector<std::vector<int>> inputShapes_;
    std::vector<std::string> outputNames_;
    std::vector<std::vector<int>> outputShapes_;
};

}  // namespace

std::shared_ptr<EngineBackend> makeOpencvDnnBackend(const onnx::ModelProto& model,
                                                    const EngineNetwork& network) {
    OpencvModel prepared = prepareForOpencv(model);
    const std::string reason = reasonAgainstOpencv(network, prepared);
    if (!reason.empty()) {
        refuse(network, reason);
    }
    const GraphVerdict verdict = judgeGraph(model);
    if (!verdict.fault.empty()) {
        refuse(network,
               "its graph is not valid: " + verdict.fault + "; export the network again with opset 12");
    }
    stateAttributes(prepared.model, verdict.inferred);
    const std::string misread = misreadForm(GraphFacts(prepared.model, verdict.inferred));
    if (!misread.empty()) {
        refuse(network, misread);
    }
    try {
        return std::make_shared<OpencvDnnBackend>(network, prepared);
    } catch (const cv::Exception& error) {
        refuse(network,
               error.err + " (" + error.func +
                   "); export the network with opset 12, a static shape and float32, or cut it before "
                   "the layers that OpenCV lacks");
    }
}

}  // namespace ai_orvo::alg::common
