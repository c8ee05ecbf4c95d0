#pragma once

/// \file
/// The committed record of digests, tests/identity/digests.txt: one "NAME DIGEST" line a stage.

#include "support/digest.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace brellix::testing {

/// Holds digests against the record. With the environment variable BRELLIX_WRITE_DIGESTS set to the path of a
/// file, nothing is compared and the file is written at the end of the run instead.
class Record : public ::testing::Environment {
  public:
    /// The one that runs with the tests.
    static Record& instance();

    /// \return whether the record says the same of `name`.
    ::testing::AssertionResult agrees(const std::string& name, const Digest& digest);

    void SetUp() override;

    /// Writes the new record, or fails for what the record holds and no test has computed.
    void TearDown() override;

  private:
    using Digests = std::map<std::string, std::string>;

    void write() const;

    std::string newPath_;
    Digests recorded_;
    Digests computed_;
};

}  // namespace brellix::testing
