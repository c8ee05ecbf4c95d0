// What leaves the engine library.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <string>

namespace brellix::testing {
namespace {

std::string outputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string text;
    std::array<char, 4096> part{};
    while (pipe != nullptr && std::fgets(part.data(), part.size(), pipe.get()) != nullptr) {
        text += part.data();
    }
    return text;
}

/// The demangled names up to their parameters.
std::set<std::string> exportedNames(const std::string& library) {
    const std::string listing = outputOf(std::string(BRELLIX_NM) + " -D -C --defined-only '" + library + "'");
    std::set<std::string> names;
    for (std::size_t begin = 0; begin < listing.size();) {
        const std::size_t end = listing.find('\n', begin);
        const std::string line = listing.substr(begin, end - begin);
        const std::size_t name = line.find(' ', line.find(' ') + 1) + 1;
        names.insert(line.substr(name, line.find('(') - name));
        begin = end + 1;
    }
    return names;
}

TEST(EngineExports, AreTheTwoOperationsAndTheBackEndsName) {
    EXPECT_EQ(exportedNames(BRELLIX_ENGINE_FILE),
              (std::set<std::string>{"ai_orvo::alg::common::AIEngine::Init",
                                     "ai_orvo::alg::common::AIEngine::DoInference",
                                     "brellix_ai_engine_last_backend"}));
}

}  // namespace
}  // namespace brellix::testing
