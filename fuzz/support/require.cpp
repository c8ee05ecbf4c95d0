#include "support/require.h"

#include <cstdlib>
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

}  // namespace brellix::fuzz
