#pragma once

/// \file
/// The fake engine for the time of one input.

#include "support/fake_engine.h"

namespace brellix::fuzz {

/// Empty at the beginning and at the end: what was kept from input to input would grow, and the leak checker
/// would stop the process at each one to look whether it is lost.
class EngineScope {
  public:
    EngineScope() { testing::FakeEngine::reset(); }
    ~EngineScope() { testing::FakeEngine::reset(); }
    EngineScope(const EngineScope&) = delete;
    EngineScope& operator=(const EngineScope&) = delete;
};

}  // namespace brellix::fuzz
