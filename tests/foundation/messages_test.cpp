#include "foundation/messages.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
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

TEST(FileErrors, CodesAndTextsFollowTheSystemsError) {
    const std::string note =
        "\n\nIs Controlled Folder Access enabled?  If so, please either turn it off or add Orvane to the list of "
        "allowed apps.";
    struct {
        int (*fail)(std::string_view path, int error);
        int error, code;
        std::string text;
    } const cases[] = {
        {FailOpen, ENOENT, ERR_CANNOT_OPEN,
         "Cannot open file:\n\n<b>/1% <b></b>\n\nerror 2 (No such file or directory)"},
        {FailOpenForWriting, EACCES, ERR_CANNOT_OPEN,
         "Cannot open file:\n\n<b>/1% <b></b>\n\nfor writing, error 13 (Permission denied)" + note},
        {FailWrite, ENOSPC, ERR_IO, "Error 28 writing to file:\n\n<b>/1% <b></b>\n\n(No space left on device)"},
        {FailWrite, EROFS, ERR_IO, "Error 30 writing to file:\n\n<b>/1% <b></b>\n\n(Read-only file system)" + note},
        {FailRead, EIO, ERR_IO, "Error 5 reading file:\n\n<b>/1% <b></b>\n\n(Input/output error)"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.fail("/1% <b>", c.error), c.code) << c.text;
        EXPECT_EQ(GetLastError().text, c.text);
        EXPECT_EQ(GetLastError().code, c.error);
    }
}

}  // namespace
}  // namespace Tesslib
