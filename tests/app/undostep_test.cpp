// The questions that an undo puts.
#include <gtest/gtest.h>

#include "app/session/undostep.h"
#include "collection/undo_records.h"
#include "fake_hosts.h"
#include "live_collection.h"

using namespace Foundation;

namespace Orvane {
namespace {

class Screens : public UndoHost {
public:
    Screens() { SetUndoHost(this); }
    ~Screens() override { SetUndoHost(nullptr); }
    int CurrentScreen() const override { return screen; }
    Outcome ShowScreen(int wanted) override { return screen = wanted, Outcome(); }
    int screen = SCREEN_SPLIT;
};

TEST(UndoStep, AsksForTheOtherWindowAndThenForTheOtherAlbum) {
    OrvaneTest::LiveCollection live;
    Screens screens;
    AlbumInfo* album = live.Add("Art", "Blue");
    AddUndo(std::make_unique<UndoUpdateTrackInfo>(*album, "Delete track", 0, 0));
    AlbumInfo* other = live.Add("Cue", "Red");
    screens.screen = SCREEN_BURN;
    OrvaneTest::FakeMessageHost messages({Answer::Ok, Answer::Cancel, Answer::Ok, Answer::Ok});
    EXPECT_TRUE(UndoStep(UndoDirection::Undo).Is(Kind::Cancelled));
    EXPECT_EQ(live.set.current_album, other);
    EXPECT_EQ(screens.screen, SCREEN_BURN);
    EXPECT_TRUE(UndoStep(UndoDirection::Undo));
    EXPECT_EQ(live.set.current_album, album);
    EXPECT_EQ(screens.screen, SCREEN_SPLIT);
    EXPECT_TRUE(UndoStep(UndoDirection::Redo));
    EXPECT_EQ(messages.asked.size(), 4u);
    EXPECT_TRUE(UndoStep(UndoDirection::Redo).Is(Msg::NothingToRedo));
}

}  // namespace
}  // namespace Orvane
