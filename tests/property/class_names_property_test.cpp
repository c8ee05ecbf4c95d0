#include "reference/class_names.h"
#include "support/random.h"
#include "support/temporary_folder.h"

#include "brellix/class_names.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

std::string randomText(Random& random) {
    std::string text;
    const int length = random.chance(0.1) ? random.integer(2000, 20000) : random.integer(0, 40);
    for (int i = 0; i < length; ++i) {
        text += random.oneOf({'a', 'B', ' ', '\t', '\r', '\n', '\n', '\0', '\xc3', '\xff'});
    }
    return text;
}

TEST(ClassNamesProperty, AnyTextGivesItsPiecesBehindWhatWasThere) {
    Random random(51);
    const TemporaryFolder folder;
    std::size_t labels = 0;
    for (int i = 0; i < 200; ++i) {
        const std::string content = randomText(random);
        std::vector<std::string> expected = {"first", ""};
        std::vector<std::string> names = expected;
        for (const std::string& label : reference::labelsOf(content)) {
            expected.push_back(label);
        }
        ai_orvo::model::read_class_name(folder.write("names.txt", content), names);
        ASSERT_EQ(names, expected) << "case " << i;
        labels += names.size() - 2;
    }
    EXPECT_GT(labels, 1000U);
}

}  // namespace
}  // namespace brellix::testing
