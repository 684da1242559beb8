#include "cli/texts.h"

#include <gtest/gtest.h>

#include <cmath>

#include "cli/titles.h"

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

TEST(Titles, LinesAreTimesWithATitleOrATitleAlone) {
    struct Row {
        const char* line;
        const char* title;  // null: an error
        double start, end;  // with times where end is above 0
    };
    const Row rows[] = {
        {"0:06 - 0:40 Turning Slowly", "Turning Slowly", 6, 40},
        {"  6.5 – 1:00:00.25   A  B ", "A  B", 6.5, 3600.25},
        {"4:33", "4:33", 0, 0},
        {"7 Seconds", "7 Seconds", 0, 0},
        {"# 0:06 - 0:40 a remark", "", 0, 0},
        {"0:06 - Turning", nullptr, 0, 0},
        {"0:06 - 0:40", nullptr, 0, 0},
    };
    for (const Row& row : rows) {
        TitleLine title;
        std::string problem;
        EXPECT_EQ(ParseTitleLine(row.line, title, problem), row.title != nullptr) << row.line << ": " << problem;
        if (!row.title) continue;
        EXPECT_EQ(title.title, row.title) << row.line;
        EXPECT_EQ(title.timed, row.end > 0) << row.line;
        if (!title.timed) continue;
        EXPECT_EQ(title.start, std::llround(row.start * 44100)) << row.line;
        EXPECT_EQ(title.end, std::llround(row.end * 44100)) << row.line;
    }
}
