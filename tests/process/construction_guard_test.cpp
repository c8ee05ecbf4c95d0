#include "config/construction_guard.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace brellix::app {
namespace {

TEST(ConstructionGuardDeathTest, ExitDuringConstructionBecomesWrongUseWithAMessage) {
    EXPECT_EXIT(
        {
            const ConstructionGuard guard("some.yaml");
            std::exit(0);
        },
        ::testing::ExitedWithCode(2), "the model refused some\\.yaml and ended the process");
}

TEST(ConstructionGuardDeathTest, ExitAfterConstructionKeepsItsStatus) {
    EXPECT_EXIT(
        {
            { const ConstructionGuard guard("some.yaml"); }
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace brellix::app
