// The program's check of a configuration against the constructors: wrong use with a message, or findings, or
// a model comes to be without an exception and without an end of the process. The network beside it is a
// small one of the fused form. Capped: files of 4096 bytes (scripts/fuzz).

#include "config/model_config_check.h"
#include "console/failure.h"
#include "support/engine_scope.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"
#include "support/temporary_folder.h"
#include "support/tiny_network.h"

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "brellix/yolov8_seg.h"

#include <optional>
#include <string>

namespace brellix::fuzz {
namespace {

/// A folder with a network and whatever configuration comes.
class ConfigFolder {
  public:
    ConfigFolder() {
        testing::writeTinyNetwork(folder_.path() + "/network.onnx", testing::fusedNetwork(1, {}));
    }

    std::string write(const std::string& content) const { return folder_.write("model.yaml", content); }

  private:
    testing::TemporaryFolder folder_;
};

std::optional<app::CheckedConfig> checked(const std::string& path) {
    try {
        return app::checkModelConfig({path, {}, {}, {}});
    } catch (const app::Failure& failure) {
        require(failure.status() == app::ExitStatus::kWrongUse, "status of a refusal");
        require(failure.what()[0] != '\0', "a refusal without a word");
        return std::nullopt;
    }
}

/// Any exception, and any end of the process, is a finding.
void construct(const std::string& path, app::ModelClass modelClass) {
    switch (modelClass) {
        case app::ModelClass::kYoloV5:
            ai_orvo::model::YOLOv5{path};
            return;
        case app::ModelClass::kYoloV5Cutoff:
            ai_orvo::model::YOLOv5Cutoff{path};
            return;
        case app::ModelClass::kYoloV8Seg:
            ai_orvo::model::YOLOv8Seg{path};
            return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const EngineScope scope;
    static const ConfigFolder folder;
    const std::string path = folder.write(FuzzedData(bytes, size).rest());
    const std::optional<app::CheckedConfig> config = checked(path);
    if (!config || app::holds(config->findings, app::Severity::kError)) {
        return 0;
    }
    construct(path, config->config.modelClass);
    return 0;
}

}  // namespace brellix::fuzz
