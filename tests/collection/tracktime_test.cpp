#include "collection/tracktime.h"

#include <gtest/gtest.h>

#include <random>

namespace Orvane {
namespace {

TEST(TrackTime, IsWrittenAndReadAsRecordedHere) {
    struct {
        int64_t ticks;
        const char* written;
        const char* also_read;
    } const rows[] = {
        {0, "0:00.00000", "-"},
        {44099, "0:00.99998", "0.99998000000000000001"},
        {int64_t{44100} * 3600, "1:00:00.00000", "1:00:"},
        {int64_t{44100} * (36000 + 59) + 22050, "10:00:59.50000", "36059.5"},
        {-44100 * 90 - 11025, "-1:30.25000", " -90.25"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(FormatTime(row.ticks), row.written);
        EXPECT_EQ(ParseTime(row.written), row.ticks) << row.written;
        EXPECT_EQ(ParseTime(row.also_read), row.ticks) << row.also_read;
    }
    const std::string nines(400, '9');
    EXPECT_GT(ParseTime(nines + ":" + nines + ":" + nines + "." + nines), 0);
}

TEST(TrackTime, EveryTickComesBack) {
    std::mt19937_64 random(1);
    for (int64_t ticks = 0; ticks < 50000; ++ticks) ASSERT_EQ(ParseTime(FormatTime(ticks)), ticks);
    for (int i = 0; i < 20000; ++i) {
        const int64_t ticks = static_cast<int64_t>(random() % (int64_t{1} << 36)) - (int64_t{1} << 35);
        ASSERT_EQ(ParseTime(FormatTime(ticks)), ticks);
    }
}

}  // namespace
}  // namespace Orvane
