#include "check_fixture.h"

#include <cstdlib>
#include <filesystem>

namespace brellix::testing {
namespace {

using nlohmann::json;

/// The large networks that BRELLIX_NETWORKS leads to, each linked into the test's folder.
class CheckRealNetworks : public CheckTest {
  protected:
    void SetUp() override {
        const char* const folder = std::getenv("BRELLIX_NETWORKS");
        if (folder == nullptr || *folder == '\0') {
            GTEST_SKIP() << "BRELLIX_NETWORKS is not set";
        }
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".onnx") {
                std::filesystem::create_symlink(entry.path(), path(entry.path().filename().string()));
            }
        }
    }

    /// Expects `init` to recognise the network, and the configuration to pass.
    void expectRecognised(const std::string& stem, const std::string& modelClass) const {
        const ProgramResult result = run({"init", stem + ".onnx"});
        EXPECT_EQ(result.status, 0) << result.err;
        const json answer = report(stem + ".yaml");
        EXPECT_EQ(answer["model"], modelClass);
        EXPECT_EQ(answer["fits"], true) << answer.dump(1);
        writeText("wrong.yaml", replaced(readText(stem + ".yaml"), "class_num: 80", "class_num: 10"));
        expectFinding(report("wrong.yaml"), "class_num", "error", {"write \"class_num: 80\""});
    }

    /// Expects `init` to answer no, and to name each of `words`.
    void expectPreparation(const std::string& network, const std::vector<std::string>& words) const {
        const ProgramResult result = run({"init", network});
        EXPECT_EQ(result.status, 1) << result.err;
        for (const std::string& word : words) {
            EXPECT_NE(result.err.find(word), std::string::npos) << word << " is not in: " << result.err;
        }
    }
};

TEST_F(CheckRealNetworks, PreparedOnesAreRecognised) {
    expectRecognised("yolov5n_fused_640", "yolov5");
    expectRecognised("yolov5n_cutoff_bgr_640", "yolov5_cutoff");
    expectRecognised("yolov8n-seg_heads_bgr_640", "yolov8_seg");
}

TEST_F(CheckRealNetworks, NamesOfTheMetadataAreTaken) {
    EXPECT_EQ(run({"init", "yolov8n-seg_heads_bgr_640.onnx", "-o", "seg.yaml", "-f"}).status, 0);
    EXPECT_NE(readText("seg.yaml").find("  79: \"toothbrush\"\n"), std::string::npos);
}

TEST_F(CheckRealNetworks, ExportsAsFoundComeWithTheCommandThatPreparesThem) {
    expectPreparation(
        "yolov8n-seg_std_640.onnx",
        {"a YOLOv8 segmentation network as it is exported",
         "tools/prepare_network.py yolov8n-seg_std_640.onnx -o yolov8n-seg_std_640_prepared.onnx,"});
    expectPreparation("yolov5n_export_fp16_dynamic.onnx",
                      {"float16 inputs, outputs, weights", "open: ",
                       "tools/prepare_network.py yolov5n_export_fp16_dynamic.onnx -o "
                       "yolov5n_export_fp16_dynamic_prepared.onnx --size 640 640",
                       "yolov5n_export_fp16_dynamic_cut.onnx --cut --size 640 640"});
}

}  // namespace
}  // namespace brellix::testing
