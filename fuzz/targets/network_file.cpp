// A network file as far as the engine judges it before OpenCV sees it: read, described, checked against
// tables, prepared. Refused with a code, or consistent. What the file stores is at most as large as the file,
// so nothing is capped but its length (scripts/fuzz).

#include "graph/network_file.h"
#include "backends/opencv_dnn/misread_forms.h"
#include "backends/opencv_dnn/model_preparation.h"
#include "backends/opencv_dnn/suitability.h"
#include "graph/engine_network.h"
#include "graph/graph_check.h"
#include "refusal.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"
#include "support/temporary_folder.h"
#include "tensors/configuration_check.h"
#include "tensors/open_extents.h"
#include "tensors/tensor_binding.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <string>
#include <utility>

namespace brellix::fuzz {
namespace {

namespace engine = ai_orvo::alg::common;

void checkTensor(const engine::TensorDescription& tensor) {
    require(!tensor.name.empty(), "a tensor without a name");
    require(tensor.elementCount() <= INT_MAX, "a tensor too large to count");
    require(!tensor.describeShape().empty(), "a shape without words");
    if (tensor.grid) {
        require(std::isfinite(tensor.grid->scale) && tensor.grid->scale > 0.0F, "scale of a grid");
        require(tensor.grid->zeroPoint >= -128 && tensor.grid->zeroPoint <= 127, "zero point of a grid");
    }
}

/// Tables with what the network says, or with something else.
engine::AIEngineConfig tablesFor(FuzzedData& data, const engine::NetworkDescription& network) {
    engine::AIEngineConfig config;
    const auto fill = [&data](const auto& tensors, auto& sizes, auto& shapes, auto& types) {
        for (const engine::TensorDescription& tensor : tensors) {
            const std::string name = data.byte() < 224 ? tensor.name : data.text(8);
            sizes[name] =
                data.byte() < 224 ? static_cast<int>(tensor.elementCount()) : data.oddInteger(0, 99);
            if (data.flag()) {
                shapes[name] = tensor.shape;
                std::replace(shapes[name].begin(), shapes[name].end(), engine::kUnknownExtent,
                             std::int64_t{4});
            }
            types[name] = data.oddInteger(0, 2);
        }
    };
    fill(network.inputs, config.input_sizes, config.input_shapes, config.input_types);
    fill(network.outputs, config.output_sizes, config.output_shapes, config.output_types);
    return config;
}

/// Buffers of the network's sizes and of others.
engine::TensorMap buffersFor(FuzzedData& data, const std::vector<engine::TensorDescription>& tensors) {
    engine::TensorMap buffers;
    for (const engine::TensorDescription& tensor : tensors) {
        const std::size_t elements = std::min<std::size_t>(tensor.elementCount(), 4096);
        engine::AIBuff& buffer = buffers[data.byte() < 224 ? tensor.name : data.text(8)];
        buffer = engine::AIBuff();
        buffer.data->resize(elements * (data.flag() ? 4 : 1) + (data.byte() < 224 ? 0 : data.byte()));
        if (data.byte() >= 240) {
            buffer.data = nullptr;
        }
    }
    return buffers;
}

void checkBound(const std::vector<engine::BoundTensor>& bound,
                const std::vector<engine::TensorDescription>& tensors) {
    for (const engine::BoundTensor& tensor : bound) {
        require(tensor.index < tensors.size(), "a tensor that the network lacks");
        const std::size_t size = tensor.form == engine::BufferForm::kFloat32 ? sizeof(float) : 1;
        const std::size_t held = tensor.buffer->data ? tensor.buffer->data->size() : 0;
        require(held >= tensors[tensor.index].elementCount() * size, "a buffer too short for its form");
    }
}

/// What the back-end opencv_dnn asks before it hands the network to OpenCV.
void judgeForOpencv(const onnx::ModelProto& model, const engine::EngineNetwork& network) {
    engine::OpencvModel prepared = engine::prepareForOpencv(model);
    const engine::GraphVerdict verdict = engine::judgeGraph(model);
    if (!engine::reasonAgainstOpencv(network, prepared).empty() || !verdict.fault.empty()) {
        return;
    }
    engine::stateAttributes(prepared.model, verdict.inferred);
    static_cast<void>(engine::misreadForm(engine::GraphFacts(prepared.model, verdict.inferred)));
}

/// What Init does, but for the libraries that run networks. Every refusal has a code and a sentence.
void judge(const std::string& path) {
    onnx::ModelProto model = engine::readNetworkFile(path);
    // Describing may replace the model.
    const std::string choices = model.doc_string();
    FuzzedData data(choices);
    engine::NetworkDescription description = engine::describeNetwork(model, path);
    for (const auto* tensors : {&description.inputs, &description.outputs}) {
        std::for_each(tensors->begin(), tensors->end(), checkTensor);
    }
    const engine::AIEngineConfig config = tablesFor(data, description);
    const engine::EngineNetwork network(path, std::move(description), {});
    judgeForOpencv(model, network);
    engine::TensorMap inputs = buffersFor(data, network.inputs());
    engine::TensorMap outputs = buffersFor(data, network.outputs());
    engine::checkConfiguration(config, network);
    for (const auto& shape : engine::settleInputs(config, network).shapes) {
        require(std::find(shape.begin(), shape.end(), engine::kUnknownExtent) == shape.end(),
                "an open extent");
    }
    checkBound(engine::bindInputs(network, inputs), network.inputs());
    checkBound(engine::bindOutputs(network, outputs), network.outputs());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const testing::TemporaryFolder folder;
    try {
        judge(folder.write("network.onnx", FuzzedData(bytes, size).rest()));
    } catch (const engine::Refusal& refusal) {
        require(refusal.status() != engine::Status::kDone && refusal.what()[0] != '\0',
                "a refusal without a word");
    }
    return 0;
}

}  // namespace brellix::fuzz
