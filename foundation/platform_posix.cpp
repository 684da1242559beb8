// Files, folders and time.
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <fstream>

#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/text.h"

namespace Foundation {
namespace {

constexpr rlim_t kMostFileHandles = 8192;

// For calls that answer -1 and leave the reason in errno.
int ErrorOf(int result) {
    return result == 0 ? 0 : errno;
}

// Raises the limit of open files by half. False when there is nothing left to raise.
bool RaiseFileLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return false;
    const rlim_t raised = std::min({limit.rlim_cur + limit.rlim_cur / 2, kMostFileHandles, limit.rlim_max});
    if (raised <= limit.rlim_cur) return false;
    limit.rlim_cur = raised;
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

int OpenDescriptor(const char* path, int flags) {
    int descriptor;
    do {
        descriptor = open(path, flags | O_CLOEXEC, 0666);
    } while (descriptor < 0 && (errno == EINTR || ((errno == EMFILE) && RaiseFileLimit())));
    return descriptor;
}

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string HomeFolder() {
    std::string home = Environment("HOME");
    if (home.empty()) {
        if (const passwd* user = getpwuid(getuid())) home = user->pw_dir;
    }
    return AbsolutePath(home);
}

// The folder that a variable of the base directory rules names; relative ones do not count.
std::string BaseFolder(const char* variable, std::string_view below_home) {
    const std::string folder = Environment(variable);
    return IsAbsolutePath(folder) ? AbsolutePath(folder) : JoinPath(HomeFolder(), below_home);
}

// A folder such as "Music", which users can move and desktops translate: user-dirs.dirs says where it lies.
std::string UserFolder(std::string_view variable, std::string_view below_home) {
    std::ifstream file(JoinPath(BaseFolder("XDG_CONFIG_HOME", ".config"), "user-dirs.dirs"));
    for (std::string line; std::getline(file, line);) {
        const std::string_view entry = Trim(line);
        const size_t equals = entry.find('=');
        if (equals == entry.npos || Trim(entry.substr(0, equals)) != variable) continue;
        std::string_view value = Trim(entry.substr(equals + 1));
        if (value.size() < 2 || value.front() != '"' || value.back() != '"') continue;
        value = value.substr(1, value.size() - 2);
        constexpr std::string_view kHome = "$HOME";
        if (value.substr(0, kHome.size()) == kHome) {
            return AbsolutePath(JoinPath(HomeFolder(), value.substr(kHome.size())));
        }
        if (IsAbsolutePath(value)) return AbsolutePath(value);
    }
    return JoinPath(HomeFolder(), below_home);
}

}  // namespace

int GetFileInfo(std::string_view path, FileInfo& info) {
    struct stat status {};
    if (stat(std::string(path).c_str(), &status) != 0) return errno;
    info.size = status.st_size;
    info.time = kFileTimeUnixEpoch + status.st_mtim.tv_sec * kFileTimeSecond + status.st_mtim.tv_nsec / 100;
    info.read_only = (status.st_mode & S_IWUSR) == 0;
    info.is_folder = S_ISDIR(status.st_mode);
    return 0;
}

bool FileExists(std::string_view path) {
    FileInfo info;
    return GetFileInfo(path, info) == 0;
}

std::string FileIdentity(std::string_view path) {
    struct stat status {};
    if (stat(std::string(path).c_str(), &status) != 0) return AbsolutePath(path);
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

FILE* OpenFile(std::string_view path, const char* mode, int& error) {
    const std::string_view wanted(mode);
    const bool updates = wanted.find('+') != wanted.npos;
    const bool creates = wanted.front() == 'w';
    const bool writes = wanted.front() != 'r' || updates;
    int flags = !writes ? O_RDONLY : updates ? O_RDWR : O_WRONLY;
    if (wanted.front() == 'a') flags |= O_CREAT | O_APPEND;
    if (creates) flags |= O_CREAT;

    error = 0;
    const int descriptor = OpenDescriptor(std::string(path).c_str(), flags);
    if (descriptor < 0) {
        error = errno;
        return nullptr;
    }
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        error = EISDIR;
    } else if (writes && flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        error = EBUSY;
    } else if (creates && ftruncate(descriptor, 0) != 0 && S_ISREG(status.st_mode)) {
        // Emptied only now: another writer's file has to stay as it is.
        error = errno;
    }
    FILE* file = error ? nullptr : fdopen(descriptor, mode);
    if (!file) {
        if (!error) error = errno;
        close(descriptor);
    }
    return file;
}

int FlushToDisk(FILE* file) {
    if (std::fflush(file) != 0) return errno;
    // A pipe or a device has no disk behind it.
    const int error = ErrorOf(fsync(fileno(file)));
    return error == EINVAL || error == ENOTSUP ? 0 : error;
}

int FlushPathToDisk(std::string_view path) {
    const int descriptor = open(path.empty() ? "." : std::string(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return errno;
    const int error = ErrorOf(fsync(descriptor));
    close(descriptor);
    return error == EINVAL || error == ENOTSUP ? 0 : error;
}

int TruncateFile(FILE* file, int64_t length) {
    if (std::fflush(file) != 0) return errno;
    return ErrorOf(ftruncate(fileno(file), length));
}

int RenameFile(std::string_view from, std::string_view to) {
    return ErrorOf(rename(std::string(from).c_str(), std::string(to).c_str()));
}

int LinkFile(std::string_view path, std::string_view second_name) {
    return ErrorOf(link(std::string(path).c_str(), std::string(second_name).c_str()));
}

int RemoveFile(std::string_view path) {
    return ErrorOf(unlink(std::string(path).c_str()));
}

int SetReadOnly(std::string_view path, bool read_only) {
    const std::string name(path);
    struct stat status {};
    if (stat(name.c_str(), &status) != 0) return errno;
    constexpr mode_t kAnyoneWrites = S_IWUSR | S_IWGRP | S_IWOTH;
    const mode_t mode = status.st_mode & 07777;
    const mode_t wanted = read_only ? mode & ~kAnyoneWrites : mode | S_IWUSR;
    return wanted == mode ? 0 : ErrorOf(chmod(name.c_str(), wanted));
}

int SetFileTime(std::string_view path, FileTime time) {
    const int64_t since_epoch = time - kFileTimeUnixEpoch;
    int64_t rest = since_epoch % kFileTimeSecond;
    if (rest < 0) rest += kFileTimeSecond;
    const timespec written{(since_epoch - rest) / kFileTimeSecond, rest * 100};
    const timespec times[2] = {{0, UTIME_OMIT}, written};
    return ErrorOf(utimensat(AT_FDCWD, std::string(path).c_str(), times, 0));
}

int CreateFolders(std::string_view path) {
    FileInfo info;
    if (GetFileInfo(path, info) == 0) return info.is_folder ? 0 : ENOTDIR;
    const std::string parent = FolderOf(path);
    if (!parent.empty() && parent != path) {
        if (int error = CreateFolders(parent)) return error;
    }
    const int error = ErrorOf(mkdir(std::string(path).c_str(), 0777));
    // Another process may have been quicker, and "a/" has been made as "a".
    return error == EEXIST && GetFileInfo(path, info) == 0 && info.is_folder ? 0 : error;
}

int64_t FreeDiskSpace(std::string_view path) {
    struct statvfs status {};
    if (statvfs(std::string(path).c_str(), &status) != 0) return -1;
    return static_cast<int64_t>(status.f_bavail) * static_cast<int64_t>(status.f_frsize);
}

std::string ConfigFolder() {
    const std::string own = Environment("ORVANE_CONFIG_HOME");
    return own.empty() ? JoinPath(BaseFolder("XDG_CONFIG_HOME", ".config"), "orvane") : AbsolutePath(own);
}

std::string MachineConfigFolder() {
    std::string folders = Environment("XDG_CONFIG_DIRS");
    if (folders.empty()) folders = "/etc/xdg";
    for (std::string_view folder : Split(folders, ':')) {
        if (!IsAbsolutePath(folder)) continue;
        const std::string ours = AbsolutePath(JoinPath(folder, "orvane"));
        if (FileExists(ours)) return ours;
    }
    return {};
}

std::string DataFolder() {
    return BaseFolder("XDG_DATA_HOME", ".local/share");
}
std::string DocumentsFolder() {
    return UserFolder("XDG_DOCUMENTS_DIR", "Documents");
}
std::string MusicFolder() {
    return UserFolder("XDG_MUSIC_DIR", "Music");
}

std::string TempFolder() {
    const std::string folder = Environment("TMPDIR");
    return IsAbsolutePath(folder) ? AbsolutePath(folder) : "/tmp";
}

std::string CurrentFolder() {
    char folder[PATH_MAX];
    return getcwd(folder, sizeof folder) ? folder : "/";
}

int64_t MonotonicNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

uint32_t TickMs() {
    return static_cast<uint32_t>(MonotonicNs() / 1000000);
}

void LogLine(std::string_view text) {
    static const bool wanted = std::getenv("ORVANE_LOG") != nullptr;
    if (!wanted) return;
    // One call, so that the lines of several threads do not mix.
    const std::string line = std::string(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace Foundation
