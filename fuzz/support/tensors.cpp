#include "support/tensors.h"

#include "support/random.h"
#include "support/tensor_values.h"

#include <cstdint>
#include <vector>

namespace brellix::fuzz {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using testing::Random;

namespace {

// Noise makes candidates, chosen values make the odd ones among them.
constexpr int kMostChosen = 12;

/// Tensors are the bulk of most inputs, and the standard generators take longer than what is to be tried.
class Noise {
  public:
    explicit Noise(std::uint32_t seed) : state_(seed) {}

    /// 0 to 1.
    float share() { return static_cast<float>(next() >> 8U) * 0x1p-24F; }

    std::int8_t byte() { return static_cast<std::int8_t>(next() >> 24U); }

  private:
    std::uint32_t next() {
        // The highest bits are the good ones.
        state_ = state_ * 1664525U + 1013904223U;
        return state_;
    }

    std::uint32_t state_;
};

template <typename T, typename Choice>
void replaceSome(FuzzedData& data, std::vector<T>& values, Choice choice) {
    const int chosen = data.integer(0, kMostChosen);
    for (int i = 0; i < chosen && !values.empty(); ++i) {
        const std::size_t place = data.word() % values.size();
        values[place] = choice();
    }
}

}  // namespace

AIBuff floatTensor(FuzzedData& data, std::size_t count, float low, float high) {
    Noise noise(data.word());
    std::vector<float> values(count);
    for (float& value : values) {
        value = low + (high - low) * noise.share();
    }
    replaceSome(data, values, [&] { return data.number(); });
    return testing::floatTensor(values);
}

AIBuff int8Tensor(FuzzedData& data, std::size_t count) {
    Noise noise(data.word());
    std::vector<std::int8_t> values(count);
    for (std::int8_t& value : values) {
        value = noise.byte();
    }
    replaceSome(data, values, [&] { return static_cast<std::int8_t>(data.byte()); });
    const int zeroPoint = data.oddInteger(-128, 127);
    return testing::int8Tensor(values, zeroPoint, data.oddNumber(0.005F, 0.1F));
}

void damage(FuzzedData& data, AIBuff& tensor) {
    const std::uint8_t kind = data.byte();
    if (kind < 208) {
        return;
    }
    if (kind < 216) {
        tensor.data = nullptr;
        return;
    }
    const std::size_t size = tensor.data->size();
    tensor.data->resize(kind < 236 ? size - data.word() % (size + 1) : size + data.byte());
}

LetterboxInfo letterboxRecord(FuzzedData& data) {
    LetterboxInfo info{};
    info.ratio = data.oddNumber(0.1F, 6.0F);
    info.dw = data.oddNumber(0.0F, 40.0F);
    info.dh = data.oddNumber(0.0F, 40.0F);
    info.src_height = data.oddNumber(1.0F, 500.0F);
    info.src_width = data.oddNumber(1.0F, 500.0F);
    return info;
}

cv::Mat picture(FuzzedData& data, int longest, int type) {
    const int width = data.integer(1, longest);
    const int height = data.integer(1, longest);
    return Random(data.word()).image({width, height}, type);
}

}  // namespace brellix::fuzz
