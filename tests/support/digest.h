#pragma once

/// \file
/// A short number for many bytes: FNV-1a over words of 64 bits, folded, since masks are large.

#include "brellix/ai_engine.h"
#include "brellix/cv_model.h"
#include "brellix/letterbox.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace brellix::testing {

/// Takes in values of results, in order. Every value is preceded by its length where that may vary, so that
/// neighbouring values cannot run into each other.
class Digest {
  public:
    /// Integers and characters, by value.
    template <typename T, typename = std::enable_if_t<std::is_integral_v<T>>>
    void add(T value) {
        addWord(static_cast<std::uint64_t>(value));
    }

    /// The float's bits. Every NaN counts as the same: its sign and payload are the processor's choice.
    void add(float value);

    void add(const std::string& text);

    /// Size, type and every row's bytes. An empty matrix counts as its size alone.
    void add(const cv::Mat& image);

    void add(const cv::Rect& box);
    void add(const ai_orvo::model::LetterboxInfo& info);

    /// Every field, the mask with all its pixels.
    void add(const ai_orvo::model::Object& object);

    /// Bytes and description of a tensor.
    void add(const ai_orvo::model::AIBuff& tensor);

    template <typename T>
    void add(const std::vector<T>& values) {
        addWord(values.size());
        for (const T& value : values) {
            add(value);
        }
    }

    std::uint64_t value() const { return state_; }

    /// \return the value in 16 hexadecimal digits.
    std::string text() const;

  private:
    void addWord(std::uint64_t word);
    void addBytes(const void* bytes, std::size_t count);

    std::uint64_t state_ = 14695981039346656037U;
};

}  // namespace brellix::testing
