#pragma once

/// \file
/// Seeded random values for property tests.

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <vector>

namespace brellix::testing {

/// The same seed gives the same values in every run. Compilers for different processors evaluate a call's
/// arguments in different orders, so draw into braces, whose order is fixed, or into variables.
class Random {
  public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    /// `low` to `high`, both included.
    int integer(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine_); }

    float real(float low, float high) { return std::uniform_real_distribution<float>(low, high)(engine_); }

    bool chance(double probability) { return std::bernoulli_distribution(probability)(engine_); }

    template <typename T>
    T oneOf(std::initializer_list<T> values) {
        return values.begin()[integer(0, static_cast<int>(values.size()) - 1)];
    }

    /// Sizes of pictures: mostly small, now and then up to `high`, so that many cases take little time.
    int length(int high);

    /// A value that arithmetic may stumble over: NaN, infinities, zeros, huge and tiny ones.
    float hostile();

    /// A picture of noise.
    cv::Mat image(const cv::Size& size, int type);

    std::vector<std::int8_t> bytes(std::size_t count);

  private:
    std::mt19937 engine_;
};

}  // namespace brellix::testing
