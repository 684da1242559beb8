#include "cleanup/shownclicks.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

TEST(ShownClicks, AreThoseThatTheSettingsLeaveAtAnyRate) {
    struct Row {
        int16_t type;
        int64_t length;
        int32_t rate;
        bool wide;
    };
    for (const Row& row : {Row{REPAIR_SCANNER, 60, 44100, false},
                           {REPAIR_SCANNER, 61, 44100, true},
                           {REPAIR_PP, 61, 44100, true},
                           {REPAIR_MANUAL, 120, 96000, false},
                           {REPAIR_MANUAL, 140, 96000, true}}) {
        const ClickRepair repair(row.type, 1000, 1000 + row.length, int16_t{0});
        EXPECT_TRUE((ShownClicks{true, false}.Shows(repair, row.rate)));
        EXPECT_EQ((ShownClicks{true, true}.Shows(repair, row.rate)), row.wide) << row.length << " at " << row.rate;
        EXPECT_FALSE((ShownClicks{false, true}.Shows(repair, row.rate)));
    }
    EXPECT_TRUE((ShownClicks{false, true}.Shows({REPAIR_PATCH, 0, 10, int16_t{0}}, 44100)));
}

}  // namespace
}  // namespace Orvane
