#include "foundation/messages.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "fake_hosts.h"
#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "foundation/markup.h"

namespace Tesslib {
namespace {

TEST(Markup, PlainTextDropsKnownTagsAndNothingElse) {
    const std::pair<const char*, const char*> cases[] = {
        {"Cannot find file:\n\n<b>/a/b.wav</b>", "Cannot find file: /a/b.wav"},
        {"<fg color=#ff0000>failed</fg>\n", "failed"},
        {"<center><u>x</u></center><font_size size=250>y</font_size>", "xy"},
        {"see <l><h>{browse_file:/a <b>.wav}</h>the file</l>.", "see the file."},
        {"<indent first=120 second=250>a)\tone\n\nb)\ttwo</indent>", "a) one b) two"},
        {"1 < 2 > 0, <i>, <bold>, <br/>, </p>", "1 < 2 > 0, <i>, <bold>, <br/>, </p>"},
        {"<b flat> <h>no end", "<b flat> <h>no end"},
        {"a <", "a <"},
        {"<b><<b>", "<"},
        {"one \r\n two", "one  two"},
        {"", ""},
    };
    for (const auto& [markup, plain] : cases) EXPECT_EQ(PlainText(markup), plain) << markup;
}

TEST(Markup, PiecesKeepAttributesAndActions) {
    std::string_view rest = "<fg color=#ff8000><l><h>{url:x}</h>a<b</l>";
    MarkupPiece piece;
    std::string seen;
    while (NextMarkup(rest, piece)) {
        seen += std::to_string(piece.kind) + ":" + std::to_string(static_cast<int>(piece.tag)) + ":" +
                std::string(piece.text) + "|";
    }
    EXPECT_EQ(seen, "1:4:color=#ff8000|1:6:|3:6:{url:x}|0:0:a<b|2:6:|");
}

TEST(FileErrors, CodesAndTextsFollowTheSystemsError) {
    const std::string denied_note =
        "\n\nIs Controlled Folder Access enabled?  If so, please either turn it off or add Orvane to the list of "
        "allowed "
        "apps.";
    EXPECT_EQ(FailOpen("/a", ENOENT), ERR_CANNOT_OPEN);
    EXPECT_EQ(GetLastError().code, ENOENT);
    EXPECT_EQ(GetLastError().text, "Cannot open file:\n\n<b>/a</b>\n\nerror 2 (No such file or directory)");
    EXPECT_EQ(FailOpen("/a", EBUSY), ERR_IN_USE);
    EXPECT_EQ(FailOpenForWriting("/a", ETXTBSY), ERR_IN_USE);
    EXPECT_EQ(FailOpenForWriting("/a", EWOULDBLOCK), ERR_IN_USE);

    EXPECT_EQ(FailOpenForWriting("/100% <b>", EACCES), ERR_CANNOT_OPEN);
    EXPECT_EQ(GetLastError().text,
              "Cannot open file:\n\n<b>/100% <b></b>\n\nfor writing, error 13 (Permission denied)" + denied_note);
    EXPECT_EQ(FailWrite("/a", ENOSPC), ERR_IO);
    EXPECT_EQ(GetLastError().text, "Error 28 writing to file:\n\n<b>/a</b>\n\n(No space left on device)");
    FailWrite("/a", EROFS);
    EXPECT_EQ(GetLastError().text, "Error 30 writing to file:\n\n<b>/a</b>\n\n(Read-only file system)" + denied_note);
    EXPECT_EQ(FailRead("/a", EIO), ERR_IO);
    EXPECT_EQ(GetLastError().text, "Error 5 reading file:\n\n<b>/a</b>\n\n(Input/output error)");
    EXPECT_EQ(FailContents(FormatMessage(Msg::BadChunk, "fmt ", "/a")), ERR_CONTENTS);
    EXPECT_EQ(GetLastError().text, "Bad or missing chunk 'fmt ' in file:\n\n<b>/a</b>");
    EXPECT_EQ(GetLastError().code, 0);
}

TEST(Hosts, ShowTheLastErrorAndAnswerFromTheScript) {
    OrvaneTest::FakeMessageHost host({Answer::Yes});
    FailRename("/a", "/b", EXDEV);
    ShowLastError();
    EXPECT_EQ(Messages().Ask({"again?", Buttons::YesNoCancel, Severity::Warning, ""}), Answer::Cancel);
    ASSERT_EQ(host.Texts().size(), 2u);
    EXPECT_EQ(host.Texts()[0], "Cannot rename file: /a to: /b error 18 (Invalid cross-device link)");
}

}  // namespace
}  // namespace Tesslib
