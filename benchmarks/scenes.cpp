#include "scenes.h"

#include "reference/cutoff_boxes.h"
#include "reference/letterbox.h"
#include "reference/quantization.h"
#include "support/random.h"
#include "support/tensor_values.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

namespace brellix::bench {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::TensorMap;
using testing::Random;

constexpr int kStrides[3] = {8, 16, 32};
constexpr int kRowsOfFused = 25200;
constexpr int kMostCandidatesAnObject = 33;

int gridOf(int head) {
    return kInput / kStrides[head];
}

/// Values quantised by their own range, as an engine does it.
AIBuff quantized(const std::vector<float>& values, bool isSymmetric) {
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    const float minimum = std::min(*low, 0.0F);
    const float maximum = std::max(*high, 0.0F);
    const float scale = isSymmetric ? std::max(-minimum, maximum) / 127.0F : (maximum - minimum) / 255.0F;
    const int zeroPoint = isSymmetric ? 0 : static_cast<int>(std::lround(-128.0F - minimum / scale));
    std::vector<std::int8_t> bytes;
    bytes.reserve(values.size());
    for (const float value : values) {
        const long step = std::lround(value / scale) + zeroPoint;
        bytes.push_back(static_cast<std::int8_t>(std::clamp<long>(step, -128, 127)));
    }
    return testing::int8Tensor(bytes, zeroPoint, scale);
}

AIBuff tensorOf(const std::vector<float>& values, bool isQuantized, bool isSymmetric = false) {
    return isQuantized ? quantized(values, isSymmetric) : testing::floatTensor(values);
}

std::vector<float> noise(Random& random, std::size_t count, float low, float high) {
    std::vector<float> values(count);
    std::generate(values.begin(), values.end(), [&] { return random.real(low, high); });
    return values;
}

/// Areas from 1/200 to 1/4, half of them below 1/25.
float areaShare(Random& random) {
    const float low = random.chance(0.5) ? 1.0F / 200.0F : 1.0F / 25.0F;
    const float high = low < 0.02F ? 1.0F / 25.0F : 1.0F / 4.0F;
    return low * std::pow(high / low, random.real(0.0F, 1.0F));
}

/// One head's three tensors while they are filled.
struct Head {
    int grid;
    int stride;
    std::vector<float> box;
    std::vector<float> score;
    std::vector<float> coefficient;

    Head(Random& random, int head)
        : grid(gridOf(head)),
          stride(kStrides[head]),
          box(noise(random, static_cast<std::size_t>(64 * grid * grid), -2.0F, 2.0F)),
          score(noise(random, static_cast<std::size_t>(kClasses * grid * grid), -9.0F, -3.0F)),
          coefficient(noise(random, static_cast<std::size_t>(32 * grid * grid), -1.0F, 1.0F)) {}

    /// A box of `side` pixels around cell (row, column), its distances as sure as float allows.
    void put(int row, int column, float side, int label, float logit) {
        const auto cells = static_cast<std::size_t>(grid * grid);
        const auto cell = static_cast<std::size_t>(row * grid + column);
        const auto bin = static_cast<std::size_t>(
            std::clamp(static_cast<int>(std::lround(side / 2.0F / static_cast<float>(stride))), 1, 15));
        for (std::size_t edge = 0; edge < 4; ++edge) {
            box[(edge * 16 + bin) * cells + cell] = 12.0F;
        }
        score[static_cast<std::size_t>(label) * cells + cell] = logit;
    }
};

/// 32 planes of 160 x 160. Smooth ones change over some ten pixels.
std::vector<float> prototypeValues(Random& random, Prototypes prototypes) {
    constexpr int kPlanes = 32;
    constexpr int kSide = 160;
    const int side = prototypes == Prototypes::kSmooth ? kSide / 10 : kSide;
    std::vector<float> values;
    for (int plane = 0; plane < kPlanes; ++plane) {
        std::vector<float> drawn = noise(random, static_cast<std::size_t>(side * side), -1.0F, 1.0F);
        cv::Mat enlarged;
        cv::resize(cv::Mat(side, side, CV_32F, drawn.data()), enlarged, {kSide, kSide}, 0, 0,
                   cv::INTER_CUBIC);
        values.insert(values.end(), enlarged.begin<float>(), enlarged.end<float>());
    }
    return values;
}

/// A candidate's place in the cut network's heads.
struct AnchorCell {
    int head;
    int anchor;
    int cell;
};

/// Candidates of an object: five cells of each of two lines, with all three anchors.
constexpr int kMostCutCandidatesAnObject = 30;

AnchorCell nthAround(const AnchorCell& first, int nth) {
    return {first.head, (first.anchor + nth) % 3, first.cell + nth / 3 % 5 + nth / 15 * gridOf(first.head)};
}

void putCutCandidate(Random& random, std::vector<float>& head, const AnchorCell& at) {
    const int cells = gridOf(at.head) * gridOf(at.head);
    const auto set = [&](int channel, float logit) {
        head[static_cast<std::size_t>((at.anchor * (kClasses + 5) + channel) * cells + at.cell)] = logit;
    };
    for (int channel = 0; channel < 4; ++channel) {
        set(channel, random.real(-1.0F, 1.0F));
    }
    set(4, random.real(1.0F, 4.0F));
    set(5 + random.integer(0, kClasses - 1), random.real(1.0F, 4.0F));
}

}  // namespace

ai_orvo::model::LetterboxInfo letterboxOf(const cv::Size& picture) {
    cv::Mat letterboxed;
    return reference::letterbox(cv::Mat::zeros(picture, CV_8UC3), letterboxed, {kInput, kInput});
}

cv::Mat picture(const cv::Size& size) {
    return Random(7).image(size, CV_8UC3);
}

AIBuff fusedOutput(int candidates) {
    Random random(11);
    constexpr std::size_t kRow = kClasses + 5;
    std::vector<float> values = noise(random, kRowsOfFused * kRow, 0.0F, 0.05F);
    const int objects = std::max(1, (candidates + kMostCandidatesAnObject - 1) / kMostCandidatesAnObject);
    int row = 0;
    for (int i = 0; i < candidates; ++i) {
        // Candidates of an object lie side by side, objects all over the output.
        row = i % std::max(1, candidates / objects) == 0 ? random.integer(0, kRowsOfFused - 64) : row + 1;
        float* const out = &values[static_cast<std::size_t>(row) * kRow];
        const auto place = static_cast<float>(row % 500);
        out[0] = place + random.real(60.0F, 64.0F);
        out[1] = place + random.real(60.0F, 64.0F);
        out[2] = random.real(50.0F, 56.0F);
        out[3] = random.real(80.0F, 86.0F);
        out[4] = random.real(0.5F, 1.0F);
        out[5 + row % kClasses / 8] = random.real(0.5F, 1.0F);
    }
    return testing::floatTensor(values);
}

TensorMap cutOutputs(int candidates, Placement placement) {
    Random random(12);
    std::array<std::vector<float>, 3> heads;
    for (int head = 0; head < 3; ++head) {
        const int cells = gridOf(head) * gridOf(head);
        heads[static_cast<std::size_t>(head)] =
            noise(random, static_cast<std::size_t>(3 * (kClasses + 5) * cells), -9.0F, -3.0F);
    }
    AnchorCell at{};
    for (int i = 0; i < candidates; ++i) {
        const int nth = placement == Placement::kScattered ? 0 : i % kMostCutCandidatesAnObject;
        if (nth == 0) {
            at.head = random.integer(0, 2);
            at.anchor = random.integer(0, 2);
            at.cell = random.integer(0, (gridOf(at.head) - 2) * gridOf(at.head));
        }
        putCutCandidate(random, heads[static_cast<std::size_t>(at.head)], nthAround(at, nth));
    }
    TensorMap outputs;
    for (std::size_t head = 0; head < 3; ++head) {
        outputs[reference::kCutoffHeadNames[head]] = quantized(heads[head], false);
    }
    return outputs;
}

YAML::Node segmentationConfig(bool isQuantized, const std::string& framework) {
    YAML::Node node;
    node["model_path"] = "network";
    node["framework"] = framework;
    node["class_num"] = kClasses;
    node["conf_thres"] = 0.25F;
    node["nms_thres"] = kSegmentationNms;
    node["input_size"] = std::vector<int>{kInput, kInput};
    node["is_quantized"] = isQuantized;
    return node;
}

TensorMap segmentationOutputs(int objects, int repeats, bool isQuantized, Prototypes prototypes) {
    Random random(13);
    std::vector<Head> heads;
    for (int head = 0; head < 3; ++head) {
        heads.emplace_back(random, head);
    }
    for (int i = 0; i < objects; ++i) {
        const float side = kInput * std::sqrt(areaShare(random));
        Head& head = heads[side < 100.0F ? 0U : side < 220.0F ? 1U : 2U];
        const int row = random.integer(2, head.grid - 3);
        const int column = random.integer(2, head.grid - 3 - std::min(repeats, 2));
        for (int k = 0; k < repeats; ++k) {
            head.put(row, std::min(column + k, head.grid - 1), side, i % kClasses, random.real(1.0F, 4.0F));
        }
    }
    TensorMap outputs;
    for (std::size_t head = 0; head < 3; ++head) {
        const auto name = [&](std::size_t part) { return "output" + std::to_string(3 * head + part); };
        outputs[name(0)] = tensorOf(heads[head].box, isQuantized);
        outputs[name(1)] = tensorOf(heads[head].score, isQuantized);
        outputs[name(2)] = tensorOf(heads[head].coefficient, isQuantized, true);
    }
    outputs["proto"] = tensorOf(prototypeValues(random, prototypes), isQuantized);
    return outputs;
}

}  // namespace brellix::bench
