#include "foundation/muldiv.h"

#include <gtest/gtest.h>

namespace Tesslib {
namespace {

TEST(MulDiv, RoundsHalvesAwayFromZero) {
    struct Case {
        int64_t value, multiplier, divisor, expected;
    };
    for (const Case& c : {Case{20, 44100, 11520, 77},
                          {1, 1, 2, 1},
                          {-1, 1, 2, -1},
                          {412, 48000, 44100, 448},
                          {5, 3, 0, -1},
                          {INT64_MAX, 4, 4, INT64_MAX}}) {
        EXPECT_EQ(MulDiv64(c.value, c.multiplier, c.divisor), c.expected)
            << c.value << "*" << c.multiplier << "/" << c.divisor;
    }
    EXPECT_EQ(MulDiv(INT32_MAX, 2, 1), -1);
}

TEST(MulDiv, TicksAndFramesConvertBothWays) {
    EXPECT_EQ(to_samples(96000, 44100), 96000);
    EXPECT_EQ(to_ticks(96000, 96000), 44100);
    EXPECT_EQ(to_samples(44100, INT64_MAX), INT64_MAX);
}

}  // namespace
}  // namespace Tesslib
