#include "tensors/tensor_binding.h"

#include <optional>

#include "refusal.h"
#include "tensors/tensor_matching.h"

namespace ai_orvo::alg::common {
namespace {

constexpr std::size_t kImageRank = 4;
constexpr std::int64_t kImageChannels = 3;

std::size_t byteSize(const AIBuff& buffer) {
    return buffer.data != nullptr ? buffer.data->size() : 0;
}

bool isImage(const TensorDescription& tensor) {
    return tensor.shape.size() == kImageRank && tensor.shape[0] == 1 && tensor.shape[1] == kImageChannels;
}

std::optional<BufferForm> inputForm(const TensorDescription& tensor, std::size_t bytes) {
    const std::size_t elements = tensor.elementCount();
    if (bytes == elements * sizeof(float)) {
        return BufferForm::kFloat32;
    }
    return bytes == elements && isImage(tensor) ? std::optional(BufferForm::kByte) : std::nullopt;
}

std::optional<BufferForm> outputForm(const TensorDescription& tensor, std::size_t bytes) {
    const std::size_t elements = tensor.elementCount();
    if (bytes >= elements * sizeof(float)) {
        return BufferForm::kFloat32;
    }
    return bytes == elements ? std::optional(BufferForm::kByte) : std::nullopt;
}

std::string sizeFault(const TensorDescription& tensor, std::size_t bytes) {
    return "the buffer has " + std::to_string(bytes) + " bytes, the network's tensor '" + tensor.name +
           "' (" + tensor.describeShape() + ") needs " +
           std::to_string(tensor.elementCount() * sizeof(float)) + " for float32";
}

[[noreturn]] void refuseInput(const EngineNetwork& network, const std::string& name,
                              const std::string& fault) {
    throw Refusal(Status::kBadInputs, "network '" + network.path() + "', input '" + name + "': " + fault);
}

[[noreturn]] void refuseOutput(const EngineNetwork& network, const std::string& name,
                               const std::string& fault) {
    throw Refusal(Status::kBadOutputs, "network '" + network.path() + "', output '" + name + "': " + fault);
}

BoundTensor bindInput(const EngineNetwork& network, const TensorDescription& tensor, const std::string& name,
                      AIBuff& buffer) {
    const std::size_t bytes = byteSize(buffer);
    const std::optional<BufferForm> form = inputForm(tensor, bytes);
    if (!form.has_value()) {
        const std::string image = isImage(tensor) ? " or " + std::to_string(tensor.elementCount()) +
                                                        " for an 8-bit interleaved image"
                                                  : "";
        refuseInput(network, name,
                    sizeFault(tensor, bytes) + image + "; give the picture in the network's input size");
    }
    return {static_cast<std::size_t>(&tensor - network.inputs().data()), &buffer, *form};
}

BoundTensor bindOutput(const EngineNetwork& network, const TensorDescription& tensor, const std::string& name,
                       AIBuff& buffer) {
    const std::size_t bytes = byteSize(buffer);
    const std::optional<BufferForm> form = outputForm(tensor, bytes);
    if (!form.has_value()) {
        refuseOutput(network, name,
                     sizeFault(tensor, bytes) + " or " + std::to_string(tensor.elementCount()) +
                         " for int8; size the buffer before the call");
    }
    return {static_cast<std::size_t>(&tensor - network.outputs().data()), &buffer, *form};
}

}  // namespace

float* BoundTensor::floats() const {
    return reinterpret_cast<float*>(buffer->data->data());
}

std::vector<BoundTensor> bindInputs(const EngineNetwork& network, TensorMap& inputs) {
    for (const auto& entry : inputs) {
        if (matchTensor(network.inputs(), entry.first, inputs.size()) == nullptr) {
            refuseInput(network, entry.first,
                        "the network has no such input, it has " + listTensors(network.inputs()) +
                            "; use these names");
        }
    }
    std::vector<BoundTensor> bound;
    for (const TensorDescription& tensor : network.inputs()) {
        auto given = inputs.find(tensor.name);
        if (given == inputs.end() && inputs.size() == 1 && network.inputs().size() == 1) {
            given = inputs.begin();
        }
        if (given == inputs.end()) {
            refuseInput(network, tensor.name, "it was not given; every input of the network is needed");
        }
        bound.push_back(bindInput(network, tensor, given->first, given->second));
    }
    return bound;
}

std::vector<BoundTensor> bindOutputs(const EngineNetwork& network, TensorMap& outputs) {
    std::vector<BoundTensor> bound;
    for (auto& [name, buffer] : outputs) {
        const TensorDescription* tensor = matchTensor(network.outputs(), name, outputs.size());
        if (tensor == nullptr) {
            refuseOutput(network, name,
                         "the network has no such output, it has " + listTensors(network.outputs()) +
                             "; ask for these names");
        }
        bound.push_back(bindOutput(network, *tensor, name, buffer));
    }
    if (bound.empty()) {
        throw Refusal(Status::kBadOutputs, "network '" + network.path() +
                                               "': no output was asked for; name some of " +
                                               listTensors(network.outputs()));
    }
    return bound;
}

}  // namespace ai_orvo::alg::common
