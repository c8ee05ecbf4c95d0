#include "brellix/drawing.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using ai_orvo::model::CLASS_COLORS;
using ai_orvo::model::MASK_COLORS;

TEST(ColorTables, HaveTheirLengthsAndEnds) {
    ASSERT_EQ(CLASS_COLORS.size(), 80U);
    ASSERT_EQ(MASK_COLORS.size(), 20U);
    EXPECT_EQ(CLASS_COLORS[0], (std::vector<unsigned>{0, 114, 189}));
    EXPECT_EQ(CLASS_COLORS[25], (std::vector<unsigned>{0, 170, 128}));
    EXPECT_EQ(CLASS_COLORS[79], (std::vector<unsigned>{128, 128, 0}));
    EXPECT_EQ(MASK_COLORS[0], (std::vector<unsigned>{255, 56, 56}));
    EXPECT_EQ(MASK_COLORS[5], (std::vector<unsigned>{72, 249, 10}));
    EXPECT_EQ(MASK_COLORS[19], (std::vector<unsigned>{255, 55, 199}));
}

TEST(ColorTables, RepeatTheColorsThatRepeat) {
    EXPECT_EQ(CLASS_COLORS[9], CLASS_COLORS[57]);
    EXPECT_EQ(CLASS_COLORS[12], CLASS_COLORS[63]);
    EXPECT_EQ(CLASS_COLORS[13], CLASS_COLORS[69]);
    EXPECT_EQ(CLASS_COLORS[0], CLASS_COLORS[77]);
    EXPECT_EQ(CLASS_COLORS[14], (std::vector<unsigned>{170, 0, 255}));
    EXPECT_EQ(CLASS_COLORS[14], CLASS_COLORS[46]);
}

}  // namespace
