#pragma once

/// \file
/// Seeded values that are the same on every processor and with every standard library.

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <vector>

namespace brellix::testing {

/// The standard fixes what `std::mt19937` gives, but not what its distributions make of it: those are left to
/// each library, and some compute in `long double`, which differs between processors. So the little that is
/// needed is computed here.
///
/// The order of a call's arguments is open, too: draw into variables or braces, never twice in one call.
class Seeded {
  public:
    explicit Seeded(std::uint32_t seed) : engine_(seed) {}

    std::uint32_t draw() { return static_cast<std::uint32_t>(engine_()); }

    /// `low` to `high`, both included; that small numbers come a little more often does not matter here.
    int integer(int low, int high);

    /// From `low` up to `high`, in 2^24 steps.
    float real(float low, float high);

    bool oneIn(int count) { return integer(1, count) == 1; }

    template <typename T>
    T oneOf(std::initializer_list<T> values) {
        return values.begin()[integer(0, static_cast<int>(values.size()) - 1)];
    }

    /// A value that arithmetic may stumble over: NaN, infinities, zeros, huge and tiny ones.
    float hostile();

    std::vector<std::int8_t> bytes(std::size_t count);
    std::vector<float> reals(std::size_t count, float low, float high);

    /// A picture of noise with 8 bits a channel.
    cv::Mat image(const cv::Size& size, int channels);

    /// A mask of 0 and 255: a disc somewhere, with holes.
    cv::Mat mask(const cv::Size& size);

  private:
    std::mt19937 engine_;
};

}  // namespace brellix::testing
