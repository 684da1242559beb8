#include "collection/albumset.h"

#include <gtest/gtest.h>

#include <memory>

#include "foundation/settings.h"

namespace Orvane {
namespace {

class AlbumSetTest : public ::testing::Test {
protected:
    AlbumSetTest() { gAlbumSet = &set; }
    ~AlbumSetTest() override {
        gAlbumSet = nullptr;
        SetSetting("Sort Album List By", 0);
    }

    AlbumInfo* Add(const char* artist, const char* title, int year, uint8_t status = 0, FileTime recorded = 0) {
        auto album = MakeAlbum();
        album->artist = artist;
        album->title = title;
        album->year = static_cast<int16_t>(year);
        album->status = status;
        AlbumSide* side = album->GetSide(0, true);
        side->AddRecording(MakeRef<FileHistoryEntry>(album.get(), side));
        side->newest->file_time = recorded;
        return AddAlbum(std::move(album));
    }

    std::string Titles() const {
        std::string titles;
        for (const AlbumInfo& album : set.albums) titles += album.title + " ";
        return titles;
    }

    AlbumSet set{"/music/Mine.mcf"};
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
    AlbumInfo* album = Add("A", "T", 0);
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
}

}  // namespace
}  // namespace Orvane
