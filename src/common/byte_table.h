#pragma once

/// \file
/// A function of the 256 values of a byte, each evaluated when it is first asked for.

#include <array>
#include <cstddef>
#include <cstdint>

namespace ai_orvo::model {

class ByteTable {
  public:
    /// \return `function(byte)`; the function has to be the same at every call.
    template <typename Function>
    float get(std::int8_t byte, Function function) {
        const auto slot = static_cast<std::size_t>(static_cast<std::uint8_t>(byte));
        if (!isKnown_[slot]) {
            values_[slot] = function(byte);
            isKnown_[slot] = true;
        }
        return values_[slot];
    }

  private:
    std::array<float, 256> values_;
    std::array<bool, 256> isKnown_{};
};

}  // namespace ai_orvo::model
