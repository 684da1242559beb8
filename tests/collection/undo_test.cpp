// Undoing and redoing, in general and of albums.
#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

#include "collection/undo_records.h"
#include "fake_hosts.h"
#include "live_collection.h"

using namespace Foundation;

namespace Orvane {
namespace {

// Sets a number; the opposite sets it back.
class SetNumber : public UndoEntry {
public:
    SetNumber(int& number, int value, int32_t bytes) : UndoEntry("Set"), number(number), value(value), bytes(bytes) {
        ++n_alive;
    }
    ~SetNumber() override { --n_alive; }
    UndoResult Apply() override {
        if (fails) return Outcome::FailText(Kind::Busy, "in use");
        auto opposite = std::make_unique<SetNumber>(number, number, bytes);
        number = value;
        return UndoResult(std::move(opposite));
    }
    bool Covers(const UndoEntry&) const override { return true; }
    int32_t Bytes() const override { return bytes; }

    static inline int n_alive = 0;
    static inline bool fails = false;

private:
    int& number;
    int value;
    int32_t bytes;
};

class FakeScreens : public UndoHost {
public:
    FakeScreens() : before(SetUndoHost(this)) {}
    ~FakeScreens() override { SetUndoHost(before); }
    int CurrentScreen() const override { return current; }
    bool IsUsable(int screen) override { return screen != unusable; }
    Outcome ShowScreen(int screen) override { return current = screen, Outcome(); }
    Outcome CanGoOn(UndoDirection) override { return busy ? Outcome::FailText(Kind::Busy, "busy") : Outcome(); }

    int current = SCREEN_CLEANUP;
    int unusable = SCREEN_NONE;  // the album that it showed is gone
    bool busy = false;

private:
    UndoHost* before;
};

class UndoTest : public ::testing::Test {
protected:
    UndoTest() { ClearUndo(); }
    ~UndoTest() override { ClearUndo(); }

    // Gives the number another value as an action.
    void Act(int value, int32_t bytes = 0, UndoTop top = UndoTop::Keep) {
        AddUndo(std::make_unique<SetNumber>(number, std::exchange(number, value), bytes), top);
    }

    int number = 0;
};

TEST_F(UndoTest, KeepsAHundredActionsAndTenMegabytesButTheLastFour) {
    constexpr int32_t kMb = 1 << 20;
    const struct {
        int n_actions;
        int32_t bytes;
        int kept;
    } rows[] = {
        {100, 1, 100}, {101, 0, 100}, {6, 28 * kMb / 10, 5}, {9, 100 * kMb, 5}, {12, kMb, 11},
    };
    for (const auto& row : rows) {
        ClearUndo();
        number = 0;
        for (int i = 0; i < row.n_actions; ++i) Act(i + 1, row.bytes);
        EXPECT_EQ(SetNumber::n_alive, row.kept);
        EXPECT_EQ(GetUndoState().undo_highwater, row.kept);
        EXPECT_EQ(GetUndoState().undo_size, int64_t{row.kept} * row.bytes);
        while (Undo()) continue;
        EXPECT_EQ(number, row.n_actions - row.kept);
        while (Redo()) continue;
        EXPECT_EQ(number, row.n_actions);
    }
}

TEST_F(UndoTest, NothingBelowTheFloorIsUndone) {
    for (int i = 1; i <= 4; ++i) Act(i);
    Act(5, 5, UndoTop::Replace);  // as a spinning value that is one action
    EXPECT_EQ(GetUndoState().undo_index, 4);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(number, 4);
    SetUndoFloor();
    EXPECT_FALSE(Undo());
    EXPECT_FALSE(Redo());
    Act(10);
    EXPECT_TRUE(Undo());
    EXPECT_FALSE(Undo());
    EXPECT_TRUE(Redo());  // the new action has lifted the bar
    for (int i = 0; i < 100; ++i) Act(i);
    EXPECT_EQ(GetUndoState().floor, 0);  // it went down with the records below it
}

TEST_F(UndoTest, AnActionIsUndoneOnItsOwnScreen) {
    const struct {
        const char* name;
        int now_on, unusable;
        bool busy, agreed;
        Kind ends_with;
        int ends_on;
    } rows[] = {
        {"the same", SCREEN_CLEANUP, SCREEN_NONE, false, false, Kind::Done, SCREEN_CLEANUP},
        {"busy", SCREEN_CLEANUP, SCREEN_NONE, true, true, Kind::Busy, SCREEN_CLEANUP},
        {"another", SCREEN_BURN, SCREEN_NONE, false, true, Kind::Done, SCREEN_CLEANUP},
        {"to be asked", SCREEN_BURN, SCREEN_NONE, false, false, Kind::NeedsAnswer, SCREEN_BURN},
        {"album gone", SCREEN_BURN, SCREEN_CLEANUP, false, true, Kind::Done, SCREEN_SPLIT},
        {"stand-in is shown", SCREEN_SPLIT, SCREEN_CLEANUP, false, false, Kind::Done, SCREEN_SPLIT},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClearUndo();
        FakeScreens screens;
        Act(1);
        screens.current = row.now_on;
        screens.unusable = row.unusable;
        screens.busy = row.busy;
        EXPECT_EQ(Undo({.other_window = row.agreed}).GetKind(), row.ends_with);
        EXPECT_EQ(GetUndoState().undo_index, row.ends_with == Kind::Done ? 0 : 1);
        EXPECT_EQ(screens.current, row.ends_on);
    }
}

// Against a list of all states and a place in it. What a gesture does counts when it is kept.
TEST_F(UndoTest, RandomActionsAndGesturesGoBackAndForth) {
    std::mt19937 random(3);
    std::vector<int> states = {0};
    size_t at = 0, oldest = 0;
    bool moved = false;
    auto gesture = std::make_unique<Gesture>();
    const auto enter = [&](int value) {
        states.resize(++at);
        states.push_back(value);
        if (at - oldest > kMostUndo) ++oldest;
    };
    const auto keep = [&] {
        if (moved) enter(number);
        moved = false;
    };
    for (int i = 1; i < 40000; ++i) {
        const int before = number;
        switch (random() % 13) {
            case 0:
            case 1:
                keep();
                enter(i);
                Act(i);
                break;
            case 2:
            case 3:
                keep();
                EXPECT_EQ(GetUndoMenu(UndoDirection::Undo).enabled, at > oldest);
                EXPECT_EQ(Undo().Ok(), at > oldest);
                if (at > oldest) --at;
                break;
            case 4:
                EXPECT_EQ(GetUndoMenu(UndoDirection::Redo).enabled, !moved && at + 1 < states.size());
                keep();
                EXPECT_EQ(Redo().Ok(), at + 1 < states.size());
                if (at + 1 < states.size()) ++at;
                break;
            case 5:
            case 6:
                gesture->Move([&] { Act(i); });
                moved = true;
                break;
            case 7:
                gesture->MoveAfresh([&] { Act(number + 7); });
                moved = true;
                ASSERT_EQ(number, states[at] + 7);
                break;
            case 8:
                gesture->MoveAfresh([] {});  // back where it was
                moved = false;
                break;
            case 9:
                gesture->Keep();
                keep();
                break;
            case 10:
                gesture->Abandon();
                moved = false;
                break;
            case 11: {
                auto next = std::make_unique<Gesture>();
                next->Move([&] { Act(i); });
                if (moved) enter(before);
                moved = true;
                gesture = std::move(next);
                break;
            }
            default:
                gesture = std::make_unique<Gesture>();
                moved = false;
        }
        ASSERT_TRUE(moved || number == states[at]) << i;
        ASSERT_EQ(gesture->Running(), moved) << i;
        ASSERT_EQ(SetNumber::n_alive, static_cast<int>(states.size() - 1 - oldest) + moved) << i;
    }
}

TEST_F(UndoTest, AGestureThatCannotBeTakenBackIsKept) {
    {
        Gesture gesture;
        gesture.Move([&] { Act(1); });
        SetNumber::fails = true;
        EXPECT_TRUE(gesture.MoveAfresh([&] { return Act(2), Outcome(); }).Is(Kind::Busy));
        EXPECT_EQ(number, 1);
    }
    SetNumber::fails = false;
    EXPECT_TRUE(Undo());
    EXPECT_EQ(number, 0);
}

class UndoRecords : public ::testing::Test, protected OrvaneTest::LiveCollection {
protected:
    // An album of two tracks with a recording, whose files are there.
    AlbumInfo* Add(const char* artist, const char* title) {
        AlbumInfo* album = LiveCollection::Add(artist, title);
        for (const char* name : {"One", "Two"}) {
            ALBUMTRACK track;
            track.title = name;
            AddTrack(*album, track, 1000);
        }
        const FileHistoryEntry& entry = AddRecording(*album, 0, "audio");
        folder.Write(entry.CorrectionsPath(), "repairs");
        folder.Write(entry.WaveformPath(".wfd"), "waveform");
        return album;
    }

    static std::unique_ptr<UndoEntry> Renaming(const AlbumInfo& album, const char* artist, const char* title) {
        AlbumDetails details = album.Details();
        details.artist = artist;
        details.title = title;
        return std::make_unique<UndoEditAlbumDetails>(album, std::move(details));
    }
    static void Rename(const AlbumInfo& album, const char* artist) {
        UndoResult back = Renaming(album, artist, "Blue")->Apply();
        AddUndo(std::move(*back));
    }

    bool HasFiles(const std::string& name) const {
        return OrvaneTest::ReadBytes(folder / ("Mine/" + name)) == "audio" &&
               OrvaneTest::ReadBytes(folder / ("Mine/" + name + ".crd")) == "repairs" &&
               OrvaneTest::ReadBytes(folder / ("Mine/orvfiles/" + name + ".wfd")) == "waveform";
    }
};

TEST_F(UndoRecords, AlbumDetailsComeBackWithFilesAndOrder) {
    AlbumInfo* album = Add("Art", "Blue");
    Add("Cue", "Red");
    set.current_album = album;
    album->record_eq = RecordEq();
    album->record_eq->name = "Early";
    album->notes = "good";
    Rename(*album, "Zoe");
    EXPECT_EQ(set.albums.Last(), album);
    EXPECT_TRUE(HasFiles("Zoe~Blue~side1.wav"));
    album->notes = "changed meanwhile";
    EXPECT_TRUE(Undo());
    EXPECT_EQ(album->artist + album->notes + album->record_eq->name, "ArtgoodEarly");
    EXPECT_EQ(album->tracks.size(), 2);
    EXPECT_TRUE(HasFiles("Art~Blue~side1.wav"));
    EXPECT_TRUE(Redo());
    EXPECT_EQ(album->artist + album->notes, "Zoechanged meanwhile");
    EXPECT_TRUE(HasFiles("Zoe~Blue~side1.wav"));
}

TEST_F(UndoRecords, ARenameThatFailsLeavesEverything) {
    AlbumInfo* album = Add("Art", "Blue");
    Rename(*album, "Zoe");
    ASSERT_TRUE(HasFiles("Zoe~Blue~side1.wav"));
    // Another file has taken one of the old names: what had moved by then moves back.
    folder.Write("Mine/orvfiles/Art~Blue~side1.wav.wfd", "of another");
    EXPECT_EQ(Undo().Plain().find("Cannot rename file"), 0u);
    EXPECT_EQ(album->artist, "Zoe");
    EXPECT_TRUE(HasFiles("Zoe~Blue~side1.wav"));
    EXPECT_EQ(GetUndoState().undo_index, 1);

    album->running_jobs = 1;
    EXPECT_TRUE(Undo().Is(Msg::AlbumInUse));
    album->running_jobs = 0;
}

TEST_F(UndoRecords, TheAlbumIsFoundByItsName) {
    AlbumInfo* album = Add("Art", "Blue");
    AlbumInfo* other = Add("Cue", "Red");
    set.current_album = album;
    AddUndo(std::make_unique<UndoUpdateTrackInfo>(*album, "Delete track", 1, 1));
    DeleteTrack(*album, 1, true);
    std::unique_ptr<AlbumInfo> removed = RemoveAlbum(album);
    EXPECT_EQ(Undo().Plain(), "Can't undo/redo - file or album: Art - Blue has been deleted");

    // It comes back as another object, as it does when the list is read again.
    auto again = MakeAlbum();
    again->TakeDetails(removed->Details());
    AlbumInfo* back = AddAlbum(std::move(again));
    set.current_album = other;
    EXPECT_EQ(Undo().Plain(), "This undo/redo operation will take you to a different album (Art - Blue). Proceed?");
    EXPECT_EQ(set.current_album, other);
    EXPECT_TRUE(Undo({.other_album = true}));
    EXPECT_EQ(set.current_album, back);
    EXPECT_EQ(back->tracks.size(), 2);
}

TEST_F(UndoRecords, ARecordingGetsItsNameBack) {
    FileHistoryEntry* entry = Add("Art", "Blue")->sides[0]->newest;
    RecordingName wanted = entry->name;
    wanted.suffix = "~take2";
    AddUndo(std::move(*UndoRenameAlbumSide(*entry, wanted, "Rename side").Apply()));
    EXPECT_TRUE(HasFiles("Art~Blue~side1~take2.wav"));
    EXPECT_TRUE(Undo());
    EXPECT_TRUE(HasFiles("Art~Blue~side1.wav"));
    folder.Write("Mine/Art~Blue~side1~take2.wav", "a new take");
    EXPECT_FALSE(Redo());
    EXPECT_TRUE(HasFiles("Art~Blue~side1.wav"));
    EXPECT_EQ(entry->name.suffix, "");
}

}  // namespace
}  // namespace Orvane
