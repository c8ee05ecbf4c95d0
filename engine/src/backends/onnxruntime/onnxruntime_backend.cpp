#include "backends/onnxruntime/onnxruntime_backend.h"

#include <unistd.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <unordered_set>
#include <utility>

#include <onnxruntime_session_options_config_keys.h>

#include "backends/onnxruntime/graph_preparation.h"
#include "backends/onnxruntime/library.h"
#include "backends/onnxruntime/value_dependence.h"
#include "graph/element_types.h"
#include "graph/graph_hazards.h"
#include "refusal.h"
#include "tensors/open_extents.h"

namespace ai_orvo::alg::common {
namespace {

using Shape = std::vector<std::int64_t>;

constexpr const char* kGone =
    "the process is ending, and ONNX Runtime's own objects are gone: run last frames before main returns";

[[noreturn]] void refuse(const EngineNetwork& network, const std::string& reason) {
    throw Refusal(Status::kBackendRefusal,
                  "network '" + network.path() + "' (opset " + std::to_string(network.opset()) +
                      "): the back-end onnxruntime (ONNX Runtime " + OrtGetApiBase()->GetVersionString() +
                      ") cannot run it: " + reason);
}

bool becomesFloat(std::int32_t elementType) {
    return elementType == onnx::TensorProto::FLOAT || elementType == onnx::TensorProto::FLOAT16 ||
           elementType == onnx::TensorProto::DOUBLE;
}

void checkElementTypes(const EngineNetwork& network) {
    for (const TensorDescription& input : network.inputs()) {
        if (!becomesFloat(input.elementType)) {
            refuse(network, "input '" + input.name + "' is " + elementTypeName(input.elementType) +
                                ", it takes float32, float16 and float64: export the network in float32");
        }
    }
    for (const TensorDescription& output : network.outputs()) {
        if (!becomesFloat(output.elementType) && !output.grid.has_value()) {
            refuse(
                network,
                "output '" + output.name + "' is " + elementTypeName(output.elementType) +
                    ", it gives floats, and bytes that QuantizeLinear makes with one constant float32 scale: "
                    "export the network with float32 outputs");
        }
    }
}

std::vector<std::string> namesOf(const std::vector<TensorDescription>& tensors) {
    std::vector<std::string> names;
    names.reserve(tensors.size());
    for (const TensorDescription& tensor : tensors) {
        names.push_back(tensor.name);
    }
    return names;
}

std::vector<const char*> pointersTo(const std::vector<std::string>& names) {
    std::vector<const char*> pointers;
    pointers.reserve(names.size());
    for (const std::string& name : names) {
        pointers.push_back(name.c_str());
    }
    return pointers;
}

Ort::SessionOptions sessionOptions(std::optional<int> threads) {
    Ort::SessionOptions options;
    options.SetLogSeverityLevel(ORT_LOGGING_LEVEL_FATAL);
    // Threads that wait for work in a loop would take the processor from all else that the program does.
    options.AddConfigEntry(kOrtSessionOptionsConfigAllowIntraOpSpinning, "0");
    if (threads.has_value()) {
        options.SetIntraOpNumThreads(*threads);
    }
    return options;
}

/// Whether two outputs end at one value, or an output at an input. ONNX Runtime writes only some of the
/// memory that is bound to one value twice, and none that is bound to an input as an output.
bool sharesValues(const PreparedGraph& prepared) {
    std::unordered_set<std::string> values(prepared.inputs.begin(), prepared.inputs.end());
    return std::any_of(prepared.outputs.begin(), prepared.outputs.end(),
                       [&values](const std::string& output) { return !values.insert(output).second; });
}

/// ONNX Runtime reads names up to their first zero byte, and takes two for one.
void checkNames(const EngineNetwork& network, const PreparedGraph& prepared) {
    for (const std::vector<std::string>* names : {&prepared.inputs, &prepared.outputs}) {
        for (const std::string& name : *names) {
            if (name.find('\0') != std::string::npos) {
                refuse(network,
                       "the name '" + name + "' holds a zero byte: rename that tensor of the network");
            }
        }
    }
}

class OnnxRuntimeBackend : public EngineBackend {
  public:
    OnnxRuntimeBackend(const EngineNetwork& network, const PreparedGraph& prepared,
                       std::vector<Shape> inputShapes, std::optional<int> threads)
        : path_(network.path()),
          environment_(makeQuietEnvironment()),
          inputNames_(prepared.inputs),
          outputNames_(prepared.outputs),
          copiesOutputs_(mayFailOnValues(prepared.model.graph(), prepared.inputs) || sharesValues(prepared)) {
        shapes_.inputs = std::move(inputShapes);
        const std::string bytes = prepared.model.SerializeAsString();
        session_ = Ort::Session(environment_, bytes.data(), bytes.size(), sessionOptions(threads));
        runOptions_.SetRunLogSeverityLevel(ORT_LOGGING_LEVEL_FATAL);
        learnOutputShapes(network);
        watchForEndOfOnnxRuntime();
    }

    OnnxRuntimeBackend(const OnnxRuntimeBackend&) = delete;
    OnnxRuntimeBackend& operator=(const OnnxRuntimeBackend&) = delete;

    ~OnnxRuntimeBackend() override {
        // A session waits for its threads, which a forked process does not have: there it is left alone.
        if (getpid() != process_) {
            static_cast<void>(session_.release());
            static_cast<void>(environment_.release());
        }
    }

    const TensorShapes& shapes() const { return shapes_; }

    const char* name() const override { return "onnxruntime"; }

    void run(const std::vector<const float*>& inputs, const std::vector<OutputRequest>& outputs) override {
        if (isOnnxRuntimeGone()) {
            throw Refusal(Status::kInferenceFailed, "network '" + path_ + "': " + kGone);
        }
        try {
            if (copiesOutputs_) {
                runAndCopy(inputs, outputs);
            } else {
                runInPlace(inputs, outputs);
            }
        } catch (const Ort::Exception& error) {
            throw Refusal(Status::kInferenceFailed,
                          "network '" + path_ + "': ONNX Runtime failed: " + error.what() +
                              "; this network ran when it was loaded: either memory is short, or "
                              "the values of this picture are none that it can work on");
        }
    }

  private:
    Ort::Value tensorOver(float* values, const Shape& shape) const {
        return Ort::Value::CreateTensor<float>(memory_, values, elementsOf(shape), shape.data(),
                                               shape.size());
    }

    std::vector<Ort::Value> tensorsOver(const std::vector<const float*>& inputs) const {
        std::vector<Ort::Value> tensors;
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            // A tensor over foreign memory has no const form; it is only read.
            tensors.push_back(tensorOver(const_cast<float*>(inputs[i]), shapes_.inputs[i]));
        }
        return tensors;
    }

    /// Each output of the network as it comes, in memory of ONNX Runtime's.
    std::vector<Ort::Value> runForAll(const std::vector<const float*>& inputs) {
        const std::vector<Ort::Value> values = tensorsOver(inputs);
        const std::vector<const char*> inputNames = pointersTo(inputNames_);
        const std::vector<const char*> outputNames = pointersTo(outputNames_);
        return session_.Run(runOptions_, inputNames.data(), values.data(), values.size(), outputNames.data(),
                            outputNames.size());
    }

    void learnOutputShapes(const EngineNetwork& network) {
        std::vector<std::vector<float>> zeros;
        std::vector<const float*> inputs;
        zeros.reserve(shapes_.inputs.size());
        for (const Shape& shape : shapes_.inputs) {
            zeros.emplace_back(elementsOf(shape));
            inputs.push_back(zeros.back().data());
        }
        const std::vector<Ort::Value> results = runForAll(inputs);
        for (std::size_t i = 0; i < results.size(); ++i) {
            shapes_.outputs.push_back(floatShapeOf(network, network.outputs()[i], results[i]));
        }
    }

    static Shape floatShapeOf(const EngineNetwork& network, const TensorDescription& output,
                              const Ort::Value& result) {
        if (!result.IsTensor() ||
            result.GetTensorTypeAndShapeInfo().GetElementType() != ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT) {
            refuse(network, "it computes output '" + output.name +
                                "' as something else than floats: export the "
                                "network with float32 outputs");
        }
        Shape shape = result.GetTensorTypeAndShapeInfo().GetShape();
        const std::size_t elements = elementsOf(shape);
        if (elements == 0 || (output.isStatic() && elements != output.elementCount())) {
            refuse(network, "it computes output '" + output.name + "' as " + shapeText(shape) +
                                " where the file says " + output.describeShape() +
                                ": export the network again");
        }
        return shape;
    }

    void runInPlace(const std::vector<const float*>& inputs, const std::vector<OutputRequest>& outputs) {
        const std::vector<Ort::Value> values = tensorsOver(apartFrom(outputs, inputs));
        std::vector<Ort::Value> results;
        std::vector<const char*> outputNames;
        for (const OutputRequest& request : outputs) {
            results.push_back(tensorOver(request.values, shapes_.outputs[request.output]));
            outputNames.push_back(outputNames_[request.output].c_str());
        }
        const std::vector<const char*> inputNames = pointersTo(inputNames_);
        session_.Run(runOptions_, inputNames.data(), values.data(), values.size(), outputNames.data(),
                     results.data(), results.size());
    }

    /// A caller may give the same bytes as input and output; an input must not be written before its last
    /// use.
    std::vector<const float*> apartFrom(const std::vector<OutputRequest>& outputs,
                                        std::vector<const float*> inputs) {
        inputCopies_.resize(inputs.size());
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            const float* const end = inputs[i] + elementsOf(shapes_.inputs[i]);
            const bool shared =
                std::any_of(outputs.begin(), outputs.end(), [&](const OutputRequest& request) {
                    const float* const outputEnd =
                        request.values + elementsOf(shapes_.outputs[request.output]);
                    return std::less<>()(inputs[i], outputEnd) && std::less<>()(request.values, end);
                });
            if (shared) {
                inputCopies_[i].assign(inputs[i], end);
                inputs[i] = inputCopies_[i].data();
            }
        }
        return inputs;
    }

    void runAndCopy(const std::vector<const float*>& inputs, const std::vector<OutputRequest>& outputs) {
        const std::vector<Ort::Value> results = runForAll(inputs);
        for (const OutputRequest& request : outputs) {
            if (results[request.output].GetTensorTypeAndShapeInfo().GetShape() !=
                shapes_.outputs[request.output]) {
                throw Refusal(
                    Status::kInferenceFailed,
                    "network '" + path_ + "': output '" + outputNames_[request.output] +
                        "' came in another shape than before; its shape must not depend on the picture");
            }
        }
        for (const OutputRequest& request : outputs) {
            std::copy_n(results[request.output].GetTensorData<float>(),
                        elementsOf(shapes_.outputs[request.output]), request.values);
        }
    }

    std::string path_;
    Ort::Env environment_;
    Ort::Session session_{nullptr};
    Ort::RunOptions runOptions_;
    Ort::MemoryInfo memory_ = Ort::MemoryInfo::CreateCpu(OrtArenaAllocator, OrtMemTypeDefault);
    std::vector<std::string> inputNames_;
    std::vector<std::string> outputNames_;
    TensorShapes shapes_;
    std::vector<std::vector<float>> inputCopies_;
    pid_t process_ = getpid();
    bool copiesOutputs_;  ///< written in place otherwise
};

/// Some versions divide by a window's steps before they look at them.
void checkWindows(const EngineNetwork& network, const onnx::ModelProto& model) {
    try {
        refuseBadWindows(model.graph());
    } catch (const std::invalid_argument& error) {
        refuse(network, std::string(error.what()) + "; export the network again");
    }
}

}  // namespace

std::shared_ptr<EngineBackend> makeOnnxRuntimeBackend(std::optional<int> threads,
                                                      const BackendRequest& request) {
    EngineNetwork& network = request.network;
    if (!loadOnnxRuntime()) {
        refuse(network, "that library is older than the interface " + std::to_string(ORT_API_VERSION) +
                            " that the engine was built with: give the loader a newer one");
    }
    if (isOnnxRuntimeGone()) {
        refuse(network, kGone);
    }
    checkElementTypes(network);
    checkWindows(network, request.model);
    SettledInputs inputs = settleInputs(request.config, network);
    const PreparedGraph prepared = prepareGraph(request.model, namesOf(network.inputs()), inputs.shapes);
    checkNames(network, prepared);
    try {
        auto backend =
            std::make_shared<OnnxRuntimeBackend>(network, prepared, std::move(inputs.shapes), threads);
        network.settleShapes(backend->shapes());
        if (!inputs.assumption.empty()) {
            sayOnStandardError(inputs.assumption);
        }
        return backend;
    } catch (const Ort::Exception& error) {
        refuse(network, std::string(error.what()) + "; export the network again");
    }
}

}  // namespace ai_orvo::alg::common
