#pragma once

/// \file
/// Values for a target, read from the bytes that the fuzzer chooses.

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace brellix::fuzz {

/// Reads from the front. Behind the end there are zeros, so that every input gives a whole case and a short
/// input a simple one.
class FuzzedData {
  public:
    FuzzedData(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes), size_(size) {}
    explicit FuzzedData(std::string_view bytes)
        : FuzzedData(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()) {}

    std::uint8_t byte();
    std::uint32_t word();
    bool flag() { return (byte() & 1U) != 0; }

    /// `low` to `high`, both included.
    int integer(int low, int high);

    /// Mostly `low` to `high`, now and then any int, the ends of the type among them.
    int oddInteger(int low, int high);

    /// Any float: plain numbers, what arithmetic stumbles over (NaN, infinities, the ends of ranges), any
    /// bits.
    float number();

    /// Mostly `low` to `high`, now and then any float.
    float oddNumber(float low, float high);

    template <typename T>
    T oneOf(std::initializer_list<T> values) {
        return values.begin()[integer(0, static_cast<int>(values.size()) - 1)];
    }

    /// At most `longest` bytes.
    std::string text(std::size_t longest);

    /// Everything that is left.
    std::string rest();

  private:
    const std::uint8_t* bytes_;
    std::size_t size_;
};

}  // namespace brellix::fuzz
