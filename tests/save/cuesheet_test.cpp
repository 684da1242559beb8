#include "save/cuesheet.h"

#include <gtest/gtest.h>

#include "collection/albumset.h"
#include "collection/undo.h"
#include "fake_hosts.h"
#include "foundation/settings.h"
#include "recorded_side.h"
#include "save/cuesheet_reader.h"
#include "scoped_environment.h"

using namespace Foundation;

namespace Orvane {
namespace {

using OrvaneTest::FakeMessageHost;

constexpr int64_t kSecond = kTicksPerSecond;

ALBUMTRACK Track(const char* title, int64_t start, int64_t end) {
    ALBUMTRACK track;
    track.title = title;
    track.start = start;
    track.end = end;
    return track;
}

TEST(CueSheetTextTest, EveryValueStandsAtItsPlace) {
    AlbumInfo album;
    album.artist = "The \"Examples\"";
    album.title = "First";
    album.genre = "Folk";
    album.composer = "Anon";
    album.label = "Own";
    album.notes = "one\ntwo \\ three";
    album.art_file = "artwork\\new.jpg";
    album.year = 1977;
    album.playing_speed = 45;
    album.tracks = {Track("One", 588 + 587, 90 * kSecond), Track("Two", 90 * kSecond, 100 * kSecond),
                    Track("Three", 3700 * kSecond, 3800 * kSecond)};
    album.tracks[0].artist = "Guest";
    album.tracks[0].comment = "live";
    album.tracks[1].excluded = true;
    album.tracks[1].fade_in = 100;  // off
    album.tracks[2].fade_in = 22050;
    album.tracks[2].fade_out = 882000;
    album.tracks[2].filter_flags = TRACK_FADE_IN | TRACK_FADE_OUT;
    const std::vector<CueFile> files = {{"/a/one.mp3", 0, 95 * kSecond},
                                        {"/a/no track starts here.wav", 95 * kSecond, 99 * kSecond},
                                        {"/b/three.aiff", 99 * kSecond, 4000 * kSecond}};
    const std::string text = CueSheetText(album, files, {});
    EXPECT_EQ(text, R"(REM COMMENT "Orvane"
REM GENRE "Folk"
REM DATE "1977"
TITLE "First"
PERFORMER "The 'Examples'"
SONGWRITER "Anon"
REM ARTWORK "artwork\new.jpg"
REM ALBUM_NOTES "one\ntwo \\ three"
REM LABEL "Own"
REM PLAYING_SPEED "45"
FILE "one.mp3" MP3
  TRACK 01 AUDIO
    TITLE "One"
    PERFORMER "Guest"
    REM ORV_COMMENT "live"
    REM END_TIME 3969000
    INDEX 01 00:00:01
  TRACK 02 AUDIO
    TITLE "Two"
    REM SKIP_TRACK
    REM END_TIME 4410000
    INDEX 01 01:30:00

REM FILE_NUMBER 3
FILE "three.aiff" WAVE
  TRACK 03 AUDIO
    TITLE "Three"
    REM FADE_IN 22050
    REM FADE_OUT 882000
    REM END_TIME 167580000
    INDEX 01 60:01:00
)");
    CueSheetOptions options;
    options.absolute_paths = true;
    options.convert_quotes = false;
    const std::string other = CueSheetText(album, files, options);
    EXPECT_NE(other.find("FILE \"/b/three.aiff\" WAVE\n"), std::string::npos);
    EXPECT_NE(other.find("PERFORMER \"The \"Examples\"\"\n"), std::string::npos);

    const auto sheet = ParseCueSheet(*ReadTextFrom(other), "/s.cue");
    ASSERT_TRUE(sheet) << sheet.GetOutcome().Text();
    AlbumInfo back;
    TakeCueTexts(sheet->details, back);
    EXPECT_EQ(back.artist, album.artist);
    EXPECT_EQ(back.notes, album.notes);
    EXPECT_EQ(back.art_file, album.art_file);
    EXPECT_EQ(sheet->files[1].number, 3);
}

// What a sheet means over files of ten minutes each: details, then each track with its times in frames of the album. Or
// what is wrong with it, and in which line.
std::string Meaning(const std::string& text) {
    const auto told = [](const Outcome& problem) {
        std::string whole = problem.Text();
        const size_t start = whole.find("\n\nIn file:");
        return whole.replace(start, whole.rfind("at line") + 7 - start, " at");
    };
    const auto parsed = ParseCueSheet(*ReadTextFrom(text, Encoding::Detect, NotUtf8::Windows1252), "/music/s.cue");
    if (!parsed) return told(parsed.GetOutcome());
    const CueSheet& sheet = *parsed;
    std::vector<CueFile> files;
    for (const CueSheet::File& file : sheet.files) {
        const int64_t start = static_cast<int64_t>(files.size()) * 600 * kSecond;
        files.push_back({file.path, start, start + 600 * kSecond});
    }
    const auto tracks = PlaceCueTracks(sheet, files, CueTracks());
    if (!tracks) return told(tracks.GetOutcome());
    std::string meaning = sheet.details.artist + "/" + sheet.details.title + "/" + std::to_string(sheet.details.year);
    for (const ALBUMTRACK& track : *tracks) {
        meaning += "|" + (track.artist.empty() ? "" : track.artist + ": ") + track.title + " " +
                   std::to_string(track.start / 588) + "-" + std::to_string(track.end / 588);
        if (track.excluded) meaning += " skipped";
        if (track.filter_flags & TRACK_FADE_IN) meaning += " in " + std::to_string(track.fade_in);
        if (track.filter_flags & TRACK_FADE_OUT) meaning += " out " + std::to_string(track.fade_out);
    }
    return meaning;
}

std::string Utf16(const std::string& ascii) {
    std::string text = "\xFF\xFE";
    for (char c : ascii) text.append({c, '\0'});
    return text;
}

TEST(CueSheetReaderTest, TakesTheSheetsOfOtherPrograms) {
    const std::string file = "FILE \"a.wav\" WAVE\n";
    const std::string one = "TRACK 01 AUDIO\nINDEX 01 00:00:00\n";
    const struct {
        const char* what;
        std::string text;
        const char* meaning;
    } cases[] = {
        {"mark, CR LF, lower case, tabs, unknown statements",
         "\xEF\xBB\xBFrem date 1969-05\r\ncatalog 0123\r\nperformer \"Caf\u00E9\"\r\ntitle \"T\" "
         "\r\nfile\t\"a.wav\"\twave\r\n"
         "\ttrack 01 audio\r\n\t\tflags dcp\r\n\t\ttitle \"One\"\r\n\t\tperformer \"Caf\u00E9\"\r\n\t\tindex 01 "
         "00:00:00\r\n",
         "Caf\u00E9/T/1969|One 0-45000"},
        {"Latin-1", "TITLE \"Fr\xFChling\"\n" + file + one, "/Fr\u00FChling/0| 0-45000"},
        {"odd quoting",
         "TITLE A b  \nPERFORMER\"x\ny\"\n" + file + "TRACK 1 AUDIO\nTITLE \"12\" \\\"Mix\\\"\"\nINDEX 1 0:2:3\n",
         "x/A b/0|12\" \"Mix\" 153-45000"},
        {"CR", "TITLE \"T\"\rFILE a.wav WAVE\r\rTRACK 1\rINDEX 1 0:0:1\r", "/T/0| 1-45000"},
        {"UTF-16", Utf16("FILE a.wav WAVE\nTRACK 1\nINDEX 1 0:0:1"), "//0| 1-45000"},
        {"pregaps, further indexes, gaps in the numbers",
         file + "TRACK 02 AUDIO\nPREGAP 00:02:00\nINDEX 01 00:01:00\nINDEX 02 00:09:00\nTRACK 09 AUDIO\nINDEX 00 "
                "01:00:00\n"
                "INDEX 01 01:02:00\n",
         "//0| 75-4650| 4650-45000"},
        {"a file for each track, one changed before its gap has ended",
         "FILE \"a.wav\" WAVE\nTRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 00 09:58:00\nFILE \"b.flac\" "
         "WAVE\n"
         "INDEX 01 00:00:00\nTRACK 03 AUDIO\nINDEX 01 05:00:00\n",
         "//0| 0-45000| 45000-67500| 67500-90000"},
        {"the same file again", file + one + file + "TRACK 02\nINDEX 01 09:00:00\n", "//0| 0-40500| 40500-45000"},
        {"two files of one name", file + one + "REM FILE_NUMBER 2\n" + file + "TRACK 02\nINDEX 01 01:00:00\n",
         "//0| 0-49500| 49500-90000"},
        {"performers of tracks", "PERFORMER \"A\"\n" + file + "TRACK 01 AUDIO\nPERFORMER \"B\"\nINDEX 01 00:00:00\n",
         "A//0|B:  0-45000"},
        {"our own performers are meant",
         "REM COMMENT \"Orvane\"\nPERFORMER \"A\"\n" + file + "TRACK 01 AUDIO\nPERFORMER \"A\"\nINDEX 01 00:00:00\n",
         "A//0|A:  0-45000"},
        {"an end before its track and one behind the next",
         file + "TRACK 1\nREM END_TIME 441000000\nINDEX 1 0:10:0\nTRACK 2\nREM SKIP_TRACK\nREM END_TIME 44100\nINDEX 1 "
                "0:20:0\n",
         "//0| 750-1500| 1500-45000 skipped"},
        {"fades are held to what a fader takes, and off without a length",
         file + "TRACK 1\nREM FADE_IN 9999999999\nREM FADE_OUT 1\nINDEX 1 0:0:0\nTRACK 2\nREM FADE_IN abc\nREM "
                "FADE_OUT 0\nINDEX 1 0:20:0\n",
         "//0| 0-1500 in 882000 out 4410| 1500-45000"},
        {"unset tracks behind the others",
         file + one +
             "TRACK 2\nREM END_TIME 882100\nINDEX 1 0:20:0\nTRACK 3\nREM "
             "END_TIME 882100\nINDEX 1 0:20:0\n",
         "//0| 0-1500| 1500-1500| 1500-1500"},
    };
    for (const auto& c : cases) EXPECT_EQ(Meaning(c.text), c.meaning) << c.what;
}

TEST(CueSheetReaderTest, SaysWhatIsWrongAndWhere) {
    const std::string file = "FILE \"a.wav\" WAVE\n";
    const std::pair<std::string, const char*> cases[] = {
        {"", "Missing TRACK at 0"},
        {file + "\n", "Missing TRACK at 2"},
        {"TRACK 01 AUDIO\n", "Missing FILE at 1"},
        {file + "INDEX 01 00:00:00\n", "Missing TRACK at 2"},
        {file + "TRACK 01 AUDIO\nINDEX 00 00:00:00\nTRACK 02 AUDIO\n", "Missing INDEX at 4"},
        {file + "TRACK 01 AUDIO\nTITLE x\n", "Missing INDEX at 3"},
        {file + "TRACK 1000 AUDIO\n", "Invalid TRACK number 1000 (should be 01..999) at 2"},
        {file + "TRACK AUDIO\n", "Invalid TRACK number 0 (should be 01..999) at 2"},
        {file + "TRACK 2\nINDEX 1 0:0:0\nTRACK 2\n", "TRACKs must be in ascending order at 4"},
        {file + "TRACK 1\nINDEX 1 0:9:0\nTRACK 2\nINDEX 1 0:8:74\n", "TRACKs must be in ascending order at 5"},
        {file + "TRACK 1\nINDEX 1 0:9:0\nTRACK 2\nINDEX 1 0:9:0\n", "TRACKs must be in ascending order at 5"},
        {file + "TRACK 1\nINDEX 1 0:9:0\nTRACK 2\nTITLE T\nINDEX 1 0:9:60\nTRACK 3\nINDEX 1 0:10:0\n",
         "Track 1 too short (0:00.80000) at 3"},
        {file + "TRACK 1\nINDEX 1 0:9:0\nTRACK 2\nTITLE T\nINDEX 1 9:59:50\n", "Track T too short (0:00.33333) at 6"},
        {file + "TRACK 1\nINDEX 1 0:9:0\nTRACK 2\nINDEX 1 10:0:0\n",
         "INDEX behind the end of <b>/music/a.wav</b> at 5"},
        {file + "TRACK 1\nINDEX 1 0:9:0\nTRACK 2\nINDEX 1 11:0:0\nFILE b.wav WAVE\nTRACK 3\nINDEX 1 2:0:0\n",
         "INDEX behind the end of <b>/music/a.wav</b> at 5"},
        {file + "TRACK 1\nINDEX 01\n", "Incomplete INDEX statement at 3"},
        {file + "TRACK 1\nINDEX 01 00:00\n", "Incomplete INDEX statement at 3"},
        {file + "TRACK 1\nINDEX 01 00:0x:00\n", "Incomplete INDEX statement at 3"},
        {file + "TRACK 1\nINDEX 01 00:-1:00\n", "Incomplete INDEX statement at 3"},
        {"FILE \"a\" WAVE\n", "Missing or unrecognised file extension <b>a</b> at 1"},
        {"FILE \"a.bin\" BINARY\n", "Missing or unrecognised file extension <b>.bin</b> at 1"},
        {"FILE \"\" WAVE\n", "Empty FILE at 1"},
        {"\nTITLE \"\"\n", "Empty TITLE at 2"},
        {"PERFORMER\n", "Empty PERFORMER at 1"},
        {"TITLE T\r\nREM\r\r\nPERFORMER\r", "Empty PERFORMER at 4"},
    };
    for (const auto& [text, problem] : cases) EXPECT_EQ(Meaning(text), problem) << text;
}

// An album of one side with two tracks that begin between the frames of a sheet.
class CueSheetFiles : public testing::Test {
protected:
    CueSheetFiles() : side(std::vector<float>(2 * 40 * 16000, 0.1f), 16000), album(*side.entry->album) {
        EXPECT_TRUE(OpenSettings(side.folder / "config"));
        album.year = 1977;
        album.tracks = {Track("Say \"A\"", 1000, 20 * kSecond + 1), Track("B", 20 * kSecond + 1, 39 * kSecond + 333)};
        album.tracks[0].custom_tags = "\t\"X\"\t\"y\"";
        album.tracks[0].fade_in = 5000;
        album.tracks[0].fade_out = 700;
        album.tracks[0].filter_flags = TRACK_FADE_IN;
    }

    std::string Write() {
        const auto written = WriteCueSheet(album, side.folder / "sheets/s", CueSheetOptions::FromStore());
        EXPECT_TRUE(written && written->changed) << written.GetOutcome().Text();
        EXPECT_FALSE(WriteCueSheet(album, written->path, CueSheetOptions::FromStore())->changed);
        return written->path;
    }
    // Why a sheet is not read; empty when it is.
    std::string Read(const std::string& path) { return ReadCueSheet(album, path).Text(); }

    OrvaneTest::RecordedSide side;
    AlbumInfo& album;
    FakeMessageHost messages;
};

TEST_F(CueSheetFiles, ASheetReadBackChangesNothing) {
    const simple_vector<ALBUMTRACK> before = album.tracks;
    const std::string path = Write();
    EXPECT_EQ(path, side.folder / "sheets/s.cue");
    ASSERT_EQ(Read(path), "");
    EXPECT_TRUE(album.tracks == before);
    EXPECT_EQ(GetUndoState().undo_index, 0);

    // Into an empty listing it brings all but the ticks below a frame of a start that no end tells.
    album.tracks.clear();
    album.title = "Blue";
    ASSERT_EQ(Read(path), "");
    ASSERT_EQ(album.tracks.size(), 2);
    EXPECT_EQ(album.tracks[0].start, 588);
    EXPECT_EQ(album.tracks[0].fade_in, 5000);
    EXPECT_EQ(album.tracks[0].filter_flags, TRACK_FADE_IN);
    EXPECT_EQ(album.tracks[1].start, before[1].start);
    EXPECT_EQ(album.tracks[1].end, before[1].end);
}

TEST_F(CueSheetFiles, IndexesAreThoseOfTheFileWithNothingCutOut) {
    // Taken out: 0 to 2, 7 to 10 and 37 to 40 seconds of the file.
    side.entry->decided.cuts.Add(0, 2 * 16000, 0, 16000);
    side.entry->decided.cuts.Add(5 * 16000, 8 * 16000, 0, 16000);
    side.entry->decided.cuts.Add(32 * 16000, 35 * 16000, 0, 16000);
    album.tracks = {Track("At a cut", 0, 5 * kSecond), Track("At another", 5 * kSecond, 15 * kSecond),
                    Track("Behind both", 15 * kSecond + 588 + 7, 31 * kSecond),
                    Track("Unset", 32 * kSecond, 32 * kSecond)};
    const simple_vector<ALBUMTRACK> before = album.tracks;
    const std::string path = Write();
    std::string indexes;
    const std::string text = OrvaneTest::ReadBytes(path);
    for (size_t at = 0; (at = text.find("INDEX 01 ", at)) != text.npos; ++at) indexes += text.substr(at + 9, 9);
    EXPECT_EQ(indexes, "00:02:00\n00:10:00\n00:20:01\n00:40:00\n");
    ASSERT_EQ(Read(path), "");
    EXPECT_TRUE(album.tracks == before);
    album.tracks.clear();
    ASSERT_EQ(Read(path), "");
    ASSERT_EQ(album.tracks.size(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(album.tracks[i].start, before[i].start / 588 * 588);
        EXPECT_EQ(album.tracks[i].end, before[i].end);
    }
    // Without END_TIME a track inside a cut has no audio.
    const std::string other = side.folder.Write(
        "x.cue", "FILE a.wav WAVE\nTRACK 1\nINDEX 1 0:0:0\nTRACK 2\nINDEX 1 0:8:0\nTRACK 3\nINDEX 1 0:9:0\n");
    EXPECT_NE(Read(other), "");
}

TEST_F(CueSheetFiles, TracksOfOneTitleStayApart) {
    album.tracks = {Track("Same", 0, 9 * kSecond), Track("Same", 9 * kSecond, 20 * kSecond)};
    album.tracks[0].custom_tags = "first";
    album.tracks[1].custom_tags = "second";
    album.sides_adjusted = 1;
    ASSERT_EQ(Read(side.folder.Write("x.cue",
                                     "FILE a.wav WAVE\nTRACK 1\nTITLE Same\nINDEX 1 0:0:0\nTRACK 2\nTITLE "
                                     "Same\nINDEX 1 0:9:0\nTRACK 3\nTITLE Same\nINDEX 1 0:20:0\n")),
              "");
    ASSERT_EQ(album.tracks.size(), 3);
    EXPECT_EQ(album.tracks[0].custom_tags + album.tracks[1].custom_tags + album.tracks[2].custom_tags, "firstsecond");
    EXPECT_EQ(album.sides_adjusted, 0) << "the breaks are others";
    ASSERT_TRUE(Undo());
    EXPECT_EQ(album.sides_adjusted, 1);
}

TEST_F(CueSheetFiles, WhatASheetBringsIsUndoneAtOnce) {
    const simple_vector<ALBUMTRACK> before = album.tracks;
    const std::string recording = side.entry->GetPath();
    const std::string path = side.folder.Write("x.cue",
                                               "PERFORMER \"New\"\nREM DATE 1980\nFILE \"other.wav\" WAVE\n"
                                               "TRACK 1 AUDIO\nTITLE \"C\"\nINDEX 1 0:1:0\n");
    ASSERT_EQ(Read(path), "");
    EXPECT_EQ(album.artist, "New");
    EXPECT_EQ(album.title, "Blue") << "not in the sheet";
    EXPECT_EQ(album.year, 1980);
    EXPECT_NE(side.entry->GetPath(), recording);
    EXPECT_TRUE(FileExists(side.entry->GetPath())) << "renamed with the album";
    ASSERT_EQ(album.tracks.size(), 1);
    EXPECT_EQ(album.tracks[0].end, 40 * kSecond) << "the end of the only recording, whatever the sheet calls it";
    EXPECT_EQ(GetUndoMenu(UndoDirection::Undo).text, "Undo Import Track Listing\tCtrl+Z");

    const simple_vector<ALBUMTRACK> after = album.tracks;
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(Undo());
        EXPECT_EQ(album.artist, "Art");
        EXPECT_EQ(album.year, 1977);
        EXPECT_TRUE(album.tracks == before);
        EXPECT_TRUE(FileExists(recording));
        ASSERT_TRUE(Redo());
        EXPECT_EQ(album.artist, "New");
        EXPECT_TRUE(album.tracks == after);
    }
}

TEST_F(CueSheetFiles, WhatFailsIsToldAndChangesNothing) {
    const std::string path = side.folder.Write("x.cue",
                                               "TITLE \"New\"\nFILE \"a.wav\" WAVE\nTRACK 1 AUDIO\nINDEX 1 0:1:0\n"
                                               "FILE \"b.wav\" WAVE\nTRACK 2 AUDIO\nINDEX 1 0:1:0\n");
    EXPECT_EQ(Read(path), "Cannot find file:\n\n<b>" + side.folder / "a.wav" + "</b>\n\nIn file:\n\n<b>" + path +
                              "</b>\n\nat line 5");
    side.folder.Write("a.wav", "");
    EXPECT_EQ(Read(path), "File:\n\n<b>" + side.folder / "a.wav" + "</b>\n\nis empty\n\nIn file:\n\n<b>" + path +
                              "</b>\n\nat line 5");
    EXPECT_EQ(album.title, "Blue");
    EXPECT_EQ(album.tracks.size(), 2);

    // An open recording cannot take a new name; the reason is left to the caller to tell.
    const std::string renaming = side.folder.Write("y.cue", "TITLE New\nFILE a.wav WAVE\nTRACK 1\nINDEX 1 0:1:0\n");
    Result<OpenRecording> open = side.entry->Open(USER_PLAY);
    side.set.current_album = nullptr;
    EXPECT_NE(Read(renaming), "");
    EXPECT_EQ(side.set.current_album, nullptr);
    EXPECT_EQ(messages.Texts(), std::vector<std::string>());
    open->Close();

    album.art_file = side.folder / "cover.jpg";
    std::vector<std::string> kept = side.entry->AllPaths();
    std::filesystem::create_symlink(side.entry->GetPath(), side.folder / "link.cue");
    for (const char* name : {"Mine.mcf", "Mine.mcf_bak", "cover.jpg", "link.cue"}) kept.push_back(side.folder / name);
    for (const std::string& path_of_other : kept) {
        EXPECT_TRUE(WriteCueSheet(album, path_of_other, {}).GetOutcome().Is(Msg::NotForListings)) << path_of_other;
    }
    const std::string a_folder = side.folder / "folder.cue";
    std::filesystem::create_directory(a_folder);
    EXPECT_EQ(WriteCueSheet(album, a_folder, {}).GetOutcome().Text(),
              "Cannot open file:\n\n<b>" + a_folder + "</b>\n\nfor writing, error 21 (Is a directory)");
    EXPECT_FALSE(FileExists(side.folder / "folder_$$$.cue"));
    EXPECT_EQ(GetUndoState().undo_index, 0);
}

TEST_F(CueSheetFiles, OnlyAnotherProgramsSheetGoesToTheTrash) {
    OrvaneTest::ScopedEnvironment data("XDG_DATA_HOME", side.folder / "data");
    side.folder.Write("sheets/s.cue", "REM COMMENT \"another\"\n");
    side.folder.Write("sheets/s.cue_bak", "mine");
    const std::string trashed = side.folder / "data/Trash/files/s.cue";
    Write();
    EXPECT_EQ(OrvaneTest::ReadBytes(trashed), "REM COMMENT \"another\"\n");
    RemoveFile(trashed);
    for (const int encoding : {4, 2}) {  // UTF-8 with a mark and UTF-16
        SetSetting("Cue Sheet Type", encoding);
        Write();
        EXPECT_FALSE(FileExists(trashed));
    }
    EXPECT_EQ(OrvaneTest::ReadBytes(side.folder / "sheets/s.cue_bak"), "mine");
}

}  // namespace
}  // namespace Orvane
