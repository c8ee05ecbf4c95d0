// An engine that breaks between good frames: what the model then says is what the engine gave, never more,
// and the next good frame is that of a model that saw nothing of it.

#include "brellix/run_report.h"
#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "support/canned_engine.h"
#include "support/canned_scenes.h"
#include "support/images.h"
#include "support/object_digest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <opencv2/core.hpp>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using namespace ai_orvo::model;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

using Bytes = std::vector<std::int8_t>;

/// A fault that changes each output by itself and says nothing of it.
EngineFault onEachOutput(std::function<void(AIBuff&)> change) {
    return [change = std::move(change)](TensorMap&, TensorMap& outputs) {
        for (auto& [name, tensor] : outputs) {
            change(tensor);
        }
        return 0;
    };
}

/// Every value of every tensor: float ones as they are, 8-bit ones by way of their scale.
EngineFault everyValueIs(float value) {
    return onEachOutput([value](AIBuff& tensor) {
        tensor.scale = value;
        if (tensor.type == ai_orvo::alg::common::kElementFloat32) {
            for (std::size_t at = 0; at + sizeof(value) <= tensor.data->size(); at += sizeof(value)) {
                std::memcpy(tensor.data->data() + at, &value, sizeof(value));
            }
        }
    });
}

EngineFault everySizeTimes(double factor) {
    return onEachOutput([factor](AIBuff& tensor) {
        tensor.data->resize(static_cast<std::size_t>(static_cast<double>(tensor.data->size()) * factor));
    });
}

class EngineFaults : public ::testing::TestWithParam<CannedModel> {
  protected:
    EngineFaults() : model_(GetParam().make()), expected_(digestOf(detected())) {}

    std::vector<Object> detected() {
        std::vector<Object> objects;
        model_->detect(photo_, objects);
        return objects;
    }

    /// Three bad frames, each with a good one behind it. \return the objects of the last bad one.
    std::vector<Object> framesWith(const EngineFault& fault, int status = 0) {
        std::vector<Object> objects;
        for (int frame = 0; frame < 3; ++frame) {
            {
                const ScopedEngineFault broken(fault);
                objects = detected();
            }
            EXPECT_EQ(last_run_report().inference_status, status);
            expectDefined(objects);
            expectGoodFrame();
        }
        return objects;
    }

    void expectGoodFrame() {
        EXPECT_EQ(digestOf(detected()), expected_);
        EXPECT_EQ(last_run_report().inference_status, 0);
    }

    /// Whatever the tensors hold, what stands in an object can be used.
    void expectDefined(const std::vector<Object>& objects) const {
        for (const Object& object : objects) {
            EXPECT_TRUE(object.label >= 0 && object.label < kCannedClasses) << object.label;
            const bool isFinite = std::isfinite(object.rect.x) && std::isfinite(object.rect.y) &&
                                  std::isfinite(object.rect.width) && std::isfinite(object.rect.height);
            EXPECT_TRUE(isFinite) << object.rect;
            EXPECT_TRUE(object.mask.empty() || object.mask.size() == photo_.size()) << object.mask.size();
        }
    }

    const cv::Mat photo_ = noisePicture(200, 150);
    const std::unique_ptr<CvModel> model_;
    const std::uint64_t expected_;
};

TEST_P(EngineFaults, UntouchedFramesHoldObjects) {
    EXPECT_GE(detected().size(), 10U);
    expectGoodFrame();
}

TEST_P(EngineFaults, FailedInferenceIsReportedAndDecodedAsItStands) {
    EXPECT_EQ(digestOf(framesWith([](TensorMap&, TensorMap&) { return 9; }, 9)), expected_);
    EXPECT_EQ(digestOf(framesWith([](TensorMap&, TensorMap&) { return -1; }, -1)), expected_);
}

TEST_P(EngineFaults, FailureHalfWayIsReported) {
    framesWith(
        [](TensorMap&, TensorMap& outputs) {
            Bytes& half = *outputs.begin()->second.data;
            std::fill(half.begin() + static_cast<std::ptrdiff_t>(half.size() / 2), half.end(),
                      std::int8_t{0});
            for (auto output = std::next(outputs.begin()); output != outputs.end(); ++output) {
                *output->second.data = Bytes(output->second.data->size());
            }
            return 9;
        },
        9);
}

TEST_P(EngineFaults, ExceptionOfTheEngineReachesTheCaller) {
    for (int frame = 0; frame < 3; ++frame) {
        {
            const ScopedEngineFault broken(
                [](TensorMap&, TensorMap&) -> int { throw std::runtime_error("the device is gone"); });
            EXPECT_THROW(detected(), std::runtime_error);
        }
        expectGoodFrame();
        {
            const ScopedEngineFault broken([](TensorMap& inputs, TensorMap& outputs) -> int {
                inputs.clear();
                outputs.clear();
                throw 42;
            });
            EXPECT_THROW(detected(), int);
        }
        expectGoodFrame();
    }
}

TEST_P(EngineFaults, EmptyBuffersHoldNothing) {
    EXPECT_TRUE(framesWith(onEachOutput([](AIBuff& tensor) { tensor.data = nullptr; })).empty());
    EXPECT_TRUE(framesWith(onEachOutput([](AIBuff& tensor) { tensor.data->clear(); })).empty());
    EXPECT_TRUE(framesWith(onEachOutput([](AIBuff& tensor) { tensor.data->resize(1); })).empty());
    EXPECT_TRUE(framesWith(onEachOutput([](AIBuff& tensor) { tensor = AIBuff(); })).empty());
}

TEST_P(EngineFaults, ShrunkBuffersAreReadAsFarAsTheyGo) {
    for (const double factor : {0.999, 0.75, 0.5, 0.01}) {
        framesWith(everySizeTimes(factor));
    }
    framesWith(onEachOutput([](AIBuff& tensor) {
        tensor.data = std::make_shared<Bytes>(tensor.data->begin(), tensor.data->end() - 1);
    }));
}

TEST_P(EngineFaults, GrownBuffersGiveTheSameObjects) {
    EXPECT_EQ(digestOf(framesWith(everySizeTimes(1.001))), expected_);
    EXPECT_EQ(digestOf(framesWith(everySizeTimes(3.0))), expected_);
}

TEST_P(EngineFaults, EachOutputMayBeMissingOnce) {
    TensorMap names;
    {
        const ScopedEngineFault broken([&names](TensorMap&, TensorMap& outputs) {
            names = outputs;
            return 0;
        });
        detected();
    }
    for (const auto& [name, tensor] : names) {
        framesWith([dropped = name](TensorMap&, TensorMap& outputs) {
            outputs.erase(dropped);
            return 0;
        });
        framesWith([nulled = name](TensorMap&, TensorMap& outputs) {
            outputs.at(nulled).data = nullptr;
            return 0;
        });
    }
}

TEST_P(EngineFaults, RenamedOutputsAreNotRead) {
    EXPECT_TRUE(framesWith([](TensorMap&, TensorMap& outputs) {
                    TensorMap renamed;
                    for (const auto& [name, tensor] : outputs) {
                        renamed[name + "_quantized"] = tensor;
                    }
                    outputs.swap(renamed);
                    return 0;
                }).empty());
}

TEST_P(EngineFaults, MixedUpOutputsDoNoHarm) {
    framesWith([](TensorMap&, TensorMap& outputs) {
        std::swap(outputs.begin()->second, outputs.rbegin()->second);
        return 0;
    });
    // All names for one and the same buffer.
    framesWith([](TensorMap&, TensorMap& outputs) {
        for (auto& [name, tensor] : outputs) {
            tensor = outputs.begin()->second;
        }
        return 0;
    });
}

TEST_P(EngineFaults, ValuesThatAreNoNumbersNeverBecomeAProbability) {
    // An 8-bit tensor still has bytes above its threshold where only the scale is no number.
    for (const Object& object : framesWith(everyValueIs(kNan))) {
        EXPECT_TRUE(std::isnan(object.prob)) << object.prob;
    }
}

TEST_P(EngineFaults, InfiniteValuesGiveDefinedObjects) {
    framesWith(everyValueIs(kInfinity));
    framesWith(everyValueIs(-kInfinity));
    framesWith(everyValueIs(std::numeric_limits<float>::max()));
    framesWith(everyValueIs(0.0F));
}

TEST_P(EngineFaults, NonsenseBesideTheBytesDoesNoHarm) {
    framesWith(onEachOutput([](AIBuff& tensor) {
        tensor.zp = std::numeric_limits<std::int32_t>::min();
        tensor.type = 77;
        tensor.aux_vector.assign(1000, -1);
    }));
    framesWith(onEachOutput([](AIBuff& tensor) { tensor.zp = std::numeric_limits<std::int32_t>::max(); }));
}

TEST_P(EngineFaults, TypeCodesAreNotReadByTheDecoders) {
    EXPECT_EQ(digestOf(framesWith(onEachOutput([](AIBuff& tensor) { tensor.type = 77; }))), expected_);
}

TEST_P(EngineFaults, InputsBelongToTheEngineWhileItWorks) {
    EXPECT_EQ(digestOf(framesWith([](TensorMap& inputs, TensorMap&) {
                  inputs.begin()->second.data->assign(5, 1);
                  return 0;
              })),
              expected_);
    EXPECT_EQ(digestOf(framesWith([](TensorMap& inputs, TensorMap&) {
                  inputs.begin()->second.data = nullptr;
                  inputs.clear();
                  return 0;
              })),
              expected_);
}

TEST_P(EngineFaults, KeptBuffersAreNotUsedAgain) {
    std::vector<TensorMap> kept;
    framesWith([&kept](TensorMap& inputs, TensorMap& outputs) {
        kept.push_back(inputs);
        kept.push_back(outputs);
        return 0;
    });
    for (TensorMap& tensors : kept) {
        for (auto& [name, tensor] : tensors) {
            std::fill(tensor.data->begin(), tensor.data->end(), std::int8_t{127});
        }
    }
    expectGoodFrame();
}

INSTANTIATE_TEST_SUITE_P(Models, EngineFaults, ::testing::ValuesIn(cannedModels()),
                         [](const auto& instance) { return identifierOf(instance.param); });

TEST(EngineThatRefusesItsNetwork, LeavesDetectorsThatFindNothingAndReportIt) {
    YOLOv5 fused("no such scene", "RKNN", {96, 96}, 0.5F, 0.45F, 3);
    EXPECT_EQ(last_run_report().init_status, 1);
    YOLOv5Cutoff cut("no such scene", "RKNN", {96, 96}, 0.5F, 0.45F, 3);
    EXPECT_EQ(last_run_report().init_status, 1);
    for (CvModel* model : {static_cast<CvModel*>(&fused), static_cast<CvModel*>(&cut)}) {
        std::vector<Object> objects;
        model->detect(noisePicture(200, 150), objects);
        EXPECT_TRUE(objects.empty());
        EXPECT_EQ(last_run_report().inference_status, 6);
    }
}

TEST(EngineThatFails, LeavesTheCutDetectorWithCellsOfOneHalfAndReportsIt) {
    YOLOv5Cutoff cut("cut", "RKNN", {96, 96}, 0.25F, 0.45F, kCannedClasses);
    const ScopedEngineFault broken([](TensorMap&, TensorMap& outputs) {
        for (auto& [name, tensor] : outputs) {
            std::fill(tensor.data->begin(), tensor.data->end(), std::int8_t{0});
            tensor.scale = 0.0F;
            tensor.zp = 0;
        }
        return 9;
    });
    std::vector<Object> objects;
    cut.detect(noisePicture(200, 150), objects);
    ASSERT_FALSE(objects.empty());
    EXPECT_EQ(objects.front().prob, 0.25F);
    EXPECT_EQ(last_run_report().inference_status, 9);
}

}  // namespace
}  // namespace brellix::testing
