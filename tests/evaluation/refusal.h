#pragma once

/// \file
/// Expecting refusals.

#include "console/failure.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace brellix::testing {

/// Expects a refusal for wrong use whose message holds all of `words`.
inline void expectRefusal(const std::function<void()>& task, const std::vector<std::string>& words) {
    try {
        task();
        ADD_FAILURE() << "not refused; expected: " << words.front();
    } catch (const app::Failure& failure) {
        EXPECT_EQ(failure.status(), app::ExitStatus::kWrongUse);
        for (const std::string& word : words) {
            EXPECT_NE(std::string(failure.what()).find(word), std::string::npos) << failure.what();
        }
    }
}

}  // namespace brellix::testing
