#include "foundation/platform.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <vector>

#include "foundation/path.h"
#include "foundation/safefile.h"
#include "scoped_environment.h"
#include "temp_folder.h"

namespace Tesslib {
namespace {

using OrvaneTest::ReadBytes;
using OrvaneTest::ScopedEnvironment;
using OrvaneTest::TempFolder;
using Names = std::set<std::string>;

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<FILE, CloseFile>;

TEST(PlatformFiles, TimesAndAttributesComeBackAsSet) {
    TempFolder folder;
    const std::string path = folder.Write("a.wav", "12345");
    for (FileTime time : {kFileTimeUnixEpoch, kFileTimeUnixEpoch - 15, FileTime{133000000001234567}}) {
        ASSERT_EQ(SetFileTime(path, time), 0);
        FileInfo info;
        ASSERT_EQ(GetFileInfo(path, info), 0);
        EXPECT_EQ(info.time, time);
        EXPECT_EQ(info.size, 5);
    }
    for (bool read_only : {true, false}) {
        ASSERT_EQ(SetReadOnly(path, read_only), 0);
        FileInfo info;
        GetFileInfo(path, info);
        EXPECT_EQ(info.read_only, read_only);
    }
    FileInfo info;
    EXPECT_EQ(GetFileInfo(folder / "none", info), ENOENT);
}

TEST(PlatformFiles, FoldersAreMadeWithTheirParents) {
    TempFolder folder;
    EXPECT_EQ(CreateFolders(folder / "a/b/c/"), 0);
    EXPECT_EQ(CreateFolders(folder / "a/b/c"), 0);
    EXPECT_TRUE(FileExists(folder / "a/b/c"));
    folder.Write("file", "");
    EXPECT_NE(CreateFolders(folder / "file"), 0);
    EXPECT_NE(CreateFolders(folder / "file/below"), 0);
    EXPECT_GT(FreeDiskSpace(folder.Path()), 0);
    EXPECT_EQ(FreeDiskSpace(folder / "none"), -1);
}

TEST(PlatformFiles, ASecondWriterIsRefusedAndTheFileStaysWhole) {
    TempFolder folder;
    const std::string path = folder.Write("a", "contents");
    int error = 0;
    FilePtr writer(OpenFile(path, "r+b", error));
    ASSERT_TRUE(writer);
    for (const char* mode : {"wb", "r+b", "ab"}) {
        EXPECT_FALSE(OpenFile(path, mode, error)) << mode;
        EXPECT_EQ(error, EBUSY) << mode;
    }
    EXPECT_TRUE(FilePtr(OpenFile(path, "rb", error)));
    EXPECT_EQ(ReadBytes(path), "contents");
    writer.reset();
    EXPECT_TRUE(FilePtr(OpenFile(path, "wb", error)));
    EXPECT_EQ(ReadBytes(path), "");

    EXPECT_FALSE(OpenFile(folder / "none", "rb", error));
    EXPECT_EQ(error, ENOENT);
    EXPECT_FALSE(OpenFile(folder.Path(), "rb", error));
    EXPECT_EQ(error, EISDIR);
    EXPECT_FALSE(OpenFile(folder / std::string(300, 'x'), "wb", error));
    EXPECT_EQ(error, ENAMETOOLONG);
}

TEST(PlatformFiles, TheLimitOfOpenFilesIsRaisedWhenReached) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    TempFolder folder;
    const std::string path = folder.Write("a", "x");
    const rlimit few{64, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<FilePtr> files;
    for (int i = 0; i < 100; ++i) {
        int error = 0;
        files.emplace_back(OpenFile(path, "rb", error));
        ASSERT_TRUE(files.back()) << i << ": error " << error;
    }
    files.clear();
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST(PlatformFolders, FollowTheEnvironment) {
    TempFolder folder;
    folder.Write("config/user-dirs.dirs",
                 "# comment\nXDG_MUSIC_DIR=\"$HOME/Musik\"\nXDG_DOCUMENTS_DIR=\"/srv/docs/\"\n");
    ScopedEnvironment home("HOME", folder.Path());
    ScopedEnvironment config("XDG_CONFIG_HOME", folder / "config");
    ScopedEnvironment machine("XDG_CONFIG_DIRS", "relative:" + (folder / "none") + ":" + (folder / "xdg"));
    ScopedEnvironment own("ORVANE_CONFIG_HOME", "");
    EXPECT_EQ(ConfigFolder(), folder / "config/orvane");
    EXPECT_EQ(MusicFolder(), folder / "Musik");
    EXPECT_EQ(DocumentsFolder(), "/srv/docs");
    EXPECT_EQ(MachineConfigFolder(), "");
    CreateFolders(folder / "xdg/orvane");
    EXPECT_EQ(MachineConfigFolder(), folder / "xdg/orvane");
    ScopedEnvironment moved("ORVANE_CONFIG_HOME", "/elsewhere/");
    EXPECT_EQ(ConfigFolder(), "/elsewhere");
    ScopedEnvironment bare("XDG_CONFIG_HOME", "not absolute");
    EXPECT_EQ(MusicFolder(), folder / "Music");
}

TEST(Trash, KeepsFilesOfOneNameApartAndSaysWhereTheyLay) {
    TempFolder folder;
    ScopedEnvironment data("XDG_DATA_HOME", folder / "data");
    for (const char* contents : {"first", "second"}) {
        ASSERT_EQ(MoveToTrash(folder.Write("with blank/S\u00EDde 1.wav", contents)), 0);
    }
    ASSERT_EQ(MoveToTrash(folder / "with blank"), 0);
    EXPECT_EQ(ReadBytes(folder / "data/Trash/files/S\u00EDde 1.wav"), "first");
    EXPECT_EQ(ReadBytes(folder / "data/Trash/files/S\u00EDde 1.2.wav"), "second");
    EXPECT_TRUE(FileExists(folder / "data/Trash/files/with blank"));
    const std::string info = ReadBytes(folder / "data/Trash/info/S\u00EDde 1.2.wav.trashinfo");
    EXPECT_EQ(info.find("[Trash Info]\nPath=" + (folder / "with%20blank/S%C3%ADde%201.wav") + "\nDeletionDate=20"), 0u)
        << info;
    EXPECT_EQ(MoveToTrash(folder / "none"), ENOENT);
    EXPECT_EQ(folder.Listing(), Names{"data"});
}

TEST(Trash, FilesOfAnotherVolumeStayOnIt) {
    TempFolder home;
    const std::string other = "/dev/shm";
    struct stat here {};
    struct stat there {};
    if (stat(home.Path().c_str(), &here) != 0 || stat(other.c_str(), &there) != 0 || here.st_dev == there.st_dev ||
        access(other.c_str(), W_OK) != 0) {
        GTEST_SKIP() << "no second volume";
    }
    const std::string trash = other + "/.Trash-" + std::to_string(getuid());
    const bool had_trash = FileExists(trash);
    const std::string name = "orvane-test-" + std::to_string(getpid());
    std::ofstream(other + "/" + name) << "x";
    ScopedEnvironment data("XDG_DATA_HOME", home / "data");
    EXPECT_EQ(MoveToTrash(other + "/" + name), 0);
    EXPECT_EQ(ReadBytes(trash + "/files/" + name), "x");
    EXPECT_NE(ReadBytes(trash + "/info/" + name + ".trashinfo").find("\nPath=" + name + "\n"), std::string::npos);
    DeleteFile(trash + "/files/" + name);
    DeleteFile(trash + "/info/" + name + ".trashinfo");
    if (!had_trash) std::filesystem::remove_all(trash);
}

TEST(FileLockTest, NamesItsHolderAndEndsWithIt) {
    TempFolder folder;
    const std::string path = folder / "x.mcf";
    std::string holder;
    {
        FileLock lock;
        EXPECT_TRUE(lock.Acquire(path, holder));
        FileLock second;
        EXPECT_FALSE(second.Acquire(path, holder));
        EXPECT_EQ(holder.find("process " + std::to_string(getpid()) + " on "), 0u) << holder;
    }
    EXPECT_EQ(folder.Listing(), Names{});
    // One that a killed process left behind, and a folder that takes none.
    folder.Write("x.mcf.lock", "process 1 on nowhere\n");
    FileLock lock;
    EXPECT_TRUE(lock.Acquire(path, holder));
    FileLock elsewhere;
    EXPECT_TRUE(elsewhere.Acquire(folder / "none/x.mcf", holder));
}

TEST(FileLockTest, KeepsTwoProcessesApart) {
    TempFolder folder;
    const std::string counter = folder.Write("count", "0");
    constexpr int kProcesses = 4;
    constexpr int kRounds = 50;
    std::vector<pid_t> children;
    for (int i = 0; i < kProcesses; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            for (int round = 0; round < kRounds;) {
                FileLock lock;
                std::string holder;
                if (!lock.Acquire(counter, holder)) {
                    usleep(50);
                    continue;
                }
                const int value = std::stoi(ReadBytes(counter));
                std::ofstream(counter) << value + 1;
                ++round;
            }
            _exit(0);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(ReadBytes(counter), std::to_string(kProcesses * kRounds));
}

TEST(Threads, AreMadeWithRoomAndJoined) {
    ThreadHandle handle = 0;
    int result = 0;
    ASSERT_EQ(StartThread(
                  1,
                  [&] {
                      volatile char room[512 * 1024];
                      room[0] = 1;
                      result = room[0];
                  },
                  handle),
              0);
    JoinThread(handle);
    EXPECT_EQ(result, 1);
    EXPECT_GE(ProcessorCount(), 1);
    // Whatever the system answers, neither of them may fail the program.
    WakeLock awake("testing");
}

TEST(SafeFile, TemporaryNameGoesBeforeTheExtension) {
    EXPECT_EQ(TemporaryName("/a.b/Name.mcf"), "/a.b/Name_$$$.mcf");
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(TemporaryName("/a.b/Name"), "extension");
}

TEST(SafeFile, TheNewFileStandsAndTheOldOneIsTheBackup) {
    TempFolder folder;
    const std::string path = folder / "a.mcf";
    const std::string backup = path + "_bak";
    // (contents of: old, older backup) before; each may be missing.
    for (const char* old : {"", "old"}) {
        for (const char* older : {"", "older"}) {
            for (OldFile keep : {OldFile::Keep, OldFile::Drop}) {
                const std::string temporary = folder.Write("a_$$$.mcf", "new");
                DeleteFile(path);
                DeleteFile(backup);
                if (*old) folder.Write("a.mcf", old);
                if (*older) folder.Write("a.mcf_bak", older);
                EXPECT_EQ(ReplaceFile(temporary, path, backup, keep), 0);
                EXPECT_EQ(ReadBytes(path), "new");
                EXPECT_EQ(ReadBytes(backup), !*old ? older : keep == OldFile::Keep ? old : "");
                EXPECT_FALSE(FileExists(temporary));
            }
        }
    }
}

TEST(SafeFile, AFailureLeavesTheOldFile) {
    TempFolder folder;
    const std::string path = folder.Write("a.mcf", "old");
    EXPECT_EQ(ReplaceFile(folder / "none.mcf", path, path + "_bak", OldFile::Keep), -4);
    EXPECT_EQ(ReadBytes(path), "old");

    // A folder in the place of the backup cannot be replaced: the old file goes to the Trash.
    ScopedEnvironment data("XDG_DATA_HOME", folder / "data");
    folder.Write("busy/inside", "");
    EXPECT_EQ(ReplaceFile(folder.Write("a_$$$.mcf", "new"), path, folder / "busy", OldFile::Keep), 0);
    EXPECT_EQ(ReadBytes(path), "new");
    EXPECT_EQ(ReadBytes(folder / "data/Trash/files/a.mcf"), "old");
}

TEST(SafeFile, AFolderThatCannotBeWrittenChangesNothing) {
    TempFolder folder;
    TempFolder writable;
    const std::string path = folder.Write("a.mcf", "old");
    const std::string temporary = writable.Write("a_$$$.mcf", "new");
    ASSERT_EQ(chmod(folder.Path().c_str(), 0555), 0);
    ASSERT_EQ(chmod(writable.Path().c_str(), 0777), 0);
    // The superuser may write everywhere, so the check is made by a process without privileges.
    const pid_t child = fork();
    if (child == 0) {
        if (getuid() == 0 && setuid(65534) != 0) _exit(1);
        setenv("XDG_DATA_HOME", writable.Path().c_str(), 1);
        _exit(ReplaceFile(temporary, path, path + "_bak", OldFile::Keep) == -4 ? 0 : 2);
    }
    int status = 1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    chmod(folder.Path().c_str(), 0755);
    EXPECT_EQ(folder.Listing(), Names{"a.mcf"});
    EXPECT_EQ(ReadBytes(path), "old");
    EXPECT_FALSE(FileExists(temporary));
}

}  // namespace
}  // namespace Tesslib
