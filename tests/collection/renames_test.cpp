// Recordings that change their names with their album or their collection, in a process that dies before any of its
// steps.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "collection/albumset.h"
#include "collection/steering_file.h"
#include "foundation/platform.h"
#include "temp_folder.h"

namespace {

constexpr int kDied = 77;

// The steps that are left until the process dies; below 0 it lives on.
int n_steps_left = -1;

void Step() {
    if (n_steps_left >= 0 && n_steps_left-- == 0) _exit(kDied);
}

}  // namespace

// In the place of the C library's: what changes names, and what waits for the disk.
extern "C" int rename(const char* from, const char* to) noexcept {
    Step();
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}
extern "C" int unlink(const char* path) noexcept {
    Step();
    return unlinkat(AT_FDCWD, path, 0);
}
extern "C" int fsync(int descriptor) {
    Step();
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace Orvane {
namespace {

using Foundation::FileExists;
using OrvaneTest::ReadBytes;
using OrvaneTest::TempFolder;

Foundation::Outcome GiveArtist(AlbumInfo& album, const char* artist) {
    AlbumDetails details = album.Details();
    details.artist = artist;
    return ChangeDetails(album, details);
}

// An album with a recording of its own and one that was entered from the collection's folder.
void MakeCollection(const TempFolder& folder) {
    AlbumSet set(folder / "Mine.mcf");
    auto* album = new AlbumInfo;
    set.albums.Append(album);
    album->set = &set;
    album->artist = "Old";
    album->title = "T";
    for (const char* contents : {"own", "entered"}) {
        AlbumSide* side = album->GetSide(-1, true);
        side->AddRecording(Foundation::MakeRef<FileHistoryEntry>(album, side));
        FileHistoryEntry& entry = *side->newest;
        entry.name.extension = ".wav";
        if (contents == std::string("entered")) entry.name.external_file = folder / "Mine/entered.wav";
        folder.Write(entry.GetPath(), contents);
    }
    folder.Write(album->Recordings()[0]->CorrectionsPath(), "repairs");
    ASSERT_TRUE(SaveCopy(set.path, set));
}

// Everything that changes names, one after the other; the exit code.
int ChangeNames(const std::string& path) {
    if (!OpenCollection(path)) return 1;
    AlbumInfo& album = *gAlbumSet->albums.First();
    for (const char* artist : {"New", "Newer"}) {
        if (!GiveArtist(album, artist)) return 2;
    }
    if (!SaveCollection(gAlbumSet->path, *gAlbumSet)) return 3;
    if (!GiveArtist(album, "Newest") || !GiveArtist(album, "Old")) return 4;
    if (!RenameCollection("Yours") || !GiveArtist(album, "Last")) return 5;
    return SaveCollection(gAlbumSet->path, *gAlbumSet) ? 0 : 6;
}

// One death is enough to part a recording from its album, so every one is tried.
TEST(SuddenDeathOfRenames, LeavesEveryRecordingWithItsAlbum) {
    std::set<std::string> artists;
    int n_deaths = 0;
    for (;; ++n_deaths) {
        const TempFolder folder;
        MakeCollection(folder);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            n_steps_left = n_deaths;
            _exit(ChangeNames(folder / "Mine.mcf"));
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == kDied)) << status;
        const std::string name = FileExists(folder / "Mine.mcf") ? "Mine" : "Yours";
        // Once only read, as an archive's script would look at it first, and once to go on with.
        for (bool reads_only : {true, false}) {
            std::unique_ptr<AlbumSet> second;
            auto opened = OpenCollection(folder / (name + ".mcf"), reads_only ? &second : nullptr);
            ASSERT_TRUE(opened) << opened.GetOutcome().Plain();
            const AlbumInfo& album = *(*opened)->albums.First();
            artists.insert(album.artist);
            const std::vector<FileHistoryEntry*> recordings = album.Recordings();
            ASSERT_EQ(ReadBytes(recordings[0]->GetPath()), "own") << recordings[0]->GetPath() << ", step " << n_deaths;
            ASSERT_EQ(ReadBytes(recordings[0]->CorrectionsPath()), "repairs") << "step " << n_deaths;
            ASSERT_EQ(ReadBytes(recordings[1]->GetPath()), "entered")
                << recordings[1]->GetPath() << ", step " << n_deaths;
        }
        ASSERT_TRUE(SaveCollection(gAlbumSet->path, *gAlbumSet));
        EXPECT_FALSE(FileExists(gAlbumSet->path + "_renames"));
        ASSERT_TRUE(CloseCollection());
        if (WEXITSTATUS(status) == 0) break;
    }
    EXPECT_EQ(artists, (std::set<std::string>{"Last", "Newer", "Old"})) << "what was saved counts, at every step";
    EXPECT_GT(n_deaths, 20);
}

TEST(Renames, AJournalThatIsOutOfDateChangesNothing) {
    const TempFolder folder;
    MakeCollection(folder);
    const std::string path = folder / "Mine.mcf";
    ASSERT_TRUE(OpenCollection(path));
    ASSERT_TRUE(GiveArtist(*gAlbumSet->albums.First(), "New"));
    const std::string journal = ReadBytes(path + "_renames");
    EXPECT_NE(journal.find("Old~T~side1.wav"), std::string::npos);
    ASSERT_TRUE(SaveCollection(path, *gAlbumSet));
    ASSERT_TRUE(CloseCollection());
    folder.Write("Mine.mcf_renames", journal);  // the process died before it could remove it
    ASSERT_TRUE(OpenCollection(path));
    EXPECT_EQ(ReadBytes(gAlbumSet->albums.First()->Recordings()[0]->GetPath()), "own");
    EXPECT_FALSE(FileExists(path + "_renames"));
    ASSERT_TRUE(CloseCollection());
}

}  // namespace
}  // namespace Orvane
