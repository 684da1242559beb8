// Collection files as texts, those printed in the descriptions of our formats among them.
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "collection/crd_file.h"
#include "collection/steering_reader.h"
#include "collection/steering_records.h"
#include "collections.h"
#include "foundation/text.h"
#include "temp_folder.h"

using namespace Foundation;

namespace Orvane {
namespace {

using OrvaneTest::ReadLines;
using OrvaneTest::ReadWhole;
using OrvaneTest::WriteWhole;

const std::string kAlbum = "\"-1\"\t\"A\"\t\"T\"\t\"0\"\n";
const std::string kSide = kAlbum + ">Ext\tAlbumSide\t\"0\"\t\"0\"\n";

std::string Recording(int samplerate) {
    return ">Ext\tFileHistory\t\"wav\"" + Replace(std::string(16, '*'), "*", "\t\"\"") + "\t\"" +
           std::to_string(samplerate) + "\"\n";
}

std::multiset<std::string> SortedLines(const std::string& text) {
    std::istringstream stream(text);
    std::multiset<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.insert(line);
    return lines;
}

TEST(ReadCollection, WhatWasWrittenIsReadAndWrittenAgainTheSame) {
    for (unsigned seed = 1; seed < 6; ++seed) {
        AlbumSet made("/music/Mine.mcf");
        OrvaneTest::CollectionMaker(seed).AddAlbums(made, 40, static_cast<int>(seed) * 4);
        made.max_album_sides = seed == 3 ? 12 : 0;
        const std::string written = WriteWhole(made);
        const auto first = ReadWhole(written);
        ASSERT_EQ(first.result, ReadResult::Good);
        EXPECT_FALSE(first.set->dirty);
        EXPECT_EQ(SortedLines(WriteWhole(*first.set)), SortedLines(written));  // the reader sorts the albums
        for (AlbumInfo& album : made.albums) {
            bool found = false;
            for (AlbumInfo& other : first.set->albums) {
                found = found || (other.title == album.title && other.tracks == album.tracks &&
                                  other.notes == album.notes && other.custom_tags == album.custom_tags);
            }
            EXPECT_TRUE(found) << album.title;
        }
    }
}

// What is told is that of the last track of the last album.
TEST(ReadCollection, TrackRows) {
    struct {
        const char* what;
        std::string lines;  // behind the header line
        int n_albums, n_tracks;
        int64_t start, end;
        int flags;
    } const rows[] = {
        {"unquoted; no end: behind the one before",
         "1\tA\tT\t0\tOne\t0:02.00000\n2\tA\tT\t0\tTwo\t0:03.00000\t0:09.00000\n", 1, 2, 88200, 220500, 0},
        {"a row 0 begins an album, its rows go on", "\"0\"\tA\tT\n\"1\"\tA\tT\n\"2\"\tA\tT\n", 1, 2, 0, 0, 0},
        {"a row -1 stands alone", kAlbum + "\"1\"\tA\tT\n", 2, 1, 0, 0, 0},
        {"damage", kAlbum + "garbage\n\n\t\n\"\"\n\"garbage\t\xFF\n\">Foo\"\t\"1\"\n>Ext\tFoo\n>Ext\n", 1, 0, 0, 0, 0},
        {"fades move the ends inwards; after an empty track there is no fade-in",
         "1\tA\tT\t0\tOne\t-\t0:01.00000\t0:01.00000\n"
         "2\tA\tT\t0\tTwo\t-\t0:01.00000\t0:09.00000\t-\t-\t-\t3\t0:02.00000\t0:03.00000\n",
         1, 2, 44100, 264600, 3},
        {"an empty track has no fade-out",
         "1\tA\tT\t0\tOne\t-\t0:01.00000\t0:03.00000\t-\t-\t-\t3\t0:02.00000\t0:03.00000\n", 1, 1, 132300, 132300, 1},
        {"fades take 20 seconds at most",
         "1\tA\tT\t0\tOne\t-\t0:00.00000\t9:00.00000\t-\t-\t-\t3\t999:00:00.00000\t0:21.00000\n", 1, 1, 882000,
         22932000, 3},
        {"fades lie inside the row", "1\tA\tT\t0\tOne\t-\t0:00.00000\t0:03.00000\t-\t-\t-\t3\t0:01.00000\t0:04.00000\n",
         1, 1, 44100, 44100, 3},
        {"no fade is negative", "1\tA\tT\t0\tOne\t-\t0:00.00000\t0:03.00000\t-\t-\t-\t3\t-0:01.00000\t-0:01.00000\n", 1,
         1, 0, 132300, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const auto read = ReadLines(row.lines);
        ASSERT_EQ(read.set->albums.size(), row.n_albums);
        const AlbumInfo& album = *read.set->albums.Last();
        ASSERT_EQ(album.tracks.size(), row.n_tracks);
        if (row.n_tracks == 0) continue;
        EXPECT_EQ(album.tracks.back().start, row.start);
        EXPECT_EQ(album.tracks.back().end, row.end);
        EXPECT_EQ(album.tracks.back().filter_flags, row.flags);
    }
}

TEST(ReadCollection, OldFilesAreBroughtUpToDate) {
    const std::string details =
        ">Ext\tMarkers\t\"44100\"\n>Ext\tSideBreaks\t\"44100\"\n"
        ">Ext\tCutAndSplice\t\"441000\"\t\"882000\"\t\"882\"\n"
        ">Ext\tFilterSettings\t\"44100\"\t\"88200\"\n>Ext\tFFTEq\tname\t\"44100\"\t\"88200\"\n";
    struct {
        const char* version;
        int samplerate;
        int64_t second;  // what 44100 becomes
    } const rows[] = {{"\">Version\"\t\"510\"\n", 32000, 32000},
                      {"\">Version\"\t\"510\"\n", 96000, 44100},
                      {"\">Version\"\t\"511\"\n", 22050, 44100}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.version + std::to_string(row.samplerate));
        const auto read = ReadLines(row.version + kSide + Recording(row.samplerate) + details);
        const FileHistoryEntry& entry = *read.set->albums.First()->sides[0]->newest;
        EXPECT_EQ(std::tuple(entry.decided.markers.First()->start_time, entry.decided.side_breaks[0],
                             entry.decided.cuts.First()->end_time, entry.decided.filters.First()->absolute_end_time,
                             entry.decided.fft_eqs.First()->absolute_start_time),
                  std::tuple(row.second, row.second, row.second * 20, row.second * 2, row.second));
        EXPECT_EQ(entry.decided.cuts.First()->splice_length, MulDiv64(882, row.second, 44100) & ~1);
    }

    // Records in the older forms; a save rewrites them.
    const std::string zeros = Replace(std::string(8, '*'), "*", "\t\"0\"");
    const std::string old_filter =
        ">Ext\tFilterSettings\t\"0\"\t\"0\"\t\"4\"\t\"1\"\t\"0\"\t\"-1\"\t\"0\"\t\"0\"\t\"0\"\t\"0\"" + zeros +
        "\t\"2.9\"\t\"-5\"\tname\n";
    const std::string old_curve =
        ">Ext\tFFTEq\tname\t\"0\"\t\"0\"\t\"1\"\t\"-1.5\"\t\"30\"\t\"-30\"\t\"0\"\t\"1\"\t\"100\"\t\"3\"\n";
    const auto read = ReadLines("\">Version\"\t\"1270\"\n" + kSide + Recording(44100) + old_filter + old_curve);
    EXPECT_TRUE(read.set->dirty);
    const FileHistoryEntry& entry = *read.set->albums.First()->sides[0]->newest;
    EXPECT_EQ(entry.decided.filters.First()->values.bands[0], 4);
    EXPECT_EQ(entry.decided.filters.First()->values.bands[9], -12);
    EXPECT_EQ(entry.decided.fft_eqs.First()->gain, -36);
}

TEST(ReadCollection, WhatAFieldCannotHoldBecomesABlank) {
    AlbumSet set("/music/Mine.mcf");
    auto* album = new AlbumInfo;
    set.albums.Append(album);
    ALBUMTRACK track;
    track.title = "tab\tand\nline";
    track.custom_tags = "one\ntwo";
    album->tracks = {track, track};
    const auto read = ReadWhole(WriteWhole(set));
    ASSERT_EQ(read.set->albums.First()->tracks.size(), 2);
    EXPECT_EQ(read.set->albums.First()->tracks[0].title, "tab and line");
    EXPECT_EQ(read.set->albums.First()->tracks[0].custom_tags, "one two");
}

// The last code block of a page.
std::string Example(const std::string& page) {
    const std::string text = OrvaneTest::ReadBytes(std::string(ORVANE_TESTS_DIR) + "/../docs/" + page);
    const size_t end = text.rfind("```");
    const size_t start = text.rfind("```\n", end - 1) + 4;
    return end == text.npos ? std::string() : text.substr(start, end - start);
}

TEST(CollectionFormat, TheDescriptionsExampleIsReadAndWritten) {
    const std::string example = Replace(Example("collection-format.md"), "→", "\t");
    const OrvaneTest::ReadCollectionText read = OrvaneTest::ReadWhole(example);
    ASSERT_EQ(read.result, ReadResult::Good);
    EXPECT_EQ(OrvaneTest::WriteWhole(*read.set), example);
    // What the page says of it: that it comes back the same would hold for fields taken for each other, too.
    const AlbumInfo& album = *read.set->albums.First();
    EXPECT_EQ(album.status, STATUS_SPLIT);
    EXPECT_EQ(album.release_number, "12345");
    EXPECT_EQ(album.notes, "Bought in May.\nScratch on side 2.");
    ASSERT_EQ(album.tracks.size(), 2);
    EXPECT_EQ(album.tracks[0].composer, "A. Writer");
    EXPECT_EQ(album.tracks[0].start, 44100 * 11 / 4);
    EXPECT_EQ(album.tracks[0].fade_in, 22050);
    EXPECT_TRUE(album.tracks[1].excluded);
    ASSERT_EQ(album.sides.size(), 2);
    const FileHistoryEntry& entry = *album.sides[0]->newest;
    EXPECT_EQ(entry.GetPath(), "/music/Mine/The Examples~First~side1.wav");
    EXPECT_EQ(entry.decided.click_scan.sensitivity, 5);
    EXPECT_EQ(entry.decided.speed.to, 78);
    EXPECT_EQ(entry.decided.markers.First()->absolute_start_time, 9696000);
    EXPECT_EQ(entry.decided.filters.First()->values.mains_frequency, 50);
    EXPECT_EQ(entry.decided.filters.First()->values.bands,
              (std::array<int32_t, kEqBands>{-1, 0, 0, 0, 0, 0, 0, 0, 0, 12}));
}

TEST(CorrectionsFormat, TheDescriptionsExampleIsReadAndWritten) {
    std::string digits;
    for (char c : Example("corrections-format.md")) {
        if (c != ' ' && c != '\n') digits += c;
    }
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    ClickRepairs lists;
    ASSERT_EQ(ReadCrd({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, lists), CrdResult::Good);
    EXPECT_EQ(WriteCrd(lists), bytes);
    ASSERT_TRUE(lists[0].size() == 1 && lists[1].size() == 1);
    EXPECT_EQ(lists[0].First()->absolute_start_time, 1000);
    EXPECT_EQ(lists[0].First()->max_sample, 32767);
    EXPECT_EQ(lists[1].First()->repair_type, REPAIR_PP);
}

}  // namespace
}  // namespace Orvane
