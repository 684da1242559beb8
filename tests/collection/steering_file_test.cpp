#include "collection/steering_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "collection/albumset.h"
#include "collections.h"
#include "fake_hosts.h"
#include "foundation/lasterror.h"
#include "foundation/platform.h"
#include "foundation/settings.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

using OrvaneTest::FakeMessageHost;
using OrvaneTest::ReadBytes;

// Remembers the events of the collection as "number:first argument".
class EventLog {
public:
    EventLog() {
        for (int id : kEvents) event::Subscribe(id, 0, &EventLog::Handle, this);
    }
    ~EventLog() {
        for (int id : kEvents) event::Unsubscribe(id, &EventLog::Handle, this);
    }
    std::vector<std::string> events;

private:
    static constexpr int kEvents[] = {EVENT_BEFORE_CHANGE, EVENT_AFTER_CHANGE, EVENT_COLLECTION_CLOSING,
                                      EVENT_INPUT_FILES_REFRESHED};
    static intptr_t Handle(void* context, int id, EventArg a, EventArg, EventArg) {
        const bool is_change = id == EVENT_BEFORE_CHANGE || id == EVENT_AFTER_CHANGE;
        auto& events = static_cast<EventLog*>(context)->events;
        events.push_back(std::to_string(id) + (is_change ? ":" + std::to_string(a) : ""));
        return 0;
    }
};

class SteeringFile : public ::testing::Test {
protected:
    ~SteeringFile() override { CloseCollection(); }

    // A saved collection of three albums; the result is its path.
    std::string MakeCollection(std::string_view name, unsigned seed = 1) {
        const std::string path = folder / name;
        AlbumSet set(path);
        OrvaneTest::CollectionMaker(seed).AddAlbums(set, 3, 3);
        EXPECT_TRUE(SaveCopy(path, set, false)) << GetLastError().text;
        return path;
    }

    OrvaneTest::TempFolder folder;
    FakeMessageHost host;
};

TEST_F(SteeringFile, OpeningMakesACollectionTheLiveOne) {
    const std::string path = MakeCollection("Mine.mcf");
    EventLog log;
    AlbumSet* set = OpenCollection(path);
    ASSERT_TRUE(set);
    EXPECT_EQ(gAlbumSet, set);
    EXPECT_EQ(set->path, path);
    EXPECT_EQ(set->albums.size(), 3);
    EXPECT_EQ(set->current_album, set->albums.Last());
    EXPECT_FALSE(set->dirty);
    EXPECT_TRUE(gAutosaveAllowed);
    EXPECT_EQ(log.events, (std::vector<std::string>{"1:256", "2:256"}));
    EXPECT_TRUE(FileExists(folder / "Mine"));
    EXPECT_EQ(GetStringSetting("Collections Directory"), folder.Path());
    EXPECT_EQ(GetStringSetting("Steering File"), path);
    EXPECT_EQ(GetStringSetting("Last Steering File"), path);

    // Another one closes it; a second set leaves it alone.
    const std::string other = MakeCollection("Other.mcf", 2);
    std::unique_ptr<AlbumSet> second;
    ASSERT_TRUE(OpenCollection(other, &second));
    EXPECT_EQ(second->path, other);
    EXPECT_EQ(gAlbumSet, set);
    log.events.clear();
    ASSERT_TRUE(OpenCollection(other));
    EXPECT_EQ(log.events, (std::vector<std::string>{"5", "1:256", "2:256"}));
    CloseCollection();
    EXPECT_EQ(gAlbumSet, nullptr);
    EXPECT_FALSE(gAutosaveAllowed);
    EXPECT_TRUE(host.asked.empty());
}

TEST_F(SteeringFile, WhatIsSavedIsTheSameBytesAndTheOldFileIsKept) {
    const std::string path = MakeCollection("Mine.mcf");
    AlbumSet* set = OpenCollection(path);
    ASSERT_TRUE(SaveCollection(path, *set, true));
    const std::string saved = ReadBytes(path);
    EXPECT_EQ(saved.substr(0, 13), "\xEF\xBB\xBF\"Track No\"");
    ASSERT_TRUE(OpenCollection(path));
    MarkDirty();
    ASSERT_TRUE(SaveCollection(path, *gAlbumSet, true));
    EXPECT_FALSE(gAlbumSet->dirty);
    EXPECT_TRUE(gAutosaveAllowed);
    EXPECT_EQ(ReadBytes(path), saved);
    EXPECT_EQ(ReadBytes(path + "_bak"), saved);
    EXPECT_EQ(folder.Listing(), (std::set<std::string>{"Mine", "Mine.mcf", "Mine.mcf_bak"}));

    gAlbumSet->albums.First()->title = "Another";
    MarkDirty();
    ASSERT_TRUE(SaveCopy(folder / "Copy.mcf", *gAlbumSet, true));
    EXPECT_TRUE(gAlbumSet->dirty);
    EXPECT_EQ(ReadBytes(path), saved);
    EXPECT_NE(ReadBytes(folder / "Copy.mcf"), saved);
}

TEST_F(SteeringFile, ComesBackToTheCurrentAlbum) {
    const std::string path = MakeCollection("Mine.mcf");
    AlbumSet* set = OpenCollection(path);
    // Of two albums with one name the place decides.
    AlbumInfo* second = set->albums.Next(set->albums.First());
    second->artist = set->albums.First()->artist;
    second->title = set->albums.First()->title;
    set->current_album = second;
    ASSERT_TRUE(SaveCollection(path, *set, true));
    set = OpenCollection(path);
    EXPECT_EQ(set->current_album, set->albums.Next(set->albums.First()));

    // A file that does not say leaves it to the settings, which hold for this collection only.
    set->current_album = set->albums.First();
    gModalNesting = 1;
    ASSERT_TRUE(SaveCollection(path, *set, true));
    gModalNesting = 0;
    EXPECT_EQ(ReadBytes(path).find(">Current"), std::string::npos);
    set = OpenCollection(path);
    EXPECT_EQ(set->current_album, set->albums.First());
    SetStringSetting("Last Steering File", folder / "Other.mcf");
    set = OpenCollection(path);
    EXPECT_EQ(set->current_album, set->albums.Last());
}

TEST_F(SteeringFile, TenCollectionsAreRemembered) {
    const auto key = [](int n) { return "Recent Files #" + std::to_string(n); };
    const auto recent = [&] {
        std::vector<std::string> names;
        for (int n = 1; n <= 11; ++n) names.push_back(GetStringSetting(key(n)));
        return names;
    };
    for (int n = 1; n <= 10; ++n) SetStringSetting(key(n), std::to_string(n));
    const std::string mine = MakeCollection("Mine.mcf");
    ASSERT_TRUE(OpenCollection(mine));
    EXPECT_EQ(recent(), (std::vector<std::string>{mine, "1", "2", "3", "4", "5", "6", "7", "8", "9", ""}));
    SetStringSetting(key(1), "0");
    SetStringSetting(key(4), mine);
    ASSERT_TRUE(OpenCollection(mine));
    EXPECT_EQ(recent(), (std::vector<std::string>{mine, "0", "1", "2", "4", "5", "6", "7", "8", "9", ""}));
}

TEST_F(SteeringFile, OpeningFailsWithAMessageAndLeavesTheLiveCollectionAlone) {
    ASSERT_TRUE(OpenCollection(MakeCollection("Mine.mcf")));
    const AlbumSet* live = gAlbumSet;
    struct {
        std::string path;
        const char* message;
    } const rows[] = {
        {folder / "none.mcf", "Cannot find file"},
        {folder / "none/none.mcf", "Cannot find file"},
        {folder / std::string(300, 'x'), "Cannot open file"},
        {folder.Path(), "Cannot open file"},
        {folder.Write("empty.mcf", ""), "is not a valid collection"},
        {folder.Write("sound.mcf", "RIFF\x24"), "is not a valid collection"},
        {folder.Write("sides.mcf", "\"Track No\"\n\">Max Album Sides\"\t\"31\"\n"), "is not a valid collection"},
    };
    for (const auto& row : rows) {
        host.asked.clear();
        EXPECT_EQ(OpenCollection(row.path), nullptr) << row.path;
        ASSERT_EQ(host.asked.size(), 1) << row.path;
        EXPECT_NE(host.Texts()[0].find(row.message), std::string::npos) << host.Texts()[0];
        EXPECT_NE(host.Texts()[0].find(row.path), std::string::npos) << host.Texts()[0];
        EXPECT_EQ(gAlbumSet, live);
        std::unique_ptr<AlbumSet> second;
        EXPECT_EQ(OpenCollection(row.path, &second), nullptr);
        EXPECT_EQ(host.asked.size(), 1) << "a second set is read in silence";
    }
}

TEST_F(SteeringFile, ANewerCollectionIsTheUsersDecision) {
    const std::string newer = folder.Write("Newer.mcf", "\"Track No\"\n\">Version\"\t\"1300\"\n\"-1\"\tA\tT\n");
    ASSERT_TRUE(OpenCollection(MakeCollection("Mine.mcf")));
    host.script = {Answer::Ok};
    EXPECT_TRUE(OpenCollection(newer));
    host.script = {Answer::Cancel};
    EXPECT_FALSE(OpenCollection(newer));
    EXPECT_EQ(gAlbumSet, nullptr);
    EXPECT_EQ(host.asked.size(), 2);
}

TEST_F(SteeringFile, AReadOnlyFileIsAskedAbout) {
    const std::string path = MakeCollection("Mine.mcf");
    AlbumSet* set = OpenCollection(path);
    set->albums.First()->title = "Changed";
    const std::string before = ReadBytes(path);
    struct {
        Answer answer;
        bool report, result, written;
    } const rows[] = {
        {Answer::No, true, false, false}, {Answer::Cancel, true, true, false}, {Answer::Yes, false, true, true}};
    for (const auto& row : rows) {
        MarkDirty();
        ASSERT_EQ(SetReadOnly(path, true), 0);
        host.asked.clear();
        host.script = {row.answer};
        EXPECT_EQ(SaveCollection(path, *set, row.report), row.result);
        ASSERT_EQ(host.asked.size(), 1);
        EXPECT_EQ(host.asked[0].buttons, row.report ? Buttons::YesNoCancel : Buttons::YesNo);
        EXPECT_EQ(ReadBytes(path) != before, row.written);
        EXPECT_EQ(set->dirty, !row.written);
        EXPECT_TRUE(gAutosaveAllowed);
    }
}

TEST_F(SteeringFile, SavingFailsWithAMessage) {
    AlbumSet set;
    struct {
        std::string path;
        const char* message;
    } const rows[] = {
        {folder / "none/Mine.mcf", "for writing, error 2"},
        {folder / (std::string(296, 'x') + ".mcf"), "for writing, error 36"},
        {folder.Write("file", "") + "/Mine.mcf", "for writing, error 20"},
    };
    for (const auto& row : rows) {
        host.asked.clear();
        EXPECT_FALSE(SaveCopy(row.path, set, false));
        EXPECT_TRUE(host.asked.empty());
        EXPECT_FALSE(SaveCopy(row.path, set, true));
        ASSERT_EQ(host.asked.size(), 1);
        EXPECT_NE(host.Texts()[0].find(row.message), std::string::npos) << host.Texts()[0];
    }
    EXPECT_FALSE(SaveCopy("", set, true));
    EXPECT_EQ(folder.Listing(), (std::set<std::string>{"file"}));

    // A path of 300 characters is nothing special.
    std::string deep;
    while (deep.size() < 290) deep += std::string(28, 'd') + "/";
    const std::string path = folder.Write(deep + "Mine.mcf", "");
    EXPECT_TRUE(SaveCopy(path, set, true));
}

// Files of this process cannot grow beyond `bytes` while it lives, as on a disk that is full.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit limit = before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    void (*handler)(int);
    rlimit before{};
};

TEST_F(SteeringFile, AFullDiskCostsNothing) {
    const std::string path = MakeCollection("Mine.mcf");
    const std::string before = ReadBytes(path);
    AlbumSet* set = OpenCollection(path);
    OrvaneTest::CollectionMaker(4).AddAlbums(*set, 500, 12);  // more than the writers' buffers hold
    MarkDirty();
    for (rlim_t room : {rlim_t{0}, rlim_t{4096}, rlim_t{1500000}}) {
        host.asked.clear();
        bool saved = true;
        {
            const FullDisk full(room);
            saved = SaveCollection(path, *set, true);
        }
        EXPECT_FALSE(saved);
        ASSERT_EQ(host.asked.size(), 1);
        EXPECT_NE(host.Texts()[0].find("Mine_$$$.mcf"), std::string::npos) << host.Texts()[0];
        EXPECT_EQ(ReadBytes(path), before);
        EXPECT_FALSE(FileExists(folder / "Mine_$$$.mcf"));
        EXPECT_TRUE(set->dirty);
    }
    EXPECT_TRUE(SaveCollection(path, *set, true));
}

TEST_F(SteeringFile, RenamingTakesTheFolderAlongOrChangesNothing) {
    const std::string path = MakeCollection("Mine.mcf");
    AlbumSet* set = OpenCollection(path);
    AlbumInfo* album = set->albums.First();
    AlbumSide* side = album->GetSide(-1, true);
    side->AddRecording(MakeRef<FileHistoryEntry>(album, side));
    side->newest->flags |= FHE_EXTERNAL_FILE;
    side->newest->external_file = folder.Write("Mine/sub/x.wav", "sound");

    folder.Write("Taken.mcf", "");
    EXPECT_FALSE(RenameCollection("Taken"));
    folder.Write("Blocked/file", "");  // the recordings folder cannot go there
    EXPECT_FALSE(RenameCollection("Blocked"));
    EXPECT_EQ(host.asked.size(), 2);
    EXPECT_EQ(folder.Listing(), (std::set<std::string>{"Blocked", "Mine", "Mine.mcf", "Taken.mcf"}));
    EXPECT_EQ(set->path, path);

    static std::string title;
    SetTitleHook([] { title = gAlbumSet->path; });
    EXPECT_TRUE(RenameCollection("Yours"));
    SetTitleHook(nullptr);
    EXPECT_EQ(title, set->path);
    EXPECT_EQ(folder.Listing(), (std::set<std::string>{"Blocked", "Taken.mcf", "Yours", "Yours.mcf"}));
    EXPECT_EQ(set->path, folder / "Yours.mcf");
    EXPECT_EQ(side->newest->GetPath(), folder / "Yours/sub/x.wav");
    EXPECT_TRUE(FileExists(side->newest->GetPath()));
    EXPECT_EQ(GetStringSetting("Steering File"), folder / "Yours.mcf");
    EXPECT_EQ(GetStringSetting("Recent Files #1"), folder / "Yours.mcf");
    EXPECT_EQ(host.Texts().back(), "Collection successfully renamed");
}

}  // namespace
}  // namespace Orvane
