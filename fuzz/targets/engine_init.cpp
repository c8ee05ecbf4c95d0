// A network file through AIEngine: Init, and where that succeeds, inference with good buffers and with
// others. Statuses are the documented ones, a good call after a refused one works, and the outputs of the
// same inputs are the same. Capped: networks whose values are all known to hold at most 65536 elements.

#include "brellix/ai_engine.h"
#include "graph/network_description.h"
#include "graph/network_file.h"
#include "refusal.h"
#include "support/fuzzed_data.h"
#include "support/networks.h"
#include "support/require.h"
#include "support/target.h"
#include "support/temporary_folder.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brellix::fuzz {
namespace {

using namespace ai_orvo::alg::common;

constexpr std::int64_t kMostElements = 65536;
constexpr int kHighestStatus = 11;

/// What the file says.
struct Network {
    onnx::ModelProto model;
    NetworkDescription description;
};

/// Empty for a file that is refused, with which Init is called all the same; nothing for a network that is
/// too large to run.
std::optional<Network> networkOf(const std::string& path) {
    try {
        Network network{readNetworkFile(path), {}};
        network.description = describeNetwork(network.model, path);
        return isSmall(network.model, kMostElements) ? std::optional(std::move(network)) : std::nullopt;
    } catch (const Refusal&) {
        return Network{};
    }
}

TensorMap buffersFor(const std::vector<TensorDescription>& tensors, std::size_t elementSize) {
    TensorMap buffers;
    for (const TensorDescription& tensor : tensors) {
        buffers[tensor.name].data->assign(tensor.elementCount() * elementSize, std::int8_t{1});
    }
    return buffers;
}

/// Changes one of the buffers, which the engine has to refuse or to do without.
void spoil(FuzzedData& data, TensorMap& buffers) {
    if (buffers.empty()) {
        return;
    }
    AIBuff& buffer = buffers.begin()->second;
    switch (data.integer(0, 3)) {
        case 0:
            buffer.data = nullptr;
            break;
        case 1:
            buffer.data->resize(buffer.data->size() + data.byte());
            break;
        case 2:
            buffer.data->resize(data.byte() % (buffer.data->size() + 1));
            break;
        default:
            buffers[data.text(4)] = AIBuff();
            break;
    }
}

int checked(int status) {
    require(status >= 0 && status <= kHighestStatus, "a status that is not documented");
    require(status != static_cast<int>(Status::kInternal), "an error that nobody foresaw");
    return status;
}

void infer(AIEngine& engine, const Network& network, FuzzedData& data) {
    const std::size_t outputSize = data.flag() ? sizeof(float) : 1;
    TensorMap oddInputs = buffersFor(network.description.inputs, sizeof(float));
    TensorMap oddOutputs = buffersFor(network.description.outputs, outputSize);
    spoil(data, data.flag() ? oddInputs : oddOutputs);
    checked(engine.DoInference(oddInputs, oddOutputs));
    TensorMap inputs = buffersFor(network.description.inputs, sizeof(float));
    TensorMap outputs = buffersFor(network.description.outputs, outputSize);
    TensorMap again = buffersFor(network.description.outputs, outputSize);
    const int status = checked(engine.DoInference(inputs, outputs));
    require(checked(engine.DoInference(inputs, again)) == status, "the second inference ends otherwise");
    for (const auto& [name, tensor] : outputs) {
        require(*tensor.data == *again.at(name).data, "the second inference gives other bytes");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const testing::TemporaryFolder folder;
    AIEngineConfig config;
    config.model_path = folder.write("network.onnx", FuzzedData(bytes, size).rest());
    const std::optional<Network> network = networkOf(config.model_path);
    if (!network) {
        return 0;
    }
    AIEngine engine;
    const int status = checked(engine.Init(config));
    if (status == 0) {
        FuzzedData data(network->model.doc_string());
        infer(engine, *network, data);
    } else {
        TensorMap inputs;
        TensorMap outputs;
        require(engine.DoInference(inputs, outputs) == static_cast<int>(Status::kNotInitialised),
                "inference without a network");
    }
    return 0;
}

}  // namespace brellix::fuzz
