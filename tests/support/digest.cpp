#include "support/digest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

namespace brellix::testing {

void Digest::addWord(std::uint64_t word) {
    constexpr std::uint64_t kPrime = 1099511628211U;
    state_ = (state_ ^ word) * kPrime;
    state_ ^= state_ >> 32U;
}

void Digest::addBytes(const void* bytes, std::size_t count) {
    const auto* next = static_cast<const unsigned char*>(bytes);
    while (count != 0) {
        std::uint64_t word = 0;
        const std::size_t size = std::min(count, sizeof word);
        std::memcpy(&word, next, size);
        addWord(word);
        next += size;
        count -= size;
    }
}

void Digest::add(float value) {
    const float counted = std::isnan(value) ? std::numeric_limits<float>::quiet_NaN() : value;
    std::uint32_t bits = 0;
    std::memcpy(&bits, &counted, sizeof bits);
    addWord(bits);
}

void Digest::add(const std::string& text) {
    addWord(text.size());
    addBytes(text.data(), text.size());
}

void Digest::add(const cv::Mat& image) {
    addWord(static_cast<std::uint64_t>(image.cols));
    addWord(static_cast<std::uint64_t>(image.rows));
    if (image.empty()) {
        return;
    }
    addWord(static_cast<std::uint64_t>(image.type()));
    for (int row = 0; row < image.rows; ++row) {
        addBytes(image.ptr(row), static_cast<std::size_t>(image.cols) * image.elemSize());
    }
}

void Digest::add(const cv::Rect& box) {
    for (const int value : {box.x, box.y, box.width, box.height}) {
        add(value);
    }
}

void Digest::add(const ai_orvo::model::LetterboxInfo& info) {
    for (const float value : {info.ratio, info.dw, info.dh, info.src_height, info.src_width}) {
        add(value);
    }
}

void Digest::add(const ai_orvo::model::Object& object) {
    for (const float value :
         {object.rect.x, object.rect.y, object.rect.width, object.rect.height, object.prob}) {
        add(value);
    }
    add(object.label);
    add(object.mask);
}

void Digest::add(const ai_orvo::model::AIBuff& tensor) {
    add(tensor.type);
    add(tensor.zp);
    add(tensor.scale);
    addWord(tensor.data->size());
    addBytes(tensor.data->data(), tensor.data->size());
}

std::string Digest::text() const {
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(state_));
    return digits.data();
}

}  // namespace brellix::testing
