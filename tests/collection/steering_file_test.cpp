// Collections on the disk: opened, saved, renamed, and saved by a process that is killed.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>

#include "collection/albumset.h"
#include "collection/crd_file.h"
#include "collection/steering_file.h"
#include "collections.h"
#include "disk_limit.h"
#include "foundation/platform.h"
#include "foundation/settings.h"
#include "repairs.h"
#include "temp_folder.h"

using namespace Foundation;

namespace Orvane {
namespace {

using OrvaneTest::ReadBytes;

class SteeringFile : public ::testing::Test {
protected:
    ~SteeringFile() override { EXPECT_TRUE(CloseCollection()); }

    // A saved collection of three albums; the result is its path.
    std::string MakeCollection(std::string_view name, unsigned seed = 1) {
        const std::string path = folder / name;
        AlbumSet set(path);
        OrvaneTest::CollectionMaker(seed).AddAlbums(set, 3, 3);
        EXPECT_TRUE(SaveCopy(path, set));
        return path;
    }

    OrvaneTest::TempFolder folder;
};

TEST_F(SteeringFile, WhatIsSavedIsTheSameBytesAndTheOldFileIsKept) {
    const std::string path = MakeCollection("Mine.mcf");
    ASSERT_TRUE(OpenCollection(path));
    ASSERT_TRUE(SaveCollection(path, *gAlbumSet));
    const std::string saved = ReadBytes(path);
    EXPECT_EQ(saved.substr(0, 13), "\xEF\xBB\xBF\"Track No\"");
    ASSERT_TRUE(OpenCollection(path));
    MarkDirty();
    ASSERT_TRUE(SaveCollection(path, *gAlbumSet));
    EXPECT_FALSE(gAlbumSet->dirty);
    EXPECT_EQ(ReadBytes(path), saved);
    EXPECT_EQ(ReadBytes(path + "_bak"), saved);
    EXPECT_EQ(folder.Listing(), (std::set<std::string>{"Mine", "Mine.mcf", "Mine.mcf.lock", "Mine.mcf_bak"}));
    gAlbumSet->albums.First()->title = "Another";
    MarkDirty();
    ASSERT_TRUE(SaveCopy(folder / "Copy.mcf", *gAlbumSet));
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
        std::unique_ptr<AlbumSet> second;
        for (const Outcome& outcome :
             {OpenCollection(row.path).GetOutcome(), OpenCollection(row.path, &second).GetOutcome()}) {
            EXPECT_NE(outcome.Plain().find(row.message), std::string::npos) << outcome.Plain();
            EXPECT_NE(outcome.Plain().find(row.path), std::string::npos) << outcome.Plain();
        }
        EXPECT_EQ(gAlbumSet, live);
    }
}

TEST_F(SteeringFile, ANewerOrReadOnlyFileIsTheUsersDecision) {
    const std::string newer = folder.Write("Newer.mcf", "\"Track No\"\n\">Version\"\t\"1300\"\n\"-1\"\tA\tT\n");
    EXPECT_TRUE(OpenCollection(newer).GetOutcome().Is(Kind::NeedsAnswer));
    EXPECT_EQ(gAlbumSet, nullptr);
    ASSERT_TRUE(OpenCollection(newer, nullptr, Answered::Yes));
    const std::string before = ReadBytes(newer);
    ASSERT_EQ(SetReadOnly(newer, true), 0);
    EXPECT_TRUE(SaveCollection(newer, *gAlbumSet).Is(Kind::NeedsAnswer));
    EXPECT_EQ(ReadBytes(newer), before);
    EXPECT_TRUE(SaveCollection(newer, *gAlbumSet, Answered::Yes));
    EXPECT_NE(ReadBytes(newer), before);
}

TEST_F(SteeringFile, WhoHasACollectionOpenHasItAlone) {
    const std::string path = MakeCollection("Mine.mcf");
    const auto is_held = [](const std::string& file) {
        std::unique_ptr<AlbumSet> second;
        return OpenCollection(file, &second).GetOutcome().Is(Kind::InUse);
    };
    {
        std::unique_ptr<AlbumSet> second;
        ASSERT_TRUE(OpenCollection(path, &second));
        EXPECT_TRUE(OpenCollection(path).GetOutcome().Is(Kind::InUse)) << "a second set holds it too";
        EXPECT_TRUE(SaveCopy(path, AlbumSet(path)).Is(Kind::InUse));
    }
    ASSERT_TRUE(OpenCollection(path));
    EXPECT_TRUE(is_held(path));
    ASSERT_TRUE(OpenCollection(path)) << "who has it open can read it again";
    const std::string other = MakeCollection("Other.mcf");
    ASSERT_TRUE(RenameCollection("Yours"));
    EXPECT_TRUE(is_held(folder / "Yours.mcf"));
    {
        FileLock others;
        ASSERT_TRUE(others.Acquire(folder / "Theirs.mcf"));
        EXPECT_TRUE(RenameCollection("Theirs").Is(Kind::InUse));
        EXPECT_TRUE(FileExists(folder / "Yours.mcf"));
    }
    ASSERT_TRUE(OpenCollection(other));
    EXPECT_FALSE(is_held(folder / "Yours.mcf"));
    EXPECT_FALSE(FileExists(path + ".lock"));
}

TEST_F(SteeringFile, AFullDiskCostsNothing) {
    const std::string path = MakeCollection("Mine.mcf");
    const std::string before = ReadBytes(path);
    AlbumSet* set = *OpenCollection(path);
    OrvaneTest::CollectionMaker(4).AddAlbums(*set, 500, 12);  // more than the writers' buffers hold
    MarkDirty();
    for (rlim_t room : {rlim_t{0}, rlim_t{4096}, rlim_t{1500000}}) {
        Outcome saved;
        {
            const OrvaneTest::DiskLimit full(room);
            saved = SaveCollection(path, *set);
        }
        EXPECT_NE(saved.Plain().find("Mine.mcf"), std::string::npos) << saved.Plain();
        EXPECT_EQ(ReadBytes(path), before);
        EXPECT_FALSE(FileExists(folder / "Mine_$$$.mcf"));
        EXPECT_TRUE(set->dirty);
    }
    EXPECT_TRUE(SaveCollection(path, *set));
}

TEST_F(SteeringFile, RenamingTakesTheFolderAlongOrChangesNothing) {
    AlbumSet* set = *OpenCollection(MakeCollection("Mine.mcf"));
    AlbumInfo* album = set->albums.First();
    AlbumSide* side = album->GetSide(-1, true);
    side->AddRecording(MakeRef<FileHistoryEntry>(album, side));
    side->newest->name.external_file = folder.Write("Mine/sub/x.wav", "sound");
    folder.Write("Taken.mcf", "");
    EXPECT_FALSE(RenameCollection("Taken"));
    folder.Write("Blocked/file", "");  // the recordings folder cannot go there
    EXPECT_FALSE(RenameCollection("Blocked"));
    EXPECT_EQ(folder.Listing(), (std::set<std::string>{"Blocked", "Mine", "Mine.mcf", "Mine.mcf.lock", "Taken.mcf"}));

    EXPECT_TRUE(RenameCollection("Yours"));
    EXPECT_EQ(ReadBytes(side->newest->GetPath()), "sound");
    EXPECT_EQ(GetStringSetting("Steering File"), folder / "Yours.mcf");
    ASSERT_TRUE(SaveCollection(set->path, *set));
    EXPECT_EQ(folder.Listing(),
              (std::set<std::string>{"Blocked", "Taken.mcf", "Yours", "Yours.mcf", "Yours.mcf.lock", "Yours.mcf_bak"}));
}

constexpr int kRounds = 200;

RefPtr<FileHistoryEntry> EntryWithRepairs(AlbumInfo& album, const std::string& recording, int n_repairs) {
    auto entry = MakeRef<FileHistoryEntry>(&album, nullptr);
    entry->name.external_file = recording;
    const std::vector<int16_t> samples(60);
    for (int i = 0; i < n_repairs; ++i) {
        entry->click_repairs[i % 2].Append(OrvaneTest::MakeRepair(REPAIR_SCANNER, 1000 * i, samples, 6).release());
    }
    return entry;
}

TEST(SuddenDeath, LeavesTheOldOrTheNewFile) {
    const OrvaneTest::TempFolder folder;
    const std::string path = folder / "Mine.mcf";
    const std::string recording = folder / "x.wav";
    AlbumInfo album;
    AlbumSet sets[2];
    RefPtr<FileHistoryEntry> entries[2];
    std::string collections[2], corrections[2];
    for (int i : {0, 1}) {
        OrvaneTest::CollectionMaker(static_cast<unsigned>(i)).AddAlbums(sets[i], 40 + 20 * i, 8);
        entries[i] = EntryWithRepairs(album, recording, 300 + 500 * i);
        ASSERT_TRUE(SaveCopy(path, sets[i]));
        ASSERT_TRUE(entries[i]->SaveCorrections());
        collections[i] = OrvaneTest::ReadBytes(path);
        corrections[i] = OrvaneTest::ReadBytes(recording + ".crd");
    }
    const auto is_one_of = [](const std::string& text, const std::string(&versions)[2]) {
        return text == versions[0] || text == versions[1];
    };

    std::mt19937 random(1);
    int n_left_in_the_middle = 0;
    for (int round = 0; round < kRounds; ++round) {
        RemoveFile(folder / "Mine_$$$.mcf");
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        for (int i = round; child == 0; ++i) {
            static_cast<void>(SaveCopy(path, sets[i % 2]));
            static_cast<void>(entries[i % 2]->SaveCorrections());
        }
        while (!FileExists(folder / "Mine_$$$.mcf")) continue;  // until it has begun
        usleep(static_cast<useconds_t>(random() % 5000));
        kill(child, SIGKILL);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);

        ASSERT_TRUE(is_one_of(OrvaneTest::ReadBytes(path), collections)) << "round " << round;
        const std::string backup = OrvaneTest::ReadBytes(path + "_bak");
        ASSERT_TRUE(backup.empty() || is_one_of(backup, collections)) << "round " << round;
        ASSERT_TRUE(is_one_of(OrvaneTest::ReadBytes(recording + ".crd"), corrections)) << "round " << round;
        if (FileExists(folder / "Mine_$$$.mcf") || FileExists(folder / "x.wav.$$$")) ++n_left_in_the_middle;
    }
    EXPECT_GT(n_left_in_the_middle, kRounds / 20) << "the kills came at the wrong moments";
}

}  // namespace
}  // namespace Orvane
