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
    album.status = STATUS_CLEANED;
    EXPECT_EQ(AlbumListText(album, SORT_BY_ARTIST), "Artist - Title");
    EXPECT_EQ(AlbumListText(album, SORT_BY_STATUS, ListText::Full, true), "Cleaned => Artist - Title");
    album.year = 1968;
    album.release_number = "99";
    EXPECT_EQ(AlbumListText(album, SORT_BY_TITLE), "Title - Artist [r99] (1968)");
    EXPECT_EQ(AlbumListText(album, SORT_BY_ARTIST, ListText::Full, true), "Artist - Title [r99] (1968) => Cleaned");
    EXPECT_EQ(AlbumListText(album, SORT_BY_ARTIST, ListText::Bare), "Artist - Title (1968) \t[r99]");
    SetSetting("Show Discogs Release Number", 0);
    EXPECT_EQ(AlbumListText(album, SORT_BY_ARTIST), "Artist - Title (1968)");
    DeleteSetting("Show Discogs Release Number");
    album.status = STATUS_NONE;
    album.release_number.clear();
    EXPECT_EQ(AlbumListText(album, SORT_BY_ARTIST, ListText::Full, true), "Artist - Title (1968)");

    EXPECT_EQ(StatusText(STATUS_NONE), "(No status)");
    EXPECT_EQ(StatusText(STATUS_BURNED_AND_SAVED), "Burned and Saved");
    EXPECT_EQ(StatusText(8), "");
    EXPECT_EQ(StatusText(STATUS_CUSTOM_5), "Custom 5");
    SetStringSetting("Custom Status 5", "Lent to Jo");
    EXPECT_EQ(StatusText(STATUS_CUSTOM_5), "Lent to Jo");
}

TEST_F(AlbumSetTest, EveryChangeIsBracketedByItsEvents) {
    AlbumInfo* album = Add("A", "T", 0);
    EXPECT_EQ(Events(), "<512 <1 >1 <32 >32 >512 ");
    EXPECT_TRUE(set.dirty);
    EXPECT_EQ(set.current_album, album);
    ClearDirty();

    EXPECT_FALSE(SetStatus(*album, album->status, true));
    EXPECT_EQ(Events(), "");
    EXPECT_FALSE(set.dirty);
    EXPECT_TRUE(SetStatus(*album, STATUS_SPLIT, true));
    EXPECT_EQ(Events(), "<512 <16 >16 >512 ");
    EXPECT_TRUE(set.dirty);
    SetSetting("Sort Album List By", SORT_BY_STATUS);
    SetStatus(*album, STATUS_CLEANED, true);
    EXPECT_EQ(Events(), "<512 <16 >16 <32 >32 >512 ");

    AddTrack(*album, {}, 10);
    EXPECT_EQ(Events(), "<4096 >4096 ");
    DeleteTrack(*album, 0, true);
    EXPECT_EQ(Events(), "<8192 >8192 ");

    AddAlbum(MakeAlbum(), CHANGE_DETAILS, Batch::PartOfMany);
    EXPECT_EQ(Events(), "<9 >9 ");
    const auto removed = RemoveAlbum(album);
    EXPECT_EQ(Events(), "closing <2 >2 ");
    EXPECT_EQ(removed->set, &set);
    EXPECT_EQ(set.current_album, set.albums.First());

    ClearDirty();
    removed->flags |= ALBUM_WORKING_COPY;
    AddTrack(*removed, {}, 10);
    SetStatus(*removed, STATUS_NEW, true);
    EXPECT_EQ(Events(), "");
    EXPECT_FALSE(set.dirty);
}

TEST_F(AlbumSetTest, TracksCloseAndOpenTheirGaps) {
    AlbumInfo album;
    for (int64_t length : {100, 50, 0, 70}) AddTrack(album, {}, length);
    const simple_vector<ALBUMTRACK> before = album.tracks;
    const auto times = [&album] {
        std::vector<int64_t> result;
        for (const ALBUMTRACK& track : album.tracks) result.insert(result.end(), {track.start, track.end});
        return result;
    };
    EXPECT_EQ(times(), (std::vector<int64_t>{0, 100, 100, 150, 150, 150, 150, 220}));
    const ALBUMTRACK deleted = DeleteTrack(album, 1, true);
    EXPECT_EQ(times(), (std::vector<int64_t>{0, 100, 100, 100, 100, 170}));
    InsertTrack(album, 1, deleted, true);
    EXPECT_EQ(album.tracks, before);
    DeleteTrack(album, 2, true);  // has no length
    DeleteTrack(album, 1, false);
    EXPECT_EQ(times(), (std::vector<int64_t>{0, 100, 150, 220}));
}

TEST_F(AlbumSetTest, SinglesGetATrackForEachName) {
    struct {
        const char* title;
        uint8_t flags;
        const char* there;
        std::vector<std::string> tracks;
    } const rows[] = {
        {"Help! | I'm Down", ALBUM_SINGLE, "", {"Help!", "I'm Down"}},
        {"Help!/I'm Down", ALBUM_SINGLE, "", {"Help!", "I'm Down"}},
        {"AC/DC | Live", ALBUM_SINGLE, "", {"AC/DC", "Live"}},
        {"One || one|", ALBUM_SINGLE, "", {"One"}},
        {"Help! | I'm Down", ALBUM_SINGLE, "i'm down", {"i'm down", "Help!"}},
        {"Help!", ALBUM_SINGLE, "", {}},
        {"Help! | I'm Down", 0, "", {}},
    };
    for (const auto& row : rows) {
        AlbumInfo album;
        album.title = row.title;
        album.flags = row.flags;
        if (*row.there) {
            ALBUMTRACK track;
            track.title = row.there;
            AddTrack(album, track);
        }
        CreateSingleTracks(album);
        std::vector<std::string> titles;
        for (const ALBUMTRACK& track : album.tracks) titles.push_back(track.title);
        EXPECT_EQ(titles, row.tracks) << row.title;
    }
}

TEST_F(AlbumSetTest, SidesFillTheGapBeforeThem) {
    AlbumInfo album;
    EXPECT_EQ(album.GetSide(2, false), nullptr);
    AlbumSide* third = album.GetSide(2, true);
    EXPECT_EQ(album.sides.size(), 3);
    EXPECT_EQ(album.sides[1], nullptr);
    EXPECT_EQ(album.GetSide(2, false), third);
    AlbumSide* placed = new AlbumSide;
    EXPECT_EQ(album.GetSide(1, true, std::unique_ptr<AlbumSide>(placed)), placed);
    const AlbumSide* further = album.GetSide(-1, true);
    EXPECT_EQ(album.sides.back(), further);
    EXPECT_EQ(album.sides.size(), 4);
    EXPECT_TRUE(album.GetSide(29, true));
    EXPECT_EQ(album.GetSide(30, true), nullptr);
    EXPECT_EQ(album.GetSide(-1, true), nullptr);
}

}  // namespace
}  // namespace Orvane
