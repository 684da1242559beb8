// What is asked and told around saving.
#include <gtest/gtest.h>

#include <filesystem>

#include "app/jobs/aftersave.h"
#include "app/jobs/cuesheets.h"
#include "app/jobs/saveselection.h"
#include "fake_hosts.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "recorded_side.h"
#include "scoped_environment.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

using OrvaneTest::FakeMessageHost;
using OrvaneTest::FakeProgressHost;

// An album of one side and one track.
class SaveJobs : public testing::Test {
protected:
    SaveJobs() : side(std::vector<float>(2 * 1000, 0.1f)), album(*side.entry->album) {
        EXPECT_TRUE(OpenSettings(side.folder / "config"));
        ALBUMTRACK track;
        track.title = "One";
        track.end = 1000;
        album.tracks.push_back(track);
    }

    OrvaneTest::RecordedSide side;
    AlbumInfo& album;
    FakeProgressHost progress;
};

TEST_F(SaveJobs, ASelectionUnderAnOddNameIsAskedAboutAndItsEndIsTold) {
    FileOptions options = FileOptions::Load(OptionsContext::SaveSelection);
    options.file_format = FF_WAV;
    const struct {
        std::string typed;
        std::deque<Answer> answers;
        Kind kind;
        const char* said;  // last
        const char* file;  // that is there then
    } cases[] = {
        {"part", {}, Kind::Done, "saved successfully", "part.wav"},
        {"part.flac", {Answer::No}, Kind::Cancelled, "does not match the file type", nullptr},
        {"other.flac", {Answer::Yes}, Kind::Done, "saved successfully", "other.flac"},
        {std::string(300, 'x'), {}, Kind::Refused, "too long", nullptr},
        {"Mine/Art~Blue~side1.wav", {}, Kind::Refused, "never changed", nullptr},
    };
    for (const auto& c : cases) {
        FakeMessageHost messages(c.answers);
        EXPECT_EQ(SaveSelectionAs(*side.entry, 0, 100, options, side.folder / c.typed).GetKind(), c.kind) << c.typed;
        ASSERT_FALSE(messages.asked.empty());
        EXPECT_NE(messages.Texts().back().find(c.said), std::string::npos) << messages.Texts().back();
        if (c.file) {
            EXPECT_TRUE(FileExists(side.folder / c.file));
        }
    }
    EXPECT_FALSE(FileExists(side.folder / "part.flac"));
}

TEST_F(SaveJobs, FilesLeftOverAreDeletedWhenTheUserSaysSo) {
    OrvaneTest::ScopedEnvironment data("XDG_DATA_HOME", side.folder / "data");
    SaveSettings settings;
    settings.output_folder = side.folder / "out";
    const std::string old_file = SaveAlbums({&album}, settings).tracks[0].file;
    album.tracks[0].title = "New";
    for (const Answer answer : {Answer::No, Answer::Yes}) {
        FakeMessageHost messages({answer});
        SaveResult result = SaveAlbums({&album}, settings);
        EXPECT_TRUE(OfferLeftovers(result));
        ReportSave(result);
        ASSERT_EQ(messages.asked.size(), 2u);
        EXPECT_NE(messages.asked[0].text.find(old_file), std::string::npos) << messages.asked[0].text;
        EXPECT_EQ(result.leftovers.size(), answer == Answer::No ? 1u : 0u);
        EXPECT_EQ(FileExists(old_file), answer == Answer::No);
        EXPECT_NE(messages.Texts()[1].find("tracks saved in 0:00 ("), std::string::npos) << messages.Texts()[1];
        EXPECT_EQ(messages.asked[1].hide_key, "Report Tracks Saved");
    }
    FakeMessageHost messages;
    SaveResult nothing = SaveAlbums({&album}, settings);
    EXPECT_TRUE(OfferLeftovers(nothing));
    EXPECT_TRUE(messages.asked.empty());
}

TEST_F(SaveJobs, ManyCueSheetsAreOneJob) {
    AlbumInfo empty;
    empty.artist = "Nobody";
    FakeMessageHost messages;
    Progress::Begin("Cue sheets");
    const std::vector<AlbumListing> sheets = WriteCueSheets({&empty, &album, &album});
    ASSERT_EQ(sheets.size(), 3u);
    EXPECT_FALSE(sheets[0].outcome);
    EXPECT_EQ(sheets[1].path, side.folder / "Mine/Art - Blue.cue");
    EXPECT_TRUE(FileExists(sheets[1].path));
    EXPECT_EQ(sheets[2].path, side.folder / "Mine/Art - Blue (2).cue") << "no sheet writes over another";
    EXPECT_EQ(progress.log,
              "Nobody -  - <fg color=#ff0000>Album:\n\n<b>Nobody - </b>\n\nhas no tracks.</fg>\n"
              "Art - Blue - <fg color=#00a000>done</fg>\nArt - Blue - <fg color=#00a000>done</fg>\n");
    EXPECT_EQ(messages.Texts(), std::vector<std::string>{"2 cue sheets generated."});

    SetSetting("Cue Sheet Prompt For Filename", 1);
    const auto ask = [&](const AlbumInfo& asked, std::string& path) {
        path = side.folder / "typed";
        return &asked == &album;
    };
    const std::vector<AlbumListing> typed = WriteCueSheets({&empty, &album}, ask);
    ASSERT_EQ(typed.size(), 1u);
    EXPECT_EQ(typed[0].path, side.folder / "typed.cue");
    Progress::End();
}

}  // namespace
}  // namespace Orvane
