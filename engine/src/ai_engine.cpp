#include "brellix/ai_engine.h"

#include <utility>

#include "backends/engine_backend.h"
#include "backends/last_backend.h"
#include "graph/network_file.h"
#include "refusal.h"
#include "tensors/configuration_check.h"
#include "tensors/tensor_binding.h"
#include "tensors/tensor_conversion.h"

namespace ai_orvo::alg::common {
namespace {

/// Runs the steps of an operation; nothing but a status code leaves the engine.
template <class Steps>
int statusOf(Steps steps) noexcept {
    try {
        steps();
        return static_cast<int>(Status::kDone);
    } catch (...) {
        return reportCurrentException();
    }
}

std::vector<const float*> floatInputs(const EngineNetwork& network, const std::vector<BoundTensor>& bound,
                                      FloatScratch& scratch) {
    std::vector<const float*> inputs;
    for (const BoundTensor& input : bound) {
        if (input.form == BufferForm::kFloat32) {
            inputs.push_back(input.floats());
            continue;
        }
        const std::size_t elements = network.inputs()[input.index].elementCount();
        float* const planes = scratch.take(elements);
        imageToPlanes(reinterpret_cast<const std::uint8_t*>(input.buffer->data->data()), elements / 3,
                      planes);
        inputs.push_back(planes);
    }
    return inputs;
}

/// Float buffers are written in place, int8 buffers by way of a float tensor.
std::vector<OutputRequest> outputRequests(const EngineNetwork& network, const std::vector<BoundTensor>& bound,
                                          FloatScratch& scratch) {
    std::vector<OutputRequest> requests;
    for (const BoundTensor& output : bound) {
        float* const values = output.form == BufferForm::kFloat32
                                  ? output.floats()
                                  : scratch.take(network.outputs()[output.index].elementCount());
        requests.push_back({output.index, values});
    }
    return requests;
}

void finishFloat(const TensorDescription& tensor, float* values, AIBuff& buffer) {
    if (tensor.grid.has_value()) {
        snapToGrid(values, tensor.elementCount(), *tensor.grid);
    }
    buffer.type = kElementFloat32;
}

void finishInt8(const TensorDescription& tensor, const float* values, AffineGrid grid, AIBuff& buffer) {
    quantize(values, tensor.elementCount(), grid, buffer.data->data());
    buffer.type = kElementInt8;
    buffer.zp = grid.zeroPoint;
    buffer.scale = grid.scale;
}

void finishOutputs(const EngineNetwork& network, const std::vector<BoundTensor>& bound,
                   const std::vector<OutputRequest>& requests) {
    for (std::size_t i = 0; i < bound.size(); ++i) {
        const TensorDescription& tensor = network.outputs()[bound[i].index];
        float* const values = requests[i].values;
        if (bound[i].form == BufferForm::kFloat32) {
            finishFloat(tensor, values, *bound[i].buffer);
        } else {
            finishInt8(tensor, values, network.gridFor(tensor, values), *bound[i].buffer);
        }
    }
}

}  // namespace

int AIEngine::Init(const AIEngineConfig& config) {
    return statusOf([&] {
        const Environment environment = readEnvironment();
        prepareBackends();
        onnx::ModelProto model = readNetworkFile(config.model_path);
        NetworkDescription description = describeNetwork(model, config.model_path);
        Calibration calibration = readCalibration(calibrationPath(config.model_path));
        auto network = std::make_shared<EngineNetwork>(config.model_path, std::move(description),
                                                       std::move(calibration));
        checkConfiguration(config, *network);
        std::shared_ptr<EngineBackend> backend = makeBackend(environment, {config, model, *network});
        // Extents that the file leaves open are known only now.
        checkConfiguration(config, *network);
        noteBackend(backend->name());
        backend_ = std::move(backend);
        network_ = std::move(network);
    });
}

int AIEngine::DoInference(TensorMap& inputs, TensorMap& outputs) {
    return statusOf([&] {
        if (network_ == nullptr || backend_ == nullptr) {
            throw Refusal(Status::kNotInitialised,
                          "inference without a network: Init was not called or has failed; see its message");
        }
        const std::vector<BoundTensor> boundInputs = bindInputs(*network_, inputs);
        const std::vector<BoundTensor> boundOutputs = bindOutputs(*network_, outputs);
        FloatScratch& scratch = backend_->scratch();
        scratch.clear();
        const std::vector<const float*> values = floatInputs(*network_, boundInputs, scratch);
        const std::vector<OutputRequest> requests = outputRequests(*network_, boundOutputs, scratch);
        backend_->run(values, requests);
        finishOutputs(*network_, boundOutputs, requests);
    });
}

}  // namespace ai_orvo::alg::common
