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

    OrvaneTest::TempFolder folder;
    AlbumSet set{folder / "Mine.mcf"};
    AlbumInfo& album = *(gAlbumSet = &set, AddAlbum(MakeAlbum()));
    OrvaneTest::FakeMessageHost messages;
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
    dialog.AdjustFader(0, Fader::Out, 100);
    dialog.AdjustFader(0, Fader::Out, 200);
    EXPECT_EQ(album.tracks[0].fade_out, 2 * kSecond);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(album.tracks[0].fade_out, length);
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

}  // namespace
}  // namespace Orvane
