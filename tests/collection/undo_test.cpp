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

using OrvaneTest::FakeMessageHost;

// Sets a number; the opposite sets it back.
class SetNumber : public UndoEntry {
public:
    SetNumber(int& number, int value, int32_t bytes) : UndoEntry("Set"), number(number), value(value) {
        size = bytes;
        ++n_alive;
    }
    ~SetNumber() override { --n_alive; }
    std::unique_ptr<UndoEntry> Apply() override {
        auto opposite = std::make_unique<SetNumber>(number, number, size);
        number = value;
        return opposite;
    }

    static inline int n_alive = 0;

private:
    int& number;
    int value;
};

class FakeScreens : public UndoHost {
public:
    FakeScreens() : before(SetUndoHost(this)) {}
    ~FakeScreens() override { SetUndoHost(before); }
    int CurrentScreen() const override { return current; }
    bool IsUsable(int screen) override { return screen != unusable; }
    bool ShowScreen(int screen) override { return current = screen, true; }
    bool CanGoOn(UndoDirection) override { return !busy; }

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
        bool busy;
        Answer answer;
        bool asks, done;
        int ends_on;
    } rows[] = {
        {"the same", SCREEN_CLEANUP, SCREEN_NONE, false, Answer::Cancel, false, true, SCREEN_CLEANUP},
        {"busy", SCREEN_CLEANUP, SCREEN_NONE, true, Answer::Ok, false, false, SCREEN_CLEANUP},
        {"another", SCREEN_BURN, SCREEN_NONE, false, Answer::Ok, true, true, SCREEN_CLEANUP},
        {"declined", SCREEN_BURN, SCREEN_NONE, false, Answer::Cancel, true, false, SCREEN_BURN},
        {"album gone", SCREEN_BURN, SCREEN_CLEANUP, false, Answer::Ok, true, true, SCREEN_SPLIT},
        {"stand-in is shown", SCREEN_SPLIT, SCREEN_CLEANUP, false, Answer::Ok, false, true, SCREEN_SPLIT},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClearUndo();
        FakeScreens screens;
        OrvaneTest::FakeMessageHost messages({row.answer});
        Act(1);
        screens.current = row.now_on;
        screens.unusable = row.unusable;
        screens.busy = row.busy;
        EXPECT_EQ(Undo(), row.done);
        EXPECT_EQ(GetUndoState().undo_index, row.done ? 0 : 1);
        EXPECT_EQ(screens.current, row.ends_on);
        EXPECT_EQ(messages.asked.size(), row.asks ? 1u : 0u);
    }
}

// Against a list of all states and a place in it.
TEST_F(UndoTest, RandomActionsGoBackAndForth) {
    std::mt19937 random(3);
    std::vector<int> states = {0};
    size_t at = 0, oldest = 0;
    for (int i = 0; i < 20000; ++i) {
        switch (random() % 5) {
            case 0:
            case 1:
                states.resize(++at);
                states.push_back(i);
                if (at - oldest > kMostUndo) ++oldest;
                Act(i);
                break;
            case 2:
            case 3:
                EXPECT_EQ(Undo(), at > oldest);
                if (at > oldest) --at;
                break;
            default:
                EXPECT_EQ(Redo(), at + 1 < states.size());
                if (at + 1 < states.size()) ++at;
        }
        ASSERT_EQ(number, states[at]);
        ASSERT_EQ(SetNumber::n_alive, static_cast<int>(states.size() - 1 - oldest));
    }
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
        auto details = CopyDetails(album);
        details->artist = artist;
        details->title = title;
        return std::make_unique<UndoEditAlbumDetails>(album, std::move(details));
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
    album->record_eq = std::make_unique<RecordEq>();
    album->record_eq->name = "Early";
    album->notes = "good";
    AddUndo(Renaming(*album, "Zoe", "Blue")->Apply());
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
    AddUndo(Renaming(*album, "Zoe", "Blue")->Apply());
    ASSERT_TRUE(HasFiles("Zoe~Blue~side1.wav"));
    // Another file has taken one of the old names: what had moved by then moves back.
    folder.Write("Mine/orvfiles/Art~Blue~side1.wav.wfd", "of another");
    FakeMessageHost messages;
    EXPECT_FALSE(Undo());
    ASSERT_EQ(messages.asked.size(), 1u);
    EXPECT_NE(messages.Texts()[0].find("Cannot rename file"), std::string::npos);
    EXPECT_EQ(album->artist, "Zoe");
    EXPECT_TRUE(HasFiles("Zoe~Blue~side1.wav"));
    EXPECT_EQ(GetUndoState().undo_index, 1);

    album->running_jobs = 1;
    EXPECT_FALSE(Undo());
    EXPECT_EQ(messages.Texts()[1], "Album: Zoe - Blue is being worked on and cannot be changed at the moment.");
    album->running_jobs = 0;
}

TEST_F(UndoRecords, TheAlbumIsFoundByItsName) {
    AlbumInfo* album = Add("Art", "Blue");
    AlbumInfo* other = Add("Cue", "Red");
    set.current_album = album;
    AddUndo(std::make_unique<UndoUpdateTrackInfo>(*album, "Delete track", 1, 1));
    DeleteTrack(*album, 1, true);
    std::unique_ptr<AlbumInfo> removed = RemoveAlbum(album);
    FakeMessageHost messages({Answer::Ok, Answer::Cancel, Answer::Ok});
    EXPECT_FALSE(Undo());
    EXPECT_EQ(messages.Texts()[0], "Can't undo/redo - file or album: Art - Blue has been deleted");

    // It comes back as another object, as it does when the list is read again.
    auto again = MakeAlbum();
    again->TakeDetails(*removed);
    AlbumInfo* back = AddAlbum(std::move(again));
    set.current_album = other;
    EXPECT_FALSE(Undo());
    EXPECT_EQ(messages.Texts()[1],
              "This undo/redo operation will take you to a different album (Art - Blue). Proceed?");
    EXPECT_EQ(set.current_album, other);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(set.current_album, back);
    EXPECT_EQ(back->tracks.size(), 2);
}

TEST_F(UndoRecords, ARecordingGetsItsNameBack) {
    FileHistoryEntry* entry = Add("Art", "Blue")->sides[0]->newest;
    RecordingName wanted(*entry);
    wanted.suffix = "~take2";
    AddUndo(UndoRenameAlbumSide(*entry, wanted, "Rename side").Apply());
    EXPECT_TRUE(HasFiles("Art~Blue~side1~take2.wav"));
    EXPECT_TRUE(Undo());
    EXPECT_TRUE(HasFiles("Art~Blue~side1.wav"));
    folder.Write("Mine/Art~Blue~side1~take2.wav", "a new take");
    FakeMessageHost messages;
    EXPECT_FALSE(Redo());
    EXPECT_TRUE(HasFiles("Art~Blue~side1.wav"));
    EXPECT_EQ(entry->name_suffix, "");
}

}  // namespace
}  // namespace Orvane
