#include "identity/record.h"

#include <cstdlib>
#include <fstream>

namespace brellix::testing {
namespace {

const char* const kHeader =
    "# What every stage gives for seeded input, on every processor. docs/testing.md says how this file is "
    "made.\n";

bool allTestsRun() {
    return GTEST_FLAG_GET(filter) == "*";
}

}  // namespace

Record& Record::instance() {
    static auto* record = new Record;  // GoogleTest deletes it
    return *record;
}

void Record::SetUp() {
    const char* path = std::getenv("BRELLIX_WRITE_DIGESTS");
    newPath_ = path == nullptr ? "" : path;
    std::ifstream file(BRELLIX_DIGESTS);
    for (std::string name; file >> name;) {
        if (name.front() == '#') {
            std::getline(file, name);
        } else {
            file >> recorded_[name];
        }
    }
}

::testing::AssertionResult Record::agrees(const std::string& name, const Digest& digest) {
    const bool isNew = computed_.emplace(name, digest.text()).second;
    if (!isNew) {
        return ::testing::AssertionFailure() << "two tests call their digest " << name;
    }
    if (!newPath_.empty()) {
        return ::testing::AssertionSuccess();
    }
    const auto line = recorded_.find(name);
    if (line == recorded_.end()) {
        return ::testing::AssertionFailure() << BRELLIX_DIGESTS << " has no line for " << name;
    }
    if (line->second != digest.text()) {
        return ::testing::AssertionFailure()
               << name << " gives " << digest.text() << ", recorded is " << line->second;
    }
    return ::testing::AssertionSuccess();
}

void Record::TearDown() {
    if (!newPath_.empty()) {
        ASSERT_TRUE(allTestsRun() && ::testing::UnitTest::GetInstance()->Passed())
            << "a new record takes all tests: run them without a filter, and none may fail";
        write();
    } else if (allTestsRun()) {
        for (const auto& [name, digest] : recorded_) {
            EXPECT_EQ(computed_.count(name), 1U) << "no test computes " << name << " any more";
        }
    }
}

void Record::write() const {
    std::ofstream file(newPath_);
    file << kHeader;
    for (const auto& [name, digest] : computed_) {
        file << name << ' ' << digest << '\n';
    }
    ASSERT_TRUE(file.flush()) << newPath_ << " cannot be written";
}

}  // namespace brellix::testing

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::AddGlobalTestEnvironment(&brellix::testing::Record::instance());
    return RUN_ALL_TESTS();
}
