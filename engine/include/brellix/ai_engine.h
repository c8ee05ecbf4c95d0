#pragma once

/// \file
/// The boundary between the models and the inference engine: tensors, the engine's configuration, the engine.
///
/// The models know of an engine only what stands here. `libbrellix_ai_engine` implements it on a PC; on a
/// board the board maker's library of the same interface takes its place (docs/engine.md).

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// Makes a symbol of `libbrellix_ai_engine` visible outside of it.
#define BRELLIX_ENGINE_API __attribute__((visibility("default")))

namespace ai_orvo::alg::common {

/// Element-type codes of `AIBuff::type` and of the type tables in `AIEngineConfig`.
enum ElementType : std::int32_t {
    kElementInt8 = 0,     ///< 8 bits, affine-quantised: value = (q - zp) * scale
    kElementFloat32 = 2,  ///< IEEE 754 binary32, host byte order
};

/// Back-end codes of `AIEngineConfig::framework`; 0 means that the model class names none.
enum FrameworkCode : std::int32_t {
    kFrameworkUnset = 0,
    kFrameworkTensorRt = 1,
    kFrameworkRknn = 2,
    kFrameworkOnnx = 3,
};

/// One tensor's bytes and what they mean.
///
/// Copies share `data` (writing through one copy shows in the others); the other fields are copied. The
/// reference count is thread-safe, the bytes are not. Code that receives an `AIBuff` treats a null `data`
/// like an empty one.
struct AIBuff {
    /// The bytes, row-major in the tensor's layout, values in host byte order.
    std::shared_ptr<std::vector<std::int8_t>> data = std::make_shared<std::vector<std::int8_t>>();
    std::int32_t type =
        kElementFloat32;  ///< element-type code, see `ElementType`; of outputs, the engine's to set
    std::int32_t zp = 0;  ///< zero point of an int8 tensor
    float scale = 0.0F;   ///< scale of an int8 tensor
    std::vector<std::int32_t> aux_vector;  ///< the engine's own; the models neither read nor write it
    std::int32_t aux_int = 0;              ///< the engine's own; the models neither read nor write it
};

/// Named tensors: the inputs or the outputs of one inference.
using TensorMap = std::map<std::string, AIBuff>;

/// What `AIEngine::Init` needs to know. A model fills it once, in its constructor.
///
/// Sizes are element counts (not bytes), shapes are in NCHW order, types are `ElementType` codes. The
/// detectors leave the tables of shapes and types empty.
struct AIEngineConfig {
    std::string model_path;                                          ///< path of the compiled network
    std::map<std::string, int> input_sizes;                          ///< elements of each input
    std::map<std::string, int> output_sizes;                         ///< elements of each output
    std::map<std::string, std::vector<std::int64_t>> input_shapes;   ///< NCHW; the detectors leave it empty
    std::map<std::string, std::vector<std::int64_t>> output_shapes;  ///< NCHW; the detectors leave it empty
    std::map<std::string, int> aux_inputs;                           ///< the engine's own; no model fills it
    std::map<std::string, int> aux_outputs;                          ///< the engine's own; no model fills it
    std::map<std::string, int> input_types;   ///< `ElementType` codes; the detectors leave it empty
    std::map<std::string, int> output_types;  ///< `ElementType` codes; the detectors leave it empty
    bool rknn_flag = false;                   ///< a back-end switch; each model sets it its own way
    int framework = kFrameworkUnset;          ///< see `FrameworkCode`
    int engine_param = 3000;  ///< a number for the engine; no model changes it, ours does not read it
};

/// One loaded network.
///
/// Default-constructed empty, made ready by `Init`, owned by value, never copied. One thread at a time may
/// use an instance; separate instances are independent. Neither operation throws or writes to standard
/// output; a refusal is one line on standard error that says what to do.
class BRELLIX_ENGINE_API AIEngine {
  public:
    AIEngine() = default;
    ~AIEngine() = default;
    AIEngine(const AIEngine&) = delete;
    AIEngine& operator=(const AIEngine&) = delete;

    /// Loads the network at `config.model_path` and checks it against the tables.
    /// \return 0 for success, else one of the codes that docs/engine.md lists; the instance then stays as
    ///         it was before the call.
    int Init(const AIEngineConfig& config);

    /// Runs the network once.
    /// \param inputs  every input tensor by name, `data` filled.
    /// \param outputs every wanted output tensor by name, `data` already sized; filled in place. Its byte
    ///                size chooses the form: 4 bytes an element for float32, 1 for int8 (then `type`, `zp`
    ///                and `scale` are set too).
    /// \return 0 for success, else one of the codes that docs/engine.md lists; the outputs then stay as
    ///         they were, but for the bytes of float32 outputs where memory ran out in the middle of the run.
    int DoInference(TensorMap& inputs, TensorMap& outputs);

  private:
    std::shared_ptr<class EngineNetwork> network_;  ///< what the file says: names, types, shapes
    std::shared_ptr<class EngineBackend> backend_;  ///< what runs it
};

}  // namespace ai_orvo::alg::common
