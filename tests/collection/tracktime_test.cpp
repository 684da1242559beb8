#include "collection/tracktime.h"

#include <gtest/gtest.h>

#include <random>

namespace Orvane {
namespace {

TEST(TrackTime, IsWrittenAsRecordedHere) {
    struct {
        int64_t ticks;
        const char* text;
    } const rows[] = {
        {0, "0:00.00000"},
        {1, "0:00.00002"},
        {44099, "0:00.99998"},
        {44100 * 61, "1:01.00000"},
        {int64_t{44100} * 3600, "1:00:00.00000"},
        {int64_t{44100} * (36000 + 59) + 22050, "10:00:59.50000"},
        {-44100 * 90 - 11025, "-1:30.25000"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(FormatTime(row.ticks), row.text);
        EXPECT_EQ(ParseTime(row.text), row.ticks) << row.text;
    }
}

TEST(TrackTime, EveryTickComesBack) {
    std::mt19937_64 random(1);
    for (int64_t ticks = 0; ticks < 50000; ++ticks) ASSERT_EQ(ParseTime(FormatTime(ticks)), ticks);
    for (int i = 0; i < 20000; ++i) {
        const int64_t ticks = static_cast<int64_t>(random() % (int64_t{1} << 36)) - (int64_t{1} << 35);
        ASSERT_EQ(ParseTime(FormatTime(ticks)), ticks);
    }
}

TEST(TrackTime, IsReadAsUsersAndOthersWriteIt) {
    struct {
        const char* text;
        int64_t ticks;
    } const rows[] = {
        {"", 0},
        {"  1:00", 44100 * 60},
        {"90", 44100 * 90},
        {"90.5", 44100 * 90 + 22050},
        {"1:2:3", 44100 * 3723},
        {".25", 11025},
        {"0:01.0000000000000001", 44100},
        {"2:xx", 44100 * 120},
        {"what", 0},
        {"-", 0},
        {":", 0},
        {"1:00:", 44100 * 3600},
    };
    for (const auto& row : rows) EXPECT_EQ(ParseTime(row.text), row.ticks) << row.text;
    const std::string nines(400, '9');
    EXPECT_GT(ParseTime(nines + ":" + nines + ":" + nines + "." + nines), 0);
}

}  // namespace
}  // namespace Orvane
