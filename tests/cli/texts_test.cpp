#include "cli/texts.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Orvane;

TEST(Texts, TimesAreReadAsTypedAndNothingElseIs) {
    struct Row {
        const char* text;
        double seconds;  // below 0: not a time
    };
    const Row rows[] = {
        {"12.5", 12.5}, {"3:41.5", 221.5}, {"1:02:03", 3723}, {"90:00", 5400}, {"100:59:59", 363599},
        {"", -1},       {"1:60", -1},      {"1:60:00", -1},   {"-1", -1},      {"1:", -1},
        {":30", -1},    {"1.2.3", -1},     {"1s", -1},        {"1e3", -1},     {"12345678901", -1},
    };
    for (const Row& row : rows) {
        int64_t ticks = -1;
        EXPECT_EQ(ParseTimeArgument(row.text, ticks), row.seconds >= 0) << row.text;
        if (row.seconds >= 0) {
            EXPECT_EQ(ticks, std::llround(row.seconds * 44100)) << row.text;
        }
    }
}
