#include "collection/albumset.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "foundation/settings.h"

namespace Orvane {
namespace {

class AlbumSetTest : public ::testing::Test {
protected:
    AlbumSetTest() {
        gAlbumSet = &set;
        for (int id : {EVENT_BEFORE_CHANGE, EVENT_AFTER_CHANGE, EVENT_ALBUM_CLOSING}) {
            event::Subscribe(id, 0, &AlbumSetTest::Handle, this);
        }
    }
    ~AlbumSetTest() override {
        for (int id : {EVENT_BEFORE_CHANGE, EVENT_AFTER_CHANGE, EVENT_ALBUM_CLOSING}) {
            event::Unsubscribe(id, &AlbumSetTest::Handle, this);
        }
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

    // "<flags before >flags after", in order; and forgets them.
    std::string Events() { return std::exchange(events, ""); }

    AlbumSet set{"/music/Mine.mcf"};

private:
    static intptr_t Handle(void* context, int id, EventArg a, EventArg, EventArg) {
        std::string& events = static_cast<AlbumSetTest*>(context)->events;
        if (id == EVENT_ALBUM_CLOSING) {
            events += "closing ";
        } else {
            events += (id == EVENT_BEFORE_CHANGE ? "<" : ">") + std::to_string(a) + " ";
        }
        return 0;
    }
    std::string events;
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

TEST_F(AlbumSetTest, ListTexts) {
    AlbumInfo album;
    album.artist = "Artist";
    album.title = "Title";
    album.status = STATUS_CUSTOM_5;
    album.year = 1968;
    album.release_number = "99";
    EXPECT_EQ(AlbumListText(album, SORT_BY_STATUS, ListText::Full, true), "Custom 5 => Artist - Title [r99] (1968)");
    SetStringSetting("Custom Status 5", "Lent to Jo");
    EXPECT_EQ(AlbumListText(album, SORT_BY_TITLE, ListText::Full, true), "Title - Artist [r99] (1968) => Lent to Jo");
    EXPECT_EQ(AlbumListText(album, SORT_BY_ARTIST, ListText::Bare), "Artist - Title (1968) \t[r99]");
    SetSetting("Show Discogs Release Number", 0);
    album.status = STATUS_NONE;
    EXPECT_EQ(AlbumListText(album, SORT_BY_ARTIST, ListText::Full, true), "Artist - Title (1968)");
    DeleteSetting("Show Discogs Release Number");
}

TEST_F(AlbumSetTest, EveryChangeIsBracketedByItsEvents) {
    AlbumInfo* album = Add("A", "T", 0);
    EXPECT_EQ(Events(), "<512 <1 >1 <32 >32 >512 ");
    EXPECT_EQ(set.current_album, album);
    ClearDirty();
    EXPECT_FALSE(SetStatus(*album, album->status, true));
    EXPECT_EQ(Events(), "");
    EXPECT_FALSE(set.dirty);
    SetSetting("Sort Album List By", SORT_BY_STATUS);
    EXPECT_TRUE(SetStatus(*album, STATUS_CLEANED, true));
    EXPECT_EQ(Events(), "<512 <16 >16 <32 >32 >512 ");
    EXPECT_TRUE(set.dirty);
    AddTrack(*album, {}, 10);
    DeleteTrack(*album, 0, true);
    EXPECT_EQ(Events(), "<4096 >4096 <8192 >8192 ");

    AddAlbum(MakeAlbum(), CHANGE_DETAILS, Batch::PartOfMany);
    const auto removed = RemoveAlbum(album);
    EXPECT_EQ(Events(), "<9 >9 closing <2 >2 ");
    EXPECT_EQ(set.current_album, set.albums.First());
    ClearDirty();
    removed->flags |= ALBUM_WORKING_COPY;
    AddTrack(*removed, {}, 10);
    SetStatus(*removed, STATUS_NEW, true);
    EXPECT_EQ(Events(), "");
    EXPECT_FALSE(set.dirty);
}

}  // namespace
}  // namespace Orvane
