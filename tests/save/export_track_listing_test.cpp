#include "save/export_track_listing.h"

#include <gtest/gtest.h>

#include "foundation/settings.h"
#include "save/export_csv.h"
#include "temp_folder.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Two tracks with everything in their names that a format could trip over, and one that has no times yet.
class Listings : public testing::Test {
protected:
    Listings() {
        EXPECT_TRUE(OpenSettings(folder / "config"));
        album.artist = "A & B";
        album.title = "\"First\"";
        album.tracks.resize(3);
        album.tracks[0].title = "AC/DC: <Live>?";
        album.tracks[0].start = 44100;
        album.tracks[0].end = 44100 * 3 + 22049;
        album.tracks[1].title = "Two\nLines; \"q\"";
        album.tracks[1].artist = "Guest, The";
        album.tracks[1].alias = "G.";
        album.tracks[1].start = 44100 * 4;
        album.tracks[1].end = 44100 * 70;
        album.tracks[1].fade_out = 22050;
        album.tracks[1].filter_flags = TRACK_FADE_OUT;
        album.tracks[2].title = "Unset";
        album.tracks[2].start = album.tracks[2].end = 44100 * 70;
    }

    std::string Text(ListingFormat format) { return ListingText({&album}, format); }

    OrvaneTest::TempFolder folder;
    AlbumInfo album;
};

TEST_F(Listings, EveryFormatHasItsForm) {
    const std::pair<ListingFormat, const char*> cases[] = {
        {ListingFormat::M3U8,
         "#EXTM3U\n#EXTINF:2,A & B - AC/DC: <Live>?\nC:\\A & B - First\\AC+DC- Live\n"
         "#EXTINF:67,Guest, The - Two Lines; \"q\"\n"
         "C:\\A & B - First\\Guest, The - Two Lines; q (G.)\n"
         "#EXTINF:0,A & B - Unset\nC:\\A & B - First\\Unset\n"},
        {ListingFormat::WPL,
         "<?wpl version=\"1.0\" encoding=\"utf-8\"?>\n<smil>\n    <head>\n"
         "        <meta name=\"Generator\" content=\"Orvane\" />\n"
         "        <title>A &amp; B - &quot;First&quot;</title>\n    </head>\n    <body>\n        <seq>\n"
         "            <media src=\"C:\\A &amp; B - First\\AC+DC- Live\"/>\n"
         "            <media src=\"C:\\A &amp; B - First\\Guest, The - Two Lines; q (G.)\"/>\n"
         "            <media src=\"C:\\A &amp; B - First\\Unset\"/>\n"
         "        </seq>\n    </body>\n</smil>\n"},
        {ListingFormat::CDC,
         "[CDINFO]\nArtist=A & B\nTitle=\"First\"\nPlaytime=1:09\nTracks=3\nType=Audio-CD\n"
         "[Track1]\nArtist=A & B\nTitle=AC/DC: <Live>?\nPlaytime=0:02\nType=Audio\n"
         "[Track2]\nArtist=Guest, The\nTitle=Two Lines; \"q\"\nPlaytime=1:07\nType=Audio\n"
         "[Track3]\nArtist=A & B\nTitle=Unset\nPlaytime=0:00\nType=Audio\n"
         "[Parameters]\nAutoDelete=1\nLanguage=English\n"},
        {ListingFormat::TXT,
         "A & B - \"First\"\n------------------------------\n"
         "1. AC/DC: <Live>?\n2. Two Lines; \"q\"\n3. Unset\n"},
        {ListingFormat::CSV,
         "Album Artist,Album Side,Album Title,Artist Alias,Comment,Composer,Conductor,Date Recorded,"
         "File Type,Genre,Grouping,Label,Performing Artist,Time Recorded,Track Artist,Track Number,"
         "Track Title\n"
         "A & B,01,\"\"\"First\"\"\",,,,,,FLAC,(no genre),,,A & B,,,01,AC/DC: <Live>?\n"
         "A & B,01,\"\"\"First\"\"\",G.,,,,,FLAC,(no genre),,,\"Guest, The\",,\"Guest, The\",02,"
         "\"Two\nLines; \"\"q\"\"\"\n"
         "A & B,01,\"\"\"First\"\"\",,,,,,FLAC,(no genre),,,A & B,,,03,Unset\n"},
    };
    SetSetting("Save Track As File Format", FF_FLAC);
    for (const auto& [format, text] : cases) EXPECT_EQ(Text(format), text);
}

TEST_F(Listings, SettingsChooseWhatTextAndColumnsHold) {
    SetSetting("Export Track Numbers", 0);
    SetSetting("Export Track Times", 1);
    EXPECT_EQ(Text(ListingFormat::TXT),
              "A & B - \"First\"\n------------------------------\n"
              "AC/DC: <Live>? (0:02)\nTwo Lines; \"q\" (1:07)\nUnset (0:00)\n");
    SetSetting("Importable", 1);
    EXPECT_EQ(Text(ListingFormat::TXT),
              "# A & B - \"First\"\n0:01.00000 - 0:03.49998 AC/DC: <Live>?\n"
              "0:04.00000 - 1:10.00000 Two Lines; \"q\"\n# Unset\n");

    SetStringSetting("Export CSV Fields", "[Track Title]\t[Track Number]\t[Colour]\t");
    SetStringSetting("Export CSV Fields Order", "[Genre]\t[Track Number]\t");
    SetStringSetting("Export CSV Separator", ";");
    SetSetting("Export Include Headers", 0);
    EXPECT_EQ(Text(ListingFormat::CSV), "01;AC/DC: <Live>?\n02;\"Two\nLines; \"\"q\"\"\"\n03;Unset\n");
    SetStringSetting("Export CSV Separator", "\\t");
    SetStringSetting("Export CSV Fields", "[Artist Alias]\t");
    EXPECT_EQ(Text(ListingFormat::CSV), "\"\"\nG.\n\"\"\n");
}

TEST_F(Listings, FilesGetTheirExtensionAndTheUsersChoiceIsKept) {
    const auto written = ExportListing({&album}, ListingFormat::M3U8, folder / "new/list");
    ASSERT_TRUE(written);
    EXPECT_EQ(written->path, folder / "new/list.m3u8");
    EXPECT_TRUE(OrvaneTest::ReadBytes(written->path).starts_with("#EXTM3U\r\n#EXTINF:2,"));
    RememberListing(ListingFormat::M3U8, written->path);
    const ListingDialog dialog = ListingDialogFor(album);
    EXPECT_EQ(dialog.format, ListingFormat::M3U8);
    EXPECT_EQ(dialog.folder + "|" + dialog.filename, folder / "new" + "|list.m3u8");

    folder.Write("blocked", "");
    EXPECT_FALSE(ExportListings({&album}, ListingFormat::WPL, folder / "blocked").at(0).outcome);
    EXPECT_EQ(ExportListings({&album}, ListingFormat::WPL, folder / "all")[0].path, folder / "all/A & B - First.wpl");
}

}  // namespace
}  // namespace Orvane
