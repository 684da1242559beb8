#include "split/splitdialog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "audiosignals.h"
#include "collection/albumset.h"
#include "collection/undo.h"
#include "fake_hosts.h"
#include "foundation/settings.h"
#include "listing.h"
#include "split/sidebreaks.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

constexpr int64_t kSecond = kTicksPerSecond;

// A dialog over an album of the live collection.
class SplitDialogTest : public testing::Test {
protected:
    SplitDialogTest() {
        OpenSettings(folder.Path());
        ClearUndo();
    }
    ~SplitDialogTest() override {
        ClearUndo();
        gAlbumSet = nullptr;
    }

    void Start(const std::string& listing) {
        album.tracks = Listing(listing);
        ClearUndo();
    }
    static int CanUndo() { return GetUndoState().undo_index; }
    static std::string UndoTip() { return GetUndoMenu(UndoDirection::Undo).tip; }

    OrvaneTest::TempFolder folder;
    AlbumSet set{folder / "Mine.mcf"};
    AlbumInfo& album = *(gAlbumSet = &set, AddAlbum(MakeAlbum()));
    OrvaneTest::FakeMessageHost messages;
    SplitDialog dialog{album};
};

TEST_F(SplitDialogTest, InsertionsGoToTheSelectedTrackAndFailuresAreTold) {
    Start("0-100 100-200");
    EXPECT_TRUE(dialog.InsertTrackBreak(50 * kSecond, Alt::Up));
    EXPECT_EQ(Text(album.tracks), "0-50 50-100 100-200");
    EXPECT_FALSE(dialog.InsertTrackBreak(50 * kSecond, Alt::Up));
    EXPECT_EQ(messages.Texts(),
              std::vector<std::string>{"There is no room to insert a track break at 0:50.00000 Please "
                                       "delete a nearby marker first or move it out of the way (or try "
                                       "elsewhere)"});
    dialog.SelectAt(150 * kSecond);
    EXPECT_TRUE(dialog.InsertTrackBreak(150 * kSecond, Alt::Down));
    EXPECT_EQ(Titles(album.tracks), "A,B,Track 3,Track 4");
    EXPECT_EQ(UndoTip(), "Undo Insert track break (Ctrl+Z)");
}

TEST_F(SplitDialogTest, DeletionsGoByWhatWasHit) {
    struct Row {
        BreakHit hit;
        int index;
        int64_t seconds;
        const char* after;
    };
    const char* before = "0-100 100-200 250-300";
    const Row rows[] = {
        {BreakHit::TrackStart, 1, 0, "0-200 250-300 300"},
        {BreakHit::TrackEnd, 0, 0, "0-200 250-300 300"},
        {BreakHit::TrackEnd, 2, 0, "0-100 100-200 250"},
        {BreakHit::ByPosition, 0, 99, "0-200 250-300 300"},  // an end and a start are equally near
        {BreakHit::ByPosition, 0, 207, "0-100 100-300 300"},
        {BreakHit::ByPosition, 0, 245, before},  // a start
    };
    dialog.hit_tolerance = 10 * kSecond;
    for (const Row& row : rows) {
        Start(before);
        const bool deleted = dialog.DeleteTrackBreak(row.hit, row.index, row.seconds * kSecond, MakeUndo::Yes, Alt::Up);
        EXPECT_EQ(Text(album.tracks), row.after) << row.index << " " << row.seconds;
        EXPECT_EQ(CanUndo(), deleted ? 1 : 0) << row.index << " " << row.seconds;
    }
}

TEST_F(SplitDialogTest, DragsStopAtTheirNeighbours) {
    struct Row {
        bool start;
        int index;
        int64_t seconds;
        Alt alt;
        const char* after;
    };
    const char* before = "10-100 100-200 250-300 300 300";
    const Row rows[] = {
        {true, 0, -5, Alt::Up, "0-100 100-200 250-300 300 300"},
        {true, 1, 300, Alt::Up, "10-100 199-200 250-300 300 300"},
        {true, 2, 150, Alt::Down, "10-100 100-200 200-250 250 250"},
        {true, 3, 250, Alt::Up, before},
        {false, 0, 150, Alt::Up, "10-150 150-200 250-300 300 300"},
        {false, 0, 500, Alt::Up, "10-199 199-200 250-300 300 300"},
        {false, 1, 500, Alt::Up, "10-100 100-250 250-300 300 300"},
        {false, 1, 210, Alt::Down, "10-100 100-210 260-310 310 310"},
        {false, 3, 350, Alt::Up, "10-100 100-200 250-300 300-350 350"},
        {false, 4, 350, Alt::Up, before},
    };
    for (const Row& row : rows) {
        Start(before);
        if (row.start) {
            dialog.MoveTrackStart(row.index, row.seconds * kSecond, row.alt);
        } else {
            dialog.MoveTrackEnd(row.index, row.seconds * kSecond, row.alt);
        }
        EXPECT_EQ(Text(album.tracks), row.after) << row.start << " " << row.index << " " << row.seconds;
        EXPECT_EQ(CanUndo(), Text(album.tracks) == before ? 0 : 1);
    }
}

TEST_F(SplitDialogTest, AFaderGestureIsOneEntryOfUndo) {
    Start("0-100 100-200");
    dialog.EnableFader(0, Fader::Out, true);
    dialog.AdjustFader(0, Fader::Out, 100);
    dialog.AdjustFader(0, Fader::Out, 200);
    dialog.AdjustFader(1, Fader::In, 200);
    dialog.EndFaderGesture();
    dialog.AdjustFader(1, Fader::In, 300);
    dialog.AdjustFader(1, Fader::In, 300);
    EXPECT_EQ(album.tracks[0].fade_out, 2 * kSecond);
    EXPECT_EQ(album.tracks[1].fade_in, 3 * kSecond);
    EXPECT_EQ(CanUndo(), 4);
    EXPECT_TRUE(Undo() && Undo() && Undo());
    EXPECT_EQ(album.tracks[0].fade_out, 220500) << "both steps of the gesture";
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
            const int what = noise.Below(8);
            const int row = noise.Below(std::max(1, before.size()));
            if (what >= 5) {
                dialog.SelectAt(position);
                const bool inserted = dialog.InsertTrackBreak(position, alt);
                ASSERT_TRUE(inserted || album.tracks == before) << "a failed insertion leaves nothing behind";
            } else if (what == 4) {
                dialog.remove_empty_last_row = noise.Below(2);
                if (!before.empty()) dialog.DeleteTrackBreak(BreakHit::TrackEnd, row, 0, MakeUndo::Yes, alt);
            } else if (!before.empty()) {
                if (what == 0) dialog.MoveTrackStart(row, position, alt);
                if (what == 1) dialog.MoveTrackEnd(row, position, alt);
                if (what == 2) dialog.EnableFader(row, fader, noise.Below(2));
                if (what == 3) dialog.AdjustFader(row, fader, noise.Below(2500));
                dialog.EndFaderGesture();
            }
            ASSERT_EQ(CanUndo() - n_undo, album.tracks == before ? 0 : 1) << i + k;
            ASSERT_TRUE(InOrder(album.tracks))
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

TEST(FixSideBreaks, DoublesHalvesAndTakesBack) {
    OrvaneTest::FakeMessageHost messages;
    AlbumInfo album;
    FileHistoryEntry recording(&album, nullptr);
    EXPECT_FALSE(FixSideBreaks(recording).CheckAny());
    EXPECT_EQ(messages.Texts(), std::vector<std::string>{"This album has no side breaks - there is nothing to fix."});
    recording.side_breaks = {3'000'000'000, 5'000'000'001};
    FixSideBreaks fix(recording);
    EXPECT_TRUE(fix.CheckAny());
    fix.MoveRight();
    fix.MoveLeft();
    fix.MoveLeft();
    EXPECT_EQ(recording.side_breaks, (simple_vector<int64_t>{1'500'000'000, 2'500'000'000}));
    fix.Cancel();
    EXPECT_EQ(recording.side_breaks, (simple_vector<int64_t>{3'000'000'000, 5'000'000'001}));
}

}  // namespace
}  // namespace Orvane
