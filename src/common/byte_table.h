#pragma once

/// \file
/// What a function makes of each value that the bytes of a quantised tensor can stand for.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace ai_orvo::model {

class ByteTable {
  public:
    using Function = float (*)(float);

    ByteTable(Function function, int zp, float scale);

    /// \return the function of the dequantised byte.
    float operator[](std::int8_t byte) const { return values_[static_cast<std::uint8_t>(byte)]; }

    bool isOf(Function function, int zp, float scale) const;

  private:
    Function function_;
    int zp_;
    float scale_;
    std::array<float, 256> values_;
};

/// \return the table of `function` for tensors of this zero point and scale.
///
/// Each thread keeps its latest tables: a network's tensors have the same zero points and scales in every
/// frame.
std::shared_ptr<const ByteTable> byteTable(ByteTable::Function function, int zp, float scale);

}  // namespace ai_orvo::model
