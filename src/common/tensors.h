#pragma once

/// \file
/// Building the tensors that cross the engine's boundary, and reading them safely.

#include "brellix/ai_engine.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ai_orvo::model {

/// Order of the colour planes that the network expects; images come as BGR.
enum class ChannelOrder { kBgr, kRgb };

/// \return a float32 tensor 1 x 3 x height x width of the 8-bit image, scaled to 0..1.
alg::common::AIBuff planarFloatTensor(const cv::Mat& letterboxed, ChannelOrder order);

/// \return a tensor of the image's own bytes, row by row. Its type says float32 all the same: an engine tells
/// the two input forms apart by their size.
alg::common::AIBuff byteTensor(const cv::Mat& letterboxed);

/// \return an output tensor of `elements` x `elementSize` zero bytes.
/// \throws std::length_error for a negative element count.
alg::common::AIBuff sizedTensor(int elements, std::size_t elementSize);

/// Bounds-known view of a buffer as an array of int8. A null buffer has no elements.
class ByteView {
  public:
    explicit ByteView(const alg::common::AIBuff& tensor)
        : bytes_(tensor.data ? tensor.data->data() : nullptr), size_(tensor.data ? tensor.data->size() : 0) {}

    std::size_t size() const { return size_; }
    const std::int8_t* data() const { return bytes_; }

    /// The element at `index`, which must be below `size()`.
    std::int8_t operator[](std::size_t index) const { return bytes_[index]; }

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
        std::memcpy(&value, bytes_ + index * sizeof(float), sizeof(float));
        return value;
    }

  private:
    const std::int8_t* bytes_;
    std::size_t size_;
};

}  // namespace ai_orvo::model
