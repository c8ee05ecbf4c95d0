#include "support/require.h"

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace brellix::fuzz {

void require(bool holds, const std::string& what) {
    if (!holds) {
        std::cerr << "FINDING: " << what << std::endl;
        std::abort();
    }
}

void require(const ::testing::AssertionResult& result, const std::string& what) {
    require(static_cast<bool>(result), result ? std::string() : what + ": " + result.message());
}

bool sameFloat(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof(a)) == 0;
}

bool sameFloats(const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (!sameFloat(a[i], b[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace brellix::fuzz
