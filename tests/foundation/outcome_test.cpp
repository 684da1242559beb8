#include "foundation/outcome.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "foundation/fileerror.h"
#include "foundation/lasterror.h"

namespace Foundation {
namespace {

TEST(Outcome, TellsAFailureInTheWordsOfItsMessage) {
    const Outcome done;
    EXPECT_TRUE(done.Ok());
    EXPECT_EQ(done.Text(), "");
    EXPECT_EQ(done.ToStreamError(), 0);

    const Outcome failed =
        Outcome::Fail(Kind::CannotOpen, Msg::CannotOpenFile, "a <b>bold</b>.wav", ENOENT, std::string("not there"))
            .About("a <b>bold</b>.wav", ENOENT);
    EXPECT_FALSE(failed);
    EXPECT_TRUE(failed.Is(Kind::CannotOpen));
    EXPECT_TRUE(failed.Is(Msg::CannotOpenFile));
    EXPECT_EQ(failed.File(), "a <b>bold</b>.wav");
    EXPECT_EQ(failed.SystemError(), ENOENT);
    // The tags of the message go, those of the file's name stay.
    EXPECT_EQ(failed.Plain(), "Cannot open file: a <b>bold</b>.wav error 2 (not there)");
}

TEST(Outcome, KeepsKindAndReasonOnTheRoadThroughAStreamsCode) {
    const Outcome contents = Outcome::OfLastError(FailContents("File:\n\n<b>x</b>\n\nis empty"));
    EXPECT_TRUE(contents.Is(Kind::Contents));
    SetLastErrorText("of another");
    EXPECT_EQ(contents.ToStreamError(), ERR_CONTENTS);
    EXPECT_EQ(GetLastError().text, "File:\n\n<b>x</b>\n\nis empty");

    const Outcome in_use = Outcome::OfLastError(FailOpen("x", EBUSY));
    EXPECT_TRUE(in_use.Is(Kind::InUse));
    EXPECT_EQ(in_use.SystemError(), EBUSY);
    EXPECT_TRUE(Outcome::OfLastError(5).Ok());
}

TEST(Result, HoldsAValueOrTheReasonWhyNot) {
    Result<std::string> there(std::string("value"));
    ASSERT_TRUE(there.Ok());
    EXPECT_EQ(*there, "value");
    const Result<std::string> none(Outcome::Cancelled());
    EXPECT_FALSE(none);
    EXPECT_TRUE(none.GetOutcome().Is(Kind::Cancelled));
}

}  // namespace
}  // namespace Foundation
