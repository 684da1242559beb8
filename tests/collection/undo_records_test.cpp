#include "collection/undo_records.h"

#include <gtest/gtest.h>

#include "collection/albumset.h"
#include "fake_hosts.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

using OrvaneTest::FakeMessageHost;

class UndoRecords : public ::testing::Test {
protected:
    UndoRecords() {
        gAlbumSet = &set;
        ClearUndo();
    }
    ~UndoRecords() override {
        ClearUndo();
        gAlbumSet = nullptr;
    }

    // An album of two tracks with a recording, whose files are there.
    AlbumInfo* Add(const char* artist, const char* title) {
        auto album = MakeAlbum();
        album->artist = artist;
        album->title = title;
        for (const char* name : {"One", "Two"}) {
            ALBUMTRACK track;
            track.title = name;
            AddTrack(*album, track, 1000);
        }
        AlbumSide* side = album->GetSide(0, true);
        side->AddRecording(MakeRef<FileHistoryEntry>(album.get(), side));
        side->newest->extension = ".wav";
        AlbumInfo* added = AddAlbum(std::move(album));
        const std::string name = std::string("Mine/") + artist + "~" + title + "~side1.wav";
        folder.Write(name, "audio");
        folder.Write(name + ".crd", "repairs");
        folder.Write(std::string("Mine/orvfiles/") + artist + "~" + title + "~side1.wav.wfd", "waveform");
        return added;
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

    OrvaneTest::TempFolder folder;
    AlbumSet set{folder / "Mine.mcf"};
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
