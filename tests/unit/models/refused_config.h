#pragma once

/// \file
/// Configurations with a line changed, and what models say of those that they do not take.

#include "support/capture_stdout.h"
#include "support/fake_engine.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

namespace brellix::testing {

/// The configuration `whole` with the line of `key` replaced by `line` (empty when that is).
inline std::string withLine(const std::string& whole, const std::string& key, const std::string& line) {
    std::string text;
    std::istringstream lines(whole);
    for (std::string current; std::getline(lines, current);) {
        const bool isReplaced = current.rfind(key + ":", 0) == 0;
        text += isReplaced ? line : current;
        text += '\n';
    }
    return text;
}

/// What constructing from this text says when it fails; also checks that it failed quietly and early.
template <typename Exception>
std::string refusalOf(const std::string& text, const std::function<void(const std::string&)>& construct) {
    FakeEngine& engine = FakeEngine::reset();
    std::string what;
    const std::string output = standardOutputOf([&] {
        try {
            construct(text);
            ADD_FAILURE() << "no exception for: " << text;
        } catch (const Exception& error) {
            what = error.what();
        }
    });
    EXPECT_EQ(output, "") << "a model that never came to be must not print";
    EXPECT_TRUE(engine.initialised.empty());
    return what;
}

}  // namespace brellix::testing
