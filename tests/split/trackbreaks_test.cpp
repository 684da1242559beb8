// Track breaks: their rules, and the dialog that edits them.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "audiosignals.h"
#include "collection/gesture.h"
#include "foundation/settings.h"
#include "listing.h"
#include "live_collection.h"
#include "split/sidebreaks.h"
#include "split/splitdialog.h"
#include "split/trackbreaks.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int64_t kSecond = kTicksPerSecond;

TEST(TrackBreaks, InsertingFollowsTheTable) {
    struct Row {
        const char* what;
        const char* before;
        int selected;
        int64_t position;
        Alt alt;
        const char* after;  // null: no room
        const char* titles;
    };
    const Row rows[] = {
        {"into an empty list", "", 0, 60 * kSecond, Alt::Up, "0-60", "Track 1"},
        {"behind the last of a full list", "0-100", 0, 150 * kSecond, Alt::Up, "0-100 100-150", "A,Track 2"},
        {"the third of three titles", "0-100 100-200 200", 0, 300 * kSecond, Alt::Up, "0-100 100-200 200-300", "A,B,C"},
        {"into a set track: times move down", "0-100 100-200 200-300", 0, 50 * kSecond, Alt::Up,
         "0-50 50-100 100-200 200-300", "A,B,C,Track 4"},
        {"the tail stays together", "0-100 100-200 200 200 200", 0, 50 * kSecond, Alt::Up,
         "0-50 50-100 100-200 200 200", "A,B,C,D,E"},
        {"faders stay with their places", "<0-100> <100-200> 200", 0, 50 * kSecond, Alt::Up, "<0-50 50-100> <100-200>",
         "A,B,C"},
        {"a start that is known moves back", "0-100 150 150", 0, 120 * kSecond, Alt::Up, "0-100 120 120", "A,B,C"},
        {"less than a second from the start", "0-100 100", 0, kSecond - 1, Alt::Up, nullptr, ""},
        {"less than a second from the end", "0-100 100", 0, 99 * kSecond + 1, Alt::Up, nullptr, ""},
        {"a second behind the last break", "0-100", 0, 101 * kSecond, Alt::Up, "0-100 100-101", "A,Track 2"},
        {"too near behind the last break", "0-100", 0, 101 * kSecond - 1, Alt::Up, nullptr, ""},
        {"in a gap between set tracks", "0-100 150-200", 0, 110 * kSecond, Alt::Up, nullptr, ""},
        {"with Alt a row comes in", "<0-100> <100-200> 200", 0, 50 * kSecond, Alt::Down, "<0-50 50-100> <100-200> 200",
         "A,Track 2,B,C"},
        {"with Alt too near to the start", "0-100 100-200", 1, 101 * kSecond - 1, Alt::Down, nullptr, ""},
        {"with Alt outside of the selected track", "0-100 100-200", 1, 50 * kSecond, Alt::Down, nullptr, ""},
        {"with Alt on an unset row as without", "0-100 100", 1, 50 * kSecond, Alt::Down, "0-50 50-100", "A,B"},
    };
    for (const Row& row : rows) {
        TrackList tracks = Listing(row.before);
        const bool inserted = InsertTrackBreak(tracks, row.selected, row.position, row.alt);
        EXPECT_EQ(inserted, row.after != nullptr) << row.what;
        EXPECT_EQ(Text(tracks), row.after ? row.after : row.before) << row.what;
        if (row.after) {
            EXPECT_EQ(Titles(tracks), row.titles) << row.what;
        }
    }
}

TEST(TrackBreaks, DeletingFollowsTheTable) {
    struct Row {
        const char* what;
        const char* before;
        int index;
        Alt alt;
        const char* after;
        const char* titles;
    };
    const Row rows[] = {
        {"times move up", "0-100 100-200 200-300 300-400 400-500", 1, Alt::Up, "0-100 100-300 300-400 400-500 500",
         "A,B,C,D,E"},
        {"with Alt the row goes", "0-100 100-200 200-300 300-400 400-500", 1, Alt::Down,
         "0-100 100-300 300-400 400-500", "A,B,D,E"},
        {"a gap is closed", "0-100 150-200", 0, Alt::Up, "0-200 200", "A,B"},
        {"the fade-out is inherited", "<0-100> <100-200> <200-300>", 0, Alt::Up, "<0-200> <200-300> 300", "A,B,C"},
        {"the last set track becomes unset", "0-100 <100-200> 200", 1, Alt::Up, "0-100 <100 100", "A,B,C"},
        {"the only one", "5-100>", 0, Alt::Up, "5", "A"},
        {"unset rows move up together", "0-100 100-200 200-300 300 300", 0, Alt::Up, "0-200 200-300 300 300 300",
         "A,B,C,D,E"},
    };
    for (const Row& row : rows) {
        TrackList tracks = Listing(row.before);
        DeleteTrackBreak(tracks, row.index, row.alt);
        EXPECT_EQ(Text(tracks), row.after) << row.what;
        EXPECT_EQ(Titles(tracks), row.titles) << row.what;
    }
}

TEST(TrackBreaks, StartsAndEndsMoveByTheirRules) {
    struct Row {
        const char* what;
        const char* before;
        bool start;
        int index;
        int64_t seconds;
        Following following;
        Alt alt;
        const char* after;
    };
    const Following kMove = Following::Move, kStay = Following::Stay;
    const Row rows[] = {
        {"a set start moves alone", "0-100 100-200", true, 1, 110, kStay, Alt::Up, "0-100 110-200"},
        {"with Alt the track and all that follow", "0-100 100-200 200-300 300", true, 1, 110, kStay, Alt::Down,
         "0-100 110-210 210-310 310"},
        {"an unset start takes its end and the tail", "0-100 100 100", true, 1, 110, kStay, Alt::Up, "0-100 110 110"},
        {"the next start goes along before it", "0-100 150-200", false, 0, 120, kMove, Alt::Up, "0-120 170-200"},
        {"but never past its end", "0-100 190-200", false, 0, 120, kMove, Alt::Up, "0-120 199-200"},
        {"with Alt all go along", "0-100 100-200 210-300 300", false, 0, 110, kMove, Alt::Down,
         "0-110 110-210 220-310 310"},
        {"with Alt by the overrun only", "0-100 105-200 200-300", false, 0, 110, kMove, Alt::Down,
         "0-110 110-205 205-305"},
        {"an unset end takes the tail along", "0-100 100 100 100", false, 1, 150, kMove, Alt::Up,
         "0-100 100-150 150 150"},
        {"the tail rides behind the last track", "0-100 100 100", false, 0, 150, kStay, Alt::Up, "0-150 150 150"},
        {"and stays behind when told to", "0-100 100 100", false, 0, 50, kStay, Alt::Up, "0-50 100 100"},
    };
    for (const Row& row : rows) {
        TrackList tracks = Listing(row.before);
        if (row.start) {
            SetTrackStart(tracks, row.index, row.seconds * kSecond, row.alt);
        } else {
            SetTrackEnd(tracks, row.index, row.seconds * kSecond, row.following, row.alt);
        }
        EXPECT_EQ(Text(tracks), row.after) << row.what;
    }
}

TEST(TrackBreaks, OverlappingTracksArePushedOn) {
    TrackList tracks = Listing("0-100 90-95 97-200 205-300 250");
    PushOverlappingTracks(tracks);
    EXPECT_EQ(Text(tracks), "0-100 100-101 101-200 205-300 300");
}

// A dialog over an album of the live collection.
class SplitDialogTest : public testing::Test, protected OrvaneTest::LiveCollection {
protected:
    SplitDialogTest() { EXPECT_TRUE(OpenSettings(folder.Path())); }

    void Start(const std::string& listing) {
        album.tracks = Listing(listing);
        ClearUndo();
    }
    static int CanUndo() { return GetUndoState().undo_index; }

    AlbumInfo& album = *Add("Art", "Blue");
    SplitDialog dialog{album};
};

TEST_F(SplitDialogTest, ClicksAndGesturesAreOneEntryOfUndoEach) {
    Start("0-100 100-200");
    EXPECT_TRUE(dialog.DeleteTrackBreak(BreakHit::TrackStart, 1, 0, MakeUndo::Yes, Alt::Up));
    EXPECT_EQ(Text(album.tracks), "0-200 200");
    EXPECT_TRUE(Undo());
    EXPECT_EQ(Text(album.tracks), "0-100 100-200");
    dialog.EnableFader(0, Fader::Out, true);
    const int32_t length = album.tracks[0].fade_out;
    Gesture spin;
    for (int i = 0; i < 2 * kMostUndo; ++i) spin.Move([&] { dialog.AdjustFader(0, Fader::Out, 100 + i); });
    EXPECT_EQ(CanUndo(), 1);
    EXPECT_TRUE(Undo()) << "keeps it first";
    EXPECT_EQ(album.tracks[0].fade_out, length);
    EXPECT_EQ(CanUndo(), 1);
    EXPECT_TRUE(Redo());
    EXPECT_EQ(album.tracks[0].fade_out, (99 + 2 * kMostUndo) * kSecond / 100);
}

// Dragged past other breaks and back: the end of a track that comes to stand on the next start takes nothing along.
TEST_F(SplitDialogTest, ADragDependsOnlyOnWhereItEnds) {
    OrvaneTest::Noise noise(5);
    dialog.end = 400 * kSecond;
    for (const char* listing : {"0-100 150-200 200-300", "0-100 100-200 200-300 300", "10-20 30 30"}) {
        for (int round = 0; round < 200; ++round) {
            const int row = noise.Below(3);
            const bool start = noise.Below(2);
            const Alt alt = noise.Below(2) ? Alt::Up : Alt::Down;
            const auto move = [&](int64_t position) {
                start ? dialog.MoveTrackStart(row, position, alt) : dialog.MoveTrackEnd(row, position, alt);
            };
            Start(listing);
            Gesture drag;
            int64_t position = 0;
            for (int i = 0; i < 5; ++i) {
                position = static_cast<int64_t>(noise.Even() * 450 * kSecond);
                drag.MoveAfresh([&] { move(position); });
            }
            const std::string dragged = Text(album.tracks);
            drag.Keep();
            EXPECT_LE(CanUndo(), 1);
            EXPECT_EQ(Undo().Ok(), dragged != listing);
            EXPECT_EQ(Text(album.tracks), listing);
            drag.MoveAfresh([&] { move(position / 2); });
            drag.Abandon();
            EXPECT_EQ(Text(album.tracks), listing);
            EXPECT_EQ(Redo().Ok(), dragged != listing) << "given up, the drag leaves the stack alone";
            Start(listing);
            move(position);
            EXPECT_EQ(Text(album.tracks), dragged) << listing << " row " << row;
        }
    }
}

TEST_F(SplitDialogTest, EditedTracksKeepTheListingInOrder) {
    struct Row {
        const char* before;
        int index;
        int64_t start, end;  // of the edited track, in seconds
        const char* after;   // null: refused
        const char* titles;
    };
    dialog.end = 200 * kSecond;
    for (const Row& row : {Row{"0-58 58 58", 2, 60, 100, "0-58 60-100 100", "A,C,B"},
                           {"0-58 58 58", 2, 50, 100, nullptr, "A,B,C"},
                           {"0-58 60-90 90", 0, 0, 0, "60-90 90 90", "B,A,C"},
                           {"0-58 60-90 90", 0, 100, 201, nullptr, "A,B,C"},
                           {"0-58 58 70-90", 0, 0, 50, nullptr, "A,B,C"}}) {
        Start(row.before);
        ALBUMTRACK track = album.tracks[row.index];
        track.start = row.start * kSecond;
        track.end = row.end * kSecond;
        EXPECT_EQ(dialog.EditTrack(row.index, track).Ok(), row.after != nullptr) << row.before;
        EXPECT_EQ(Text(album.tracks), row.after ? row.after : row.before);
        EXPECT_EQ(Titles(album.tracks), row.titles) << row.before;
    }
}

TEST_F(SplitDialogTest, SideBreaksMoveInSteps) {
    const RefPtr<FileHistoryEntry> entry = MakeRef<FileHistoryEntry>(&album, album.GetSide(0, true));
    entry->decided.side_breaks = {3, INT64_MAX - 5};
    const simple_vector<int64_t> before = entry->decided.side_breaks, half = {1, INT64_MAX / 4};
    FixSideBreaks fix(*entry);
    fix.MoveRight();
    for (int i = 0; i < 2; ++i) fix.MoveLeft();
    EXPECT_EQ(entry->decided.side_breaks, half);
    fix.Cancel();
    EXPECT_EQ(entry->decided.side_breaks, before);
}

testing::AssertionResult InOrder(const TrackList& tracks) {
    const int n_set = FirstUnsetTrack(tracks);
    int64_t before = 0;
    for (int i = 0; i < tracks.size(); ++i) {
        const ALBUMTRACK& track = tracks[i];
        const bool wanted = i < n_set ? track.end >= track.start + kShortestTrack : track.IsEmpty();
        const bool together = i <= n_set || track.start == tracks[n_set].start;
        if (!wanted || !together || track.start < before) return testing::AssertionFailure() << "row " << i;
        before = track.end;
    }
    return testing::AssertionSuccess();
}

TEST_F(SplitDialogTest, AHundredThousandRandomEditsStayInOrderAndGoBackAndForth) {
    OrvaneTest::Noise noise(11);
    dialog.end = 1400 * kSecond;
    Start("0 0 0 0");
    for (int i = 0; i < 100000; i += kMostUndo) {
        if (album.tracks.size() > 25) Start("0-20 30-50 50 50");
        ClearUndo();
        const TrackList first = album.tracks;
        for (int k = 0; k < kMostUndo; ++k) {
            const Alt alt = noise.Below(3) ? Alt::Up : Alt::Down;
            const Fader fader = noise.Below(2) ? Fader::In : Fader::Out;
            const int64_t position = static_cast<int64_t>(noise.Even() * 1500 * kSecond);
            const TrackList before = album.tracks;
            const int n_undo = CanUndo();
            const int what = noise.Below(11);
            const int row = noise.Below(std::max(1, before.size()));
            if (what == 10) {
                ALBUMTRACK track = before.empty() ? ALBUMTRACK() : before[row];
                track.end = track.start + position / 100;
                const int n_other = noise.Below(40);  // what empties a listing is rare
                if (n_other == 0) dialog.DeleteAllTrackBreaks();
                if (n_other == 0 || before.empty()) continue;
                if (n_other < 10) dialog.DeleteTrack(row, noise.Below(2));
                if (n_other >= 10 && n_other < 20) dialog.MoveTrackInList(row, noise.Below(before.size()));
                if (n_other >= 20) (void)dialog.EditTrack(row, track);
            } else if (what >= 5) {
                dialog.SelectAt(position);
                const bool inserted = dialog.InsertTrackBreak(position, alt).Ok();
                ASSERT_TRUE(inserted || album.tracks == before) << "a failed insertion leaves nothing behind";
            } else if (what == 4) {
                dialog.remove_empty_last_row = noise.Below(2);
                if (!before.empty()) dialog.DeleteTrackBreak(BreakHit::TrackEnd, row, 0, MakeUndo::Yes, alt);
            } else if (!before.empty()) {
                if (what == 0) dialog.MoveTrackStart(row, position, alt);
                if (what == 1)
                    dialog.MoveTrackEnd(row, position, alt, noise.Below(2) ? Joined::MoveTogether : Joined::MoveApart);
                if (what == 2) dialog.EnableFader(row, fader, noise.Below(2));
                if (what == 3) dialog.AdjustFader(row, fader, noise.Below(2500));
            }
            ASSERT_EQ(CanUndo() - n_undo, album.tracks == before ? 0 : 1) << i + k;
            ASSERT_TRUE(InOrder(album.tracks) && (album.tracks.empty() || album.tracks.back().end <= dialog.end))
                << "edit " << i + k << ", kind " << what << ": " << Text(before) << " -> " << Text(album.tracks);
        }
        const TrackList last = album.tracks;
        while (Undo()) {
        }
        ASSERT_EQ(album.tracks, first) << i;
        while (Redo()) {
        }
        ASSERT_EQ(album.tracks, last) << i;
    }
}

}  // namespace
}  // namespace Orvane
