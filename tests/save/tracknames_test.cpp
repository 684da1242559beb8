#include "save/tracknames.h"

#include <gtest/gtest.h>

#include "foundation/settings.h"
#include "temp_folder.h"
#include "tesslib/fileformats.h"

namespace Orvane {
namespace {

class TrackNames : public testing::Test {
protected:
    TrackNames() {
        album.artist = "The Examples";
        album.title = "First";
        album.year = 1977;
        album.tracks.resize(3);
        album.tracks[0].title = "One";
        album.tracks[0].artist = "Guest";
        album.tracks[1].title = "AC/DC: Live?";
        album.tracks[2].title = std::string(300, 'x');
    }
    std::string Expand(std::string_view text, int track = 0, NamePart part = NamePart::WholePath) {
        return ExpandTemplate(text, album, track, part, FF_FLAC);
    }
    AlbumInfo album;
};

TEST_F(TrackNames, ExpandTemplatesByTheRules) {
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
        {"[No Such Thing] [Track Title]", 0, whole, "[No Such Thing] One"},
        {R"([Album Artist] \ [Album Title] \ [Track Number])", 0, NamePart::FileName, "01"},
        {R"([Album Artist] \ [Album Title] \ [Track Number])", 0, NamePart::Folder, "The Examples/First"},
        {R"([Album Artist] \ [Album Title] \ [Track Number])", 0, album_folder, "The Examples/First"},
        {R"([Album Artist] \ Disc [Track Number])", 0, album_folder, "The Examples"},
        {"x\x01y\tz [Track Title]", 0, whole, "x y z One"},
        {"[Album Side]-[Track Number]", 2, whole, "01-03"},
    };
    for (const Case& c : cases) EXPECT_EQ(Expand(c.text, c.track, c.part), c.expected) << c.text;
    // Long values are cut, and the numbers of long listings widened.
    EXPECT_EQ(Expand("[Track Title]", 2), std::string(79, 'x') + "\u2026");
    album.tracks[2].title = std::string(80, 'x');
    EXPECT_EQ(Expand("[Track Title]", 2), std::string(80, 'x'));
    album.tracks.resize(100);
    EXPECT_EQ(Expand("[Track Number]", 0), "001");
}

TEST_F(TrackNames, UnknownKeywordsAndFoldersThatCannotBeAreTold) {
    size_t unknown = 0;
    ExpandTemplate("[Track Title] [Nonsense]", album, 0, NamePart::WholePath, FF_FLAC, true, &unknown);
    EXPECT_EQ(unknown, 14u);
    for (auto [text, problem] : {std::pair{"[Track Title] \\ [Track Number]", "Please remove the backslash"},
                                 {"[Track Artist]\\[Track Title]", "You can use <b>[Album Artist]</b>"},
                                 {"[Nonsense]", "Keyword <b>[Nonsense]</b>"}}) {
        EXPECT_NE(TemplateProblem(text).find(problem), std::string::npos) << text;
    }
    for (const auto& list : {AlbumTemplates(), SinglesTemplates()}) {
        for (const TrackNameTemplate& t : list) EXPECT_FALSE(Expand(t.text).empty()) << t.text;
    }
}

}  // namespace
}  // namespace Orvane
