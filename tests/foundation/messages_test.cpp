#include "foundation/messages.h"

#include <gtest/gtest.h>

#include "foundation/markup.h"

namespace Tesslib {
namespace {

TEST(Markup, PlainTextDropsKnownTagsAndNothingElse) {
    const std::pair<const char*, const char*> cases[] = {
        {"Cannot find file:\n\n<b>/a/b.wav</b>", "Cannot find file: /a/b.wav"},
        {"<center><u>x</u></center><font_size size=250>y</font_size>", "xy"},
        {"see <l><h>{browse_file:/a <b>.wav}</h>the file</l>.", "see the file."},
        {"1 < 2 > 0, <i>, <bold>, <br/>, </p>", "1 < 2 > 0, <i>, <bold>, <br/>, </p>"},
        {"<b flat> <h>no end", "<b flat> <h>no end"},
        {"a <", "a <"},
        {"<b><<b>", "<"},
    };
    for (const auto& [markup, plain] : cases) EXPECT_EQ(PlainText(markup), plain) << markup;
}

}  // namespace
}  // namespace Tesslib
