#pragma once

/// \file
/// Making the tensors that cross the engine's boundary, and reading them safely.

#include "brellix/ai_engine.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ai_orvo::model {

/// \return an output tensor of `elements` x `elementSize` zero bytes.
/// \throws std::length_error for a negative element count.
alg::common::AIBuff outputTensor(int elements, std::size_t elementSize);

/// Bounds-known view of a buffer as an array of int8. A null buffer has no elements.
class ByteView {
  public:
    explicit ByteView(const alg::common::AIBuff& tensor)
        : bytes_(tensor.data ? tensor.data->data() : nullptr), size_(tensor.data ? tensor.data->size() : 0) {}

    std::size_t size() const { return size_; }
    const std::int8_t* data() const { return bytes_; }

    /// The element at `index`, which must be below `size()`.
    std::int8_t operator[](std::size_t index) const {
        return bytes_[index];  // NOLINT(clang-analyzer-core.NullDereference): a null buffer has no such index
    }

    /// The rest of the view from `index` on, which must not be beyond `size()`.
    ByteView from(std::size_t index) const { return ByteView(bytes_ + index, size_ - index); }

  private:
    ByteView(const std::int8_t* bytes, std::size_t size) : bytes_(bytes), size_(size) {}

    const std::int8_t* bytes_;
    std::size_t size_;
};

/// Bounds-known view of a buffer as an array of float32. A null buffer has no elements.
class FloatView {
  public:
    explicit FloatView(const alg::common::AIBuff& tensor)
        : bytes_(tensor.data ? tensor.data->data() : nullptr),
          size_(tensor.data ? tensor.data->size() / sizeof(float) : 0) {}

    std::size_t size() const { return size_; }
    /// The buffer's memory comes from an allocator, aligned for every type.
    const float* data() const { return reinterpret_cast<const float*>(bytes_); }

    /// The element at `index`, which must be below `size()`.
    float operator[](std::size_t index) const {
        float value;
        // NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker): a null buffer has no such index
        std::memcpy(&value, bytes_ + index * sizeof(float), sizeof(float));
        return value;
    }

  private:
    const std::int8_t* bytes_;
    std::size_t size_;
};

}  // namespace ai_orvo::model
