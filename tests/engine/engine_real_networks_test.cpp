// Networks as people have them; the folder is named by BRELLIX_NETWORKS and is no part of the project.

#include <cmath>
#include <cstdlib>

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

constexpr std::size_t kPixels = std::size_t{640} * 640;

class EngineRealNetworks : public EngineTest {
  protected:
    void SetUp() override {
        const char* folder = std::getenv("BRELLIX_NETWORKS");
        if (folder == nullptr || *folder == '\0') {
            GTEST_SKIP() << "BRELLIX_NETWORKS is not set";
        }
        networks_ = folder;
    }

    AIEngineConfig configOf(const std::string& file) const {
        AIEngineConfig config;
        config.model_path = networks_ + "/" + file;
        return config;
    }

    /// An image with edges and gradients in it.
    static AIBuff image() {
        AIBuff buffer = byteBuffer(3 * kPixels);
        for (std::size_t i = 0; i < buffer.data->size(); ++i) {
            (*buffer.data)[i] = static_cast<std::int8_t>((i / 3 % 640) * (i / 1920) / 640 + i % 3 * 40);
        }
        return buffer;
    }

    std::string networks_;
};

TEST_F(EngineRealNetworks, FusedDetectorGivesDecodedCandidates) {
    AIEngineConfig config = configOf("yolov5n_fused_640.onnx");
    config.input_sizes = {{"image", static_cast<int>(3 * kPixels)}};
    config.output_sizes = {{"output0", 25200 * 85}};
    expectSilentSuccess(init(config));
    TensorMap inputs{{"image", image()}};
    TensorMap outputs{{"output0", byteBuffer(std::size_t{25200} * 85 * 4)}};
    expectSilentSuccess(infer(inputs, outputs));
    const std::vector<float> values = floatsOf(outputs["output0"]);
    for (std::size_t row = 0; row < 25200; ++row) {
        for (std::size_t column = 4; column < 85; ++column) {
            const float probability = values[row * 85 + column];
            ASSERT_TRUE(probability >= 0.0F && probability <= 1.0F) << row << ", " << column;
        }
    }
}

TEST_F(EngineRealNetworks, CutDetectorGivesInt8CloseToItsFloats) {
    AIEngineConfig config = configOf("yolov5n_cutoff_bgr_640.onnx");
    const std::map<std::string, std::size_t> heads{{"/model.24/m.0/Conv_output_0", 255 * 80 * 80},
                                                   {"/model.24/m.1/Conv_output_0", 255 * 40 * 40},
                                                   {"/model.24/m.2/Conv_output_0", 255 * 20 * 20}};
    config.input_sizes = {{"images", static_cast<int>(3 * kPixels)}};
    TensorMap bytes;
    TensorMap floats;
    for (const auto& [name, elements] : heads) {
        config.output_sizes[name] = static_cast<int>(elements);
        bytes[name] = byteBuffer(elements);
        floats[name] = byteBuffer(elements * 4);
    }
    expectSilentSuccess(init(config));
    TensorMap inputs{{"images", image()}};
    expectSilentSuccess(infer(inputs, bytes));
    expectSilentSuccess(infer(inputs, floats));
    for (const auto& [name, elements] : heads) {
        const AIBuff& quantized = bytes[name];
        const std::vector<float> exact = floatsOf(floats[name]);
        ASSERT_EQ(quantized.type, 0);
        ASSERT_GT(quantized.scale, 0.0F);
        // Half a step from the rounding, as much from the zero point's own rounding at the ends of the range,
        // and float error in the last place.
        const float tolerance = quantized.scale * 1.001F;
        for (std::size_t i = 0; i < elements; ++i) {
            const float value = static_cast<float>((*quantized.data)[i] - quantized.zp) * quantized.scale;
            ASSERT_NEAR(value, exact[i], tolerance) << name << " at " << i;
        }
    }
}

TEST_F(EngineRealNetworks, ExportWithSplitSizesAsInputRuns) {
    AIEngineConfig config = configOf("yolov8n-seg_heads_bgr_640.onnx");
    config.input_sizes = {{"images", static_cast<int>(3 * kPixels)}};
    config.output_sizes = {{"output0", 64 * 80 * 80}, {"proto", 32 * 160 * 160}};
    expectSilentSuccess(init(config));
    TensorMap inputs{{"images", image()}};
    TensorMap outputs{{"proto", byteBuffer(std::size_t{32} * 160 * 160 * 4)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_TRUE(std::isfinite(floatsOf(outputs["proto"]).front()));
}

TEST_F(EngineRealNetworks, HalfPrecisionDynamicExportIsRefusedByOpencvWithTheFix) {
    const EnvironmentVariable backend("BRELLIX_ENGINE_BACKEND", "opencv_dnn");
    expectRefusal(init(configOf("yolov5n_export_fp16_dynamic.onnx")), 4,
                  {"float16", "?x3x?x?", "in float32 and with a static shape"});
}

}  // namespace
}  // namespace brellix::testing
