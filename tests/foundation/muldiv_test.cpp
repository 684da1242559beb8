#include "foundation/muldiv.h"

#include <gtest/gtest.h>

namespace Tesslib {
namespace {

TEST(MulDiv, RoundsHalvesAwayFromZeroAndHoldsTheLargest) {
    EXPECT_EQ(MulDiv64(20, 44100, 11520), 77);
    EXPECT_EQ(MulDiv64(1, 1, 2), 1);
    EXPECT_EQ(MulDiv64(-1, 1, 2), -1);
    EXPECT_EQ(MulDiv64(5, 3, 0), -1);
    EXPECT_EQ(MulDiv64(INT64_MAX, 4, 4), INT64_MAX);
    EXPECT_EQ(MulDiv(INT32_MAX, 2, 1), -1);
    EXPECT_EQ(to_samples(96000, 44100), 96000);
    EXPECT_EQ(to_ticks(96000, 96000), 44100);
}

}  // namespace
}  // namespace Tesslib
