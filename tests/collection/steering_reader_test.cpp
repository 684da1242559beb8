#include "collection/steering_reader.h"

#include <gtest/gtest.h>

#include "collection/steering_records.h"
#include "collections.h"
#include "foundation/text.h"

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

TEST(ReadCollection, WhatWasWrittenIsReadAndWrittenAgainTheSame) {
    for (unsigned seed = 1; seed < 6; ++seed) {
        AlbumSet made("/music/Mine.mcf");
        OrvaneTest::CollectionMaker(seed).AddAlbums(made, 40, static_cast<int>(seed) * 4);
        made.max_album_sides = seed == 3 ? 12 : 0;
        const std::string written = WriteWhole(made);
        const auto first = ReadWhole(written);
        ASSERT_EQ(first.result, ReadResult::Good);
        EXPECT_FALSE(first.set->dirty);
        // The reader sorts; in its order everything is as it was made.
        const std::string sorted = WriteWhole(*first.set);
        EXPECT_EQ(sorted.size(), written.size());
        EXPECT_EQ(WriteWhole(*ReadWhole(sorted).set), sorted);
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

TEST(ReadCollection, TakesEveryEncodingAndLineEnd) {
    AlbumSet made("/music/Mine.mcf");
    OrvaneTest::CollectionMaker(9).AddAlbums(made, 3, 4);
    const std::string plain = WriteWhole(made);
    const std::string expected = WriteWhole(*ReadWhole(plain).set);
    std::string utf16 = "\xFF\xFE";
    for (size_t i = 0; i < plain.size();) {
        const char32_t c = NextCharacter(plain, i);
        utf16.append({static_cast<char>(c), static_cast<char>(c >> 8)});
    }
    for (const std::string& text :
         {"\xEF\xBB\xBF" + plain, Replace(plain, "\n", "\r\n"), utf16, plain.substr(0, plain.size() - 1)}) {
        EXPECT_EQ(WriteWhole(*ReadWhole(text).set), expected);
    }
}

// Each row's lines come behind a header line; what is told is that of the last track of the last album.
TEST(ReadCollection, TrackRows) {
    struct {
        const char* what;
        std::string lines;
        int n_albums;
        int n_tracks;
        int64_t start, end;
        int flags, fade_in, fade_out;
    } const rows[] = {
        {"rows without quotes", "1\tA\tT\t1970\tOne\t0:01.00000\t0:00.00000\t0:01.00000\n", 1, 1, 0, 44100, 0, 0, 0},
        {"unless a row 0 came before", "\"0\"\tA\tT\n\"1\"\tA\tT\n\"2\"\tA\tT\n", 1, 2, 0, 0, 0, 0, 0},
        {"a row -1 does not count", kAlbum + "\"1\"\tA\tT\n", 2, 1, 0, 0, 0, 0, 0},
        {"albums without tracks", "\"0\"\tA\tT\n\"0\"\tB\tT\n" + kAlbum, 3, 0, 0, 0, 0, 0, 0},
        {"damage", kAlbum + "garbage\n\n\t\n\"\"\n\"garbage\t\xFF\n\">Foo\"\t\"1\"\n>Ext\tFoo\n>Ext\n", 1, 0, 0, 0, 0,
         0, 0},
        {"no end: behind the one before", "1\tA\tT\t0\tOne\t0:02.00000\n2\tA\tT\t0\tTwo\t0:03.00000\t0:09.00000\n", 1,
         2, 88200, 220500, 0, 0, 0},
        {"fades move the ends inwards",
         "1\tA\tT\t0\tOne\t-\t0:01.00000\t0:09.00000\t-\t-\t-\t3\t0:02.00000\t0:03.00000\n", 1, 1, 132300, 264600, 3,
         88200, 132300},
        {"after an empty track there is no fade-in",
         "1\tA\tT\t0\tOne\t-\t0:01.00000\t0:01.00000\n"
         "2\tA\tT\t0\tTwo\t-\t0:01.00000\t0:09.00000\t-\t-\t-\t3\t0:02.00000\t0:03.00000\n",
         1, 2, 44100, 264600, 3, 0, 132300},
        {"an empty track has no fade-out",
         "1\tA\tT\t0\tOne\t-\t0:01.00000\t0:03.00000\t-\t-\t-\t3\t0:02.00000\t0:03.00000\n", 1, 1, 132300, 132300, 1,
         88200, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const auto read = ReadLines(row.lines);
        ASSERT_EQ(read.result, ReadResult::Good);
        ASSERT_EQ(read.set->albums.size(), row.n_albums);
        const AlbumInfo& album = *read.set->albums.Last();
        ASSERT_EQ(album.tracks.size(), row.n_tracks);
        if (row.n_tracks == 0) continue;
        const ALBUMTRACK& track = album.tracks.back();
        EXPECT_EQ(track.start, row.start);
        EXPECT_EQ(track.end, row.end);
        EXPECT_EQ(track.filter_flags, row.flags);
        EXPECT_EQ(track.fade_in, row.fade_in);
        EXPECT_EQ(track.fade_out, row.fade_out);
    }
}

TEST(ReadCollection, SidesKeepTheirPlacesAndTheirLimit) {
    std::string lines = "\">Max Album Sides\"\t\"3\"\n" + kAlbum;
    lines += ">Ext\tAlbumSide\t\"2\"\t\"1\"\n" + Recording(0) + Recording(0) + Recording(0);
    lines += ">Ext\tAlbumSide\t\"0\"\t\"0\"\n";
    lines += ">Ext\tAlbumSide\t\"9\"\t\"-9\"\n" + Recording(0) + ">Ext\tFileHistory\twav\t\xC2\xAC\n";
    lines += ">Ext\tAlbumSide\t\"1\"\t\"1\"\n" + Recording(0) + ">Ext\tMarkers\t\"5\"\n";
    const auto read = ReadLines(lines);
    const simple_vector<AlbumSide*>& sides = read.set->albums.First()->sides;
    ASSERT_EQ(sides.size(), 3);
    EXPECT_EQ(sides[0]->PositionOf(sides[0]->newest), 2);
    EXPECT_EQ(sides[0]->PositionOf(sides[0]->latest_take), 1);
    EXPECT_EQ(sides[1], nullptr);
    EXPECT_EQ(sides[2]->PositionOf(sides[2]->newest), 2);           // the last one stands in
    EXPECT_EQ(sides[2]->newest->GetPath(), "/music/Mine/A~T.wav");  // of no side
    EXPECT_EQ(sides[2]->latest_take, nullptr);
    EXPECT_TRUE(sides[2]->newest->markers.empty());
    EXPECT_TRUE(read.set->dirty);
}

TEST(ReadCollection, MissingAndEmptyFieldsTakeTheirDefaults) {
    const auto read = ReadLines(kAlbum + ">Ext\tAlbum\n>Ext\tAlbumSide\t\"1\"\n>Ext\tFileHistory\n" +
                                ">Ext\tFileHistory" + Replace(std::string(37, '*'), "*", "\t\"\"") + "\n");
    const AlbumInfo& album = *read.set->albums.First();
    EXPECT_EQ(album.channel_mode, CHANNELS_STEREO);
    EXPECT_EQ(album.playing_speed, 33);
    const std::vector<int> expected[] = {{-1, 3, SCAN_KEEP_MANUAL, -1, -1, 2, -1, 0}, {0, 0, 0, 0, 0, 0, 0, 0}};
    for (size_t n : {0, 1}) {
        const FileHistoryEntry& e = *album.sides[0]->history[n];
        EXPECT_EQ((std::vector<int>{e.click_scan.sensitivity, e.click_scan.channels, e.click_scan.options,
                                    e.open_status, e.stream_index, e.channels, e.view_mode, e.speed_from}),
                  expected[n]);
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
    } const rows[] = {{"", 22050, 22050},
                      {"\">Version\"\t\"510\"\n", 32000, 32000},
                      {"\">Version\"\t\"510\"\n", 96000, 44100},
                      {"\">Version\"\t\"511\"\n", 22050, 44100}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.version + std::to_string(row.samplerate));
        const auto read = ReadLines(row.version + kSide + Recording(row.samplerate) + details);
        const FileHistoryEntry& entry = *read.set->albums.First()->sides[0]->newest;
        EXPECT_EQ(entry.markers.First()->start_time, row.second);
        EXPECT_EQ(entry.side_breaks[0], row.second);
        EXPECT_EQ(entry.cuts.First()->end_time, row.second * 20);
        EXPECT_EQ(entry.cuts.First()->splice_length, MulDiv64(882, row.second, 44100) & ~1);
        EXPECT_EQ(entry.filters.First()->absolute_end_time, row.second * 2);
        EXPECT_EQ(entry.fft_eqs.First()->absolute_start_time, row.second);
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
    EXPECT_EQ(entry.filters.First()->values.bands[0], 4);
    EXPECT_EQ(entry.filters.First()->values.bands[9], -12);
    EXPECT_EQ(entry.fft_eqs.First()->gain, -36);

    for (int protection : {3, 0, -1}) {
        std::string line = ">Ext\tFileHistory" + Replace(std::string(8, '*'), "*", "\t\"0\"") + "\t\"" +
                           std::to_string(protection) + "\"\n";
        const auto shifted = ReadLines("\">Version\"\t\"299\"\n" + kSide + line);
        EXPECT_EQ(shifted.set->albums.First()->sides[0]->newest->click_scan.percussion_protection,
                  protection > 0 ? protection - 1 : protection);
    }
}

TEST(ReadCollection, CutsAreMadeFitToBeUsed) {
    struct {
        int64_t start, end, splice, kept_start, kept_splice;
    } const rows[] = {{1000, 2000, 101, 1000, 100},
                      {-50, 2000, 100, 0, 0},
                      {20, 2000, 100, 20, 40},
                      {1000, 2000, -4, 1000, 0},
                      {1000, 1000, 0, -1, 0}};
    for (const auto& row : rows) {
        LineBuilder line;
        for (int64_t value : {row.start, row.end, row.splice}) line.Int(value);
        const auto read = ReadLines("\">Version\"\t\"1270\"\n" + kSide + Recording(44100) + ">Ext\tCutAndSplice\t" +
                                    line.text + "\n");
        const CutList& cuts = read.set->albums.First()->sides[0]->newest->cuts;
        EXPECT_TRUE(read.set->dirty);
        ASSERT_EQ(cuts.empty(), row.kept_start < 0);
        if (cuts.empty()) continue;
        EXPECT_EQ(cuts.First()->start_time, row.kept_start);
        EXPECT_EQ(cuts.First()->splice_length, row.kept_splice);
    }
}

TEST(ReadCollection, TextsThatLookLikeSyntaxComeBack) {
    AlbumSet set("/music/Mine.mcf");
    auto* album = new AlbumInfo;
    set.albums.Append(album);
    ALBUMTRACK track;
    track.end = 1;
    for (const char* text : {"7\"", "\"quoted\"", "\"", ">Ext", "", "a, b; c", "\\n", "-1", "  blanks  "}) {
        track.title = track.comment = text;
        album->tracks.push_back(track);
    }
    album->artist = ">Ext";
    album->notes = "back\\slash \\n\n\ttab\nend\\";
    album->custom_tags = "\t\"TIT2\"\t\"7\" mix\"";
    album->record_eq = std::make_unique<RecordEq>();
    album->record_eq->fft_curve = std::make_unique<FFTCurve>();
    album->record_eq->fft_curve->name = "1";  // as another form is called
    auto read = ReadWhole(WriteWhole(set));
    const AlbumInfo& other = *read.set->albums.First();
    EXPECT_EQ(other.artist + other.notes + other.custom_tags, album->artist + album->notes + album->custom_tags);
    EXPECT_EQ(other.tracks, album->tracks);
    ASSERT_TRUE(other.record_eq && other.record_eq->fft_curve);

    // What a field cannot hold becomes a blank, and the rest of the collection stands.
    album->tracks[0].title = "tab\tand\nline";
    album->tracks[0].custom_tags = "one\ntwo";
    read = ReadWhole(WriteWhole(set));
    EXPECT_EQ(read.set->albums.First()->tracks[0].title, "tab and line");
    EXPECT_EQ(read.set->albums.First()->tracks[0].custom_tags, "one two");
}

}  // namespace
}  // namespace Orvane
