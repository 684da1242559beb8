// A process that saves over and over is killed at random moments; what it leaves behind is always whole.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>

#include "collection/crd_file.h"
#include "collection/steering_file.h"
#include "collections.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

constexpr int kRounds = 200;

RefPtr<FileHistoryEntry> EntryWithRepairs(AlbumInfo& album, const std::string& recording, int n_repairs) {
    auto entry = MakeRef<FileHistoryEntry>(&album, nullptr);
    entry->flags |= FHE_EXTERNAL_FILE;
    entry->external_file = recording;
    for (int i = 0; i < n_repairs; ++i) {
        auto repair = std::make_unique<ClickRepair>(REPAIR_SCANNER, 1000 * i, 1000 * i + 60, int16_t{6});
        repair->SetSamples(std::make_unique<int16_t[]>(60));
        entry->click_repairs[i % 2].Append(repair.release());
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
        ASSERT_TRUE(SaveCopy(path, sets[i], false));
        ASSERT_EQ(entries[i]->SaveCorrections(), 0);
        collections[i] = OrvaneTest::ReadBytes(path);
        corrections[i] = OrvaneTest::ReadBytes(recording + ".crd");
    }
    const auto is_one_of = [](const std::string& text, const std::string(&versions)[2]) {
        return text == versions[0] || text == versions[1];
    };

    std::mt19937 random(1);
    int n_left_in_the_middle = 0;
    for (int round = 0; round < kRounds; ++round) {
        int pipe_ends[2];
        ASSERT_EQ(pipe(pipe_ends), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = round;; ++i) {
                if (write(pipe_ends[1], "", 1) != 1) _exit(1);
                SaveCopy(path, sets[i % 2], false);
                entries[i % 2]->SaveCorrections();
            }
        }
        char begun = 0;
        ASSERT_EQ(read(pipe_ends[0], &begun, 1), 1);
        usleep(static_cast<useconds_t>(random() % 5000));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));
        close(pipe_ends[0]);
        close(pipe_ends[1]);

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
