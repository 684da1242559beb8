#include "save/tracknames.h"

#include <gtest/gtest.h>

#include "foundation/settings.h"
#include "temp_folder.h"
#include "tesslib/fileformats.h"

namespace Orvane {
namespace {

TEST(TrackNames, ExpandTemplatesByTheRules) {
    AlbumInfo album;
    album.artist = "The Examples";
    album.title = "First";
    album.year = 1977;
    album.tracks.resize(3);
    album.tracks[0].title = "One";
    album.tracks[0].artist = "Guest";
    album.tracks[1].title = "AC/DC: Live?";
    album.tracks[2].title = std::string(300, 'x');
    const auto Expand = [&](std::string_view text, int track, NamePart part = NamePart::WholePath) {
        return ExpandTemplate(text, album, track, part, FF_FLAC);
    };
    struct Case {
        const char* text;
        int track;
        NamePart part;
        const char* expected;
    };
    const NamePart whole = NamePart::WholePath, album_folder = NamePart::AlbumFolder;
    const Case cases[] = {
        {R"([Album Artist] - [Album Title] \ [Track Number] - [Track Artist] - [Track Title])", 0, whole,
         "The Examples - First/01 - Guest - One"},
        {"[Track Number] - [Track Artist] - [Track Title]", 1, whole,
         "02 - AC+DC- Live"},  // no artist: no separators for it
        {"[Year] [Genre] [Label]", 0, whole, "1977 (no genre)"},
        {R"(\\ [Album Title].. \ .[Track Title]. )", 0, whole, "First/.One."},  // a folder ends in no point
        {"a:b*c?<d>|\"e\" [Track Title]", 0, whole, "abcde One"},
        {R"([Album Artist] \ [Album Title] \ [Track Number])", 0, NamePart::FileName, "01"},
        {R"([Album Artist] \ [Album Title] \ [Track Number])", 0, album_folder, "The Examples/First"},
        {R"([Album Artist] \ Disc [Track Number])", 0, album_folder, "The Examples"},
        {"x\x01y\tz [Track Title]", 0, whole, "x y z One"},
    };
    for (const Case& c : cases) EXPECT_EQ(Expand(c.text, c.track, c.part), c.expected) << c.text;
    // Long values are cut, and the numbers of long listings widened.
    EXPECT_EQ(Expand("[Track Title]", 2), std::string(79, 'x') + "\u2026");
    album.tracks.resize(100);
    EXPECT_EQ(Expand("[Track Number]", 0), "001");
}

}  // namespace
}  // namespace Orvane
