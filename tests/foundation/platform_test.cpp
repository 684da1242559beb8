#include "foundation/platform.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <vector>

#include "foundation/filelock.h"
#include "foundation/path.h"
#include "foundation/safefile.h"
#include "scoped_environment.h"
#include "temp_folder.h"

using namespace Foundation;

namespace Tesslib {
namespace {

using OrvaneTest::ReadBytes;
using OrvaneTest::ScopedEnvironment;
using OrvaneTest::TempFolder;
using Names = std::set<std::string>;

TEST(PlatformFiles, ASecondWriterIsRefusedAndTheFileStaysWhole) {
    TempFolder folder;
    const std::string path = folder.Write("a", "contents");
    int error = 0;
    FilePtr writer(OpenFile(path, "r+b", error));
    for (const char* mode : {"wb", "r+b", "ab"}) {
        EXPECT_FALSE(OpenFile(path, mode, error)) << mode;
        EXPECT_EQ(error, EBUSY) << mode;
    }
    EXPECT_TRUE(FilePtr(OpenFile(path, "rb", error)));
    EXPECT_EQ(ReadBytes(path), "contents");
    writer.reset();
    EXPECT_TRUE(FilePtr(OpenFile(path, "wb", error)));
    EXPECT_EQ(ReadBytes(path), "");
    EXPECT_FALSE(OpenFile(folder.Path(), "rb", error));
    EXPECT_EQ(error, EISDIR);
}

TEST(Trash, KeepsFilesOfOneNameApartAndSaysWhereTheyLay) {
    TempFolder folder;
    ScopedEnvironment data("XDG_DATA_HOME", folder / "data");
    for (const char* contents : {"first", "second"}) {
        ASSERT_EQ(MoveToTrash(folder.Write("with blank/S\u00EDde 1.wav", contents)), 0);
    }
    EXPECT_EQ(ReadBytes(folder / "data/Trash/files/S\u00EDde 1.wav"), "first");
    EXPECT_EQ(ReadBytes(folder / "data/Trash/files/S\u00EDde 1.2.wav"), "second");
    const std::string info = ReadBytes(folder / "data/Trash/info/S\u00EDde 1.2.wav.trashinfo");
    EXPECT_EQ(info.find("[Trash Info]\nPath=" + (folder / "with%20blank/S%C3%ADde%201.wav") + "\nDeletionDate=20"), 0u)
        << info;
    EXPECT_EQ(MoveToTrash(folder / "none"), ENOENT);
}

TEST(Trash, FilesOfAnotherVolumeStayOnIt) {
    TempFolder home;
    const std::string other = "/dev/shm/orvane-test-" + std::to_string(getpid());
    struct stat here {};
    std::ofstream(other) << "x";
    struct stat there {};
    if (stat(home.Path().c_str(), &here) != 0 || stat(other.c_str(), &there) != 0 || here.st_dev == there.st_dev) {
        RemoveFile(other);
        GTEST_SKIP() << "no second volume";
    }
    ScopedEnvironment data("XDG_DATA_HOME", home / "data");
    EXPECT_EQ(MoveToTrash(other), 0);
    const std::string trash = "/dev/shm/.Trash-" + std::to_string(getuid());
    EXPECT_EQ(ReadBytes(trash + "/files/" + FileNameOf(other)), "x");
    RemoveFile(trash + "/files/" + FileNameOf(other));
    RemoveFile(trash + "/info/" + FileNameOf(other) + ".trashinfo");
}

TEST(FileLockTest, NamesItsHolderAndEndsWithIt) {
    TempFolder folder;
    const std::string path = folder / "x.mcf";
    folder.Write("x.mcf.lock", "process 1 on nowhere\n");  // that a killed process left behind
    {
        FileLock lock, second, elsewhere;
        EXPECT_TRUE(lock.Acquire(path));
        const Outcome refused = second.Acquire(path);
        EXPECT_TRUE(refused.Is(Kind::InUse));
        const std::string text = path + " is in use by process " + std::to_string(getpid()) + " on ";
        EXPECT_EQ(refused.Plain().find(text), 0u) << refused.Plain();
        EXPECT_TRUE(elsewhere.Acquire(folder / "none/x.mcf"));  // a folder that takes none
    }
    EXPECT_EQ(folder.Listing(), Names{});
}

TEST(SafeFile, TheNewFileStandsAndTheOldOneIsTheBackup) {
    TempFolder folder;
    const std::string path = folder / "a.mcf";
    const std::string backup = path + "_bak";
    ScopedEnvironment data("XDG_DATA_HOME", folder / "data");
    // (contents of: old, older backup) before; each may be missing.
    for (const char* old : {"", "old"}) {
        for (const char* older : {"", "older"}) {
            for (OldFile keep : {OldFile::Keep, OldFile::Drop, OldFile::Trash}) {
                const std::string temporary = folder.Write("a_$$$.mcf", "new");
                RemoveFile(path);
                RemoveFile(backup);
                if (*old) folder.Write("a.mcf", old);
                if (*older) folder.Write("a.mcf_bak", older);
                EXPECT_EQ(PutInPlace(temporary, path, keep), 0);
                EXPECT_EQ(ReadBytes(path), "new");
                EXPECT_EQ(ReadBytes(backup), *old && keep == OldFile::Keep ? old : older);
                EXPECT_FALSE(FileExists(temporary));
            }
        }
    }
    EXPECT_EQ(ReadBytes(folder / "data/Trash/files/a.2.mcf"), "old") << "once for each older backup";
}

TEST(SafeFile, AFailureLeavesTheOldFile) {
    TempFolder folder;
    const std::string path = folder.Write("a.mcf", "old");
    EXPECT_EQ(PutInPlace(folder / "none.mcf", path, OldFile::Keep), -4);
    EXPECT_EQ(ReadBytes(path), "old");

    // A folder in the place of the backup cannot be replaced: the old file goes to the Trash.
    ScopedEnvironment data("XDG_DATA_HOME", folder / "data");
    RemoveFile(path + "_bak");
    folder.Write("a.mcf_bak/inside", "");
    EXPECT_EQ(PutInPlace(folder.Write("a_$$$.mcf", "new"), path, OldFile::Keep), 0);
    EXPECT_EQ(ReadBytes(path), "new");
    EXPECT_EQ(ReadBytes(folder / "data/Trash/files/a.mcf"), "old");
}

}  // namespace
}  // namespace Tesslib
