// What Orvane asks of the operating system, in one place. Everything else in the program is portable.
// Functions that can fail return 0 or the system's error number (errno); texts are made of it in fileerror.h.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace Foundation {

// A file's last-write time: units of 100 ns since 1601-01-01 UTC; 0 is unknown. Collections keep times in this form.
using FileTime = int64_t;
inline constexpr FileTime kFileTimeUnixEpoch = 116444736000000000;
inline constexpr FileTime kFileTimeSecond = 10000000;

struct FileInfo {
    int64_t size = 0;
    FileTime time = 0;
    bool read_only = false;
    bool is_folder = false;
};

// --- Files. Paths are UTF-8; either separator is taken where a path comes from outside (see path.h). ---
int GetFileInfo(std::string_view path, FileInfo& info);
bool FileExists(std::string_view path);
// A text that two paths share exactly where they denote the same file, by whatever names, links and folders; where no
// file is, the absolute path.
std::string FileIdentity(std::string_view path);
// mode as fopen's. When file handles run out the limit is raised by half, to 8192 at most, and the open tried again.
// A file being written is refused to other writers of this program only. Returns null and sets `error`.
FILE* OpenFile(std::string_view path, const char* mode, int& error);
// An open file that closes with its owner. A failure of that is not told, so who writes closes by hand.
struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<FILE, CloseFile>;
// Flushes buffers and makes the system put the data on the disk.
int FlushToDisk(FILE* file);
int TruncateFile(FILE* file, int64_t length);
int RenameFile(std::string_view from, std::string_view to);  // replaces `to`
// Gives a file a second name, which must be free; not every file system can.
int LinkFile(std::string_view path, std::string_view second_name);
// The same for what any program has written to a closed file; of a folder, for new names and renames in it.
int FlushPathToDisk(std::string_view path);
int RemoveFile(std::string_view path);
int SetReadOnly(std::string_view path, bool read_only);
int SetFileTime(std::string_view path, FileTime time);
int CreateFolders(std::string_view path);  // with parents; there already is success
// To the freedesktop Trash of the file's volume, from where the user can bring it back.
int MoveToTrash(std::string_view path);
int64_t FreeDiskSpace(std::string_view path);  // bytes for this user, -1 when it cannot be told

// --- Folders of the user. Made absolute, without a separator at the end. ---
std::string ConfigFolder();         // ORVANE_CONFIG_HOME, else XDG_CONFIG_HOME/orvane
std::string MachineConfigFolder();  // the first of XDG_CONFIG_DIRS that has an orvane folder, or empty
std::string DataFolder();           // XDG_DATA_HOME, which programs share
std::string DocumentsFolder();
std::string MusicFolder();
std::string TempFolder();
std::string CurrentFolder();

// --- Time, processors, threads. ---
uint32_t TickMs();  // monotonic, wraps
int64_t MonotonicNs();
int ProcessorCount();
enum class ThreadPriority { Lowest, Normal, Highest };
// Tried; false when the system refuses, which is logged once and otherwise harmless.
bool SetThreadPriority(ThreadPriority priority);
// The same for another thread of the process. Lowering is always allowed; raising it again may not be.
using SystemThread = int32_t;
SystemThread CurrentSystemThread();
bool SetThreadPriority(SystemThread thread, ThreadPriority priority);
// Starts `run` on a new thread with at least `stack_size` bytes of stack. 0 or an error number; the handle is joined
// with JoinThread.
using ThreadHandle = uintptr_t;
int StartThread(size_t stack_size, std::function<void()> run, ThreadHandle& handle);
void JoinThread(ThreadHandle handle);

// A library that the program can do without, opened while it runs. It stays open until the process ends, since threads
// of its own may still run in it. Null when it is not installed; `reason` then has the system's words.
void* OpenLibrary(const char* name, std::string& reason);
// A function or variable of it, or null.
void* LibrarySymbol(void* library, const char* name);

// Keeps the machine awake while it lives, where the system lets us; without a word where it does not.
class WakeLock {
public:
    explicit WakeLock(std::string_view reason);
    ~WakeLock();
    WakeLock(const WakeLock&) = delete;
    WakeLock& operator=(const WakeLock&) = delete;

private:
    int process = -1;
    int pipe_end = -1;
};

// The order of two texts without regard to case (simple case folding of UTF-8): below 0, 0 or above 0.
int CompareNoCase(std::string_view a, std::string_view b);

// One line to the program's log (stderr when ORVANE_LOG is set, otherwise nowhere). Any thread.
void LogLine(std::string_view text);

}  // namespace Foundation
