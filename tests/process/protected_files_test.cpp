#include "files/protected_files.h"

#include "console/failure.h"

#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace brellix::testing {
namespace {

namespace fs = std::filesystem;

class InputsOfAStream : public ::testing::Test {
  protected:
    InputsOfAStream()
        : first_(folder_.write("a.png", "one")),
          second_(folder_.write("b.png", "two")),
          link_(folder_.path() + "/link.png") {
        fs::create_hard_link(first_, link_);
        files_.setCurrentInput(first_);
    }

    void expectRefused(const std::string& target) const {
        EXPECT_THROW(files_.refuse("--crops", target), app::Failure) << target;
    }

    TemporaryFolder folder_;
    std::string first_;
    std::string second_;
    std::string link_;  ///< another name of the first
    app::ProtectedFiles files_;
};

TEST_F(InputsOfAStream, OneInWorkIsProtectedByAnyName) {
    expectRefused(first_);
    expectRefused(link_);
}

TEST_F(InputsOfAStream, NumberOfAnEarlierFileIsFreeForANewOne) {
    files_.setCurrentInput(second_);
    EXPECT_NO_THROW(files_.refuse("--crops", link_));
    expectRefused(second_);
}

TEST_F(InputsOfAStream, PlaceOfAnEarlierOneStaysProtected) {
    files_.setCurrentInput(second_);
    expectRefused(first_);
}

TEST_F(InputsOfAStream, InputKnownBeforehandStaysProtectedByAnyName) {
    files_.addInput(first_);
    files_.setCurrentInput(second_);
    expectRefused(link_);
}

}  // namespace
}  // namespace brellix::testing
