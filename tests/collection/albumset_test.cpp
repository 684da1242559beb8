// Albums as a set: their order, what has them saved, and their deletion.
#include <gtest/gtest.h>

#include <memory>

#include "collection/deletealbums.h"
#include "fake_hosts.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "live_collection.h"

using namespace Foundation;

namespace Orvane {
namespace {

using OrvaneTest::FakeProgressHost;

intptr_t CountEvent(void* count, int, EventArg, EventArg, EventArg) {
    return ++*static_cast<int*>(count);
}

class AlbumSetTest : public ::testing::Test, protected OrvaneTest::LiveCollection {
protected:
    ~AlbumSetTest() override { SetSetting("Sort Album List By", 0); }

    void Add(const char* artist, const char* title, int year, uint8_t status = 0, FileTime recorded = 0) {
        AlbumInfo* album = LiveCollection::Add(artist, title);
        album->year = static_cast<int16_t>(year);
        album->status = status;
        AddRecording(*album, 0, "").facts.file_time = recorded;
        SortAlbums(false);
    }

    std::string Titles() const {
        std::string titles;
        for (const AlbumInfo& album : set.albums) titles += album.title + " ";
        return titles;
    }
};

TEST_F(AlbumSetTest, SortsByEachOrder) {
    Add("beatles, The", "b", 1970, STATUS_SAVED, 10);
    Add("Beatles, The", "A", 1969, STATUS_NEW, 30);
    Add("ABBA", "c", 1976, STATUS_SPLIT, 20);
    Add("Ärzte", "C", 1975, STATUS_NEW, 40);
    EXPECT_EQ(Titles(), "c A b C ");
    SetSortOrder(SORT_BY_TITLE);
    EXPECT_EQ(Titles(), "A b c C ");
    SetSortOrder(SORT_BY_STATUS);  // "Newly Added" < "Split into Tracks" < "Tracks Saved"
    EXPECT_EQ(Titles(), "A C c b ");
    SetSortOrder(SORT_BY_DATE_RECORDED);
    EXPECT_EQ(Titles(), "C A c b ");
    EXPECT_EQ(GetSortOrder(), SORT_BY_DATE_RECORDED);

    SetSortOrder(SORT_BY_ARTIST);
    Add("abba", "C", 1974);
    EXPECT_EQ(Titles(), "C c A b C ");  // the year decides
}

TEST_F(AlbumSetTest, WhatChangesACollectionHasItSaved) {
    AlbumInfo* album = LiveCollection::Add("A", "T");
    const auto changes = [this](const auto& change) {
        ClearDirty();
        change();
        return set.dirty;
    };
    EXPECT_FALSE(changes([&] { SetStatus(*album, album->status, true); }));
    EXPECT_TRUE(changes([&] { SetStatus(*album, STATUS_CLEANED, true); }));
    EXPECT_TRUE(changes([&] { AddTrack(*album, {}, 10); }));
    EXPECT_TRUE(changes([&] { DeleteTrack(*album, 0, true); }));
    EXPECT_TRUE(changes([] { AddAlbum(MakeAlbum()); }));
    std::unique_ptr<AlbumInfo> removed;
    EXPECT_TRUE(changes([&] { removed = RemoveAlbum(album); }));
    EXPECT_EQ(set.current_album, set.albums.First());
    removed->flags |= ALBUM_WORKING_COPY;
    EXPECT_FALSE(changes([&] { AddTrack(*removed, {}, 10); }));
    AlbumDetails details;
    details.artist = "Z";
    int n_events = 0;
    event::Subscribe(EVENT_AFTER_CHANGE, 0, CountEvent, &n_events);
    EXPECT_FALSE(changes([&] { EXPECT_TRUE(ChangeDetails(*removed, details)); }));
    event::Unsubscribe(EVENT_AFTER_CHANGE, CountEvent, &n_events);
    EXPECT_EQ(removed->artist, "Z");
    EXPECT_EQ(n_events, 0);
}

TEST_F(AlbumSetTest, ASinglesTitleNamesItsTracks) {
    // A title, and the tracks that come from it behind a first one.
    const std::pair<const char*, const char*> rows[] = {
        {"Sun| Moon / Stars |", "moon,Sun,Moon / Stars,"}, {"Sun / Moon/Sun", "moon,Sun,"}, {"Sun", "moon,"}};
    for (const auto& [title, wanted] : rows) {
        ClearUndo();
        AlbumInfo* album = LiveCollection::Add("A", title);
        ALBUMTRACK moon;
        moon.title = "moon";
        AddTrack(*album, moon);
        EXPECT_EQ(CreateSingleTracks(*album), 0) << "of an album that is none";
        album->single = true;
        const int n_added = CreateSingleTracks(*album);
        std::string tracks;
        for (const ALBUMTRACK& track : album->tracks) tracks += track.title + ",";
        EXPECT_EQ(tracks, wanted);
        EXPECT_EQ(Undo().Ok(), n_added > 0);
        EXPECT_EQ(album->tracks.size(), 1) << title;
    }
}

// Three albums. The first has two takes on side 2, a file of the user's on side 3 and a cover; the second shares cover
// and outside file with it.
class DeleteAlbumsTest : public ::testing::Test, protected OrvaneTest::LiveCollection {
protected:
    DeleteAlbumsTest() {
        folder.Write("orvfiles/a.jpg", "cover");
        Add("C", "C");
        folder.Write(AddRecording(*first, 1, "x").CorrectionsPath(), "x");
        AddRecording(*first, 1, "x", " (2)");
        for (AlbumInfo* album : {first, second}) {
            FileHistoryEntry& entry = AddRecording(*album, 2, "x");
            entry.name.external_file = folder.Write("outside.wav", "side");
            album->art_file = "a.jpg";
        }
    }

    DeleteAlbumsResult Delete(const std::vector<AlbumInfo*>& albums, int options) {
        Progress::Begin("Deleting");
        DeleteAlbumsResult result = DeleteAlbums(albums, options);
        Progress::End();
        return result;
    }

    FakeProgressHost progress;
    AlbumInfo* first = Add("A", "A");
    AlbumInfo* second = Add("B", "B");
};

TEST_F(DeleteAlbumsTest, RecordingsGoToTheTrashAndWhatOthersNeedStays) {
    int n_closed = 0;
    event::Subscribe(EVENT_ALBUM_CLOSING, event::Arg(first), CountEvent, &n_closed);
    const DeleteAlbumsResult of_first = Delete({first}, DELETE_RECORDINGS | DELETE_ALBUM_ART);
    event::Unsubscribe(EVENT_ALBUM_CLOSING, CountEvent, &n_closed);
    EXPECT_EQ(n_closed, 1) << "whoever waits for its recordings is told";
    EXPECT_EQ(of_first.n_deleted, 4) << "three recordings and the cover";
    EXPECT_EQ(of_first.trashed,
              (std::vector<std::string>{folder / "Mine/A~A~side2 (2).wav", folder / "Mine/A~A~side2.wav"}));
    EXPECT_EQ(of_first.kept, (std::vector<std::string>{folder / "orvfiles/a.jpg", folder / "outside.wav"}));
    EXPECT_TRUE(first->sides.size() == 0 && first->art_file.empty());
    EXPECT_FALSE(FileExists(folder / "Mine/A~A~side2.wav.crd"));
    EXPECT_TRUE(progress.log.ends_with("A - A - <fg color=#00a000>done</fg>\nDone\n")) << progress.log;

    // Now nobody else has the cover; the file outside is the user's all the same.
    const DeleteAlbumsResult of_second = Delete({second}, DeleteOptionsFromStore());
    EXPECT_EQ(of_second.trashed, std::vector<std::string>{folder / "orvfiles/a.jpg"});
    EXPECT_EQ(of_second.kept, std::vector<std::string>{folder / "outside.wav"});
    EXPECT_EQ(gAlbumSet->albums.size(), 2);
}

TEST_F(DeleteAlbumsTest, AnAlbumInUseStaysAndTheOthersGo) {
    first->running_jobs = 1;
    EXPECT_EQ(Delete({first, second}, DELETE_ALBUMS).n_deleted, 1);
    EXPECT_NE(progress.log.find("A - A - <fg color=#ff0000>Album:"), std::string::npos) << progress.log;
    EXPECT_EQ(gAlbumSet->albums.First(), first);
    EXPECT_EQ(gAlbumSet->albums.size(), 2);
    first->running_jobs = 0;

    Progress::Begin("Deleting");
    Progress::Cancel();
    const DeleteAlbumsResult cancelled = DeleteAlbums({first}, DELETE_ALBUMS);
    Progress::End();
    EXPECT_TRUE(cancelled.cancelled);
    EXPECT_EQ(gAlbumSet->albums.size(), 2);
    EXPECT_TRUE(progress.log.ends_with("Cancelled\nDone\n")) << progress.log;
}

}  // namespace
}  // namespace Orvane
