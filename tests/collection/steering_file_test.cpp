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

TEST_F(SteeringFile, WhatIsSavedIsTheSameBytesAndTheOldFileIsKept) {
    const std::string path = MakeCollection("Mine.mcf");
    ASSERT_TRUE(SaveCollection(path, *OpenCollection(path), true));
    const std::string saved = ReadBytes(path);
    EXPECT_EQ(saved.substr(0, 13), "\xEF\xBB\xBF\"Track No\"");
    ASSERT_TRUE(OpenCollection(path));
    MarkDirty();
    ASSERT_TRUE(SaveCollection(path, *gAlbumSet, true));
    EXPECT_FALSE(gAlbumSet->dirty);
    EXPECT_EQ(ReadBytes(path), saved);
    EXPECT_EQ(ReadBytes(path + "_bak"), saved);
    EXPECT_EQ(folder.Listing(), (std::set<std::string>{"Mine", "Mine.mcf", "Mine.mcf_bak"}));
    gAlbumSet->albums.First()->title = "Another";
    MarkDirty();
    ASSERT_TRUE(SaveCopy(folder / "Copy.mcf", *gAlbumSet, true));
    EXPECT_TRUE(gAlbumSet->dirty);
    EXPECT_EQ(ReadBytes(path), saved);
}

TEST_F(SteeringFile, OpeningFailsWithAMessageAndLeavesTheLiveCollectionAlone) {
    ASSERT_TRUE(OpenCollection(MakeCollection("Mine.mcf")));
    const AlbumSet* live = gAlbumSet;
    struct {
        std::string path;
        const char* message;
    } const rows[] = {
        {folder / "none.mcf", "Cannot find file"},
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
    EXPECT_EQ(folder.Listing(), (std::set<std::string>{"Blocked", "Mine", "Mine.mcf", "Taken.mcf"}));

    EXPECT_TRUE(RenameCollection("Yours"));
    EXPECT_EQ(folder.Listing(), (std::set<std::string>{"Blocked", "Taken.mcf", "Yours", "Yours.mcf"}));
    EXPECT_EQ(ReadBytes(side->newest->GetPath()), "sound");
    EXPECT_EQ(GetStringSetting("Steering File"), folder / "Yours.mcf");
}

}  // namespace
}  // namespace Orvane
