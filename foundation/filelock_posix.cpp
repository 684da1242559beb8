#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/platform.h"
#include "foundation/text.h"

namespace Foundation {
namespace {

// The lock is the system's on the open file, so a file left behind by a process that died stands in nobody's way.
int OpenLockFile(const char* path) {
    const int descriptor = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    return descriptor < 0 && errno == EACCES ? open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW) : descriptor;
}

bool IsStillTheFile(int descriptor, const char* path) {
    struct stat held {};
    struct stat named {};
    return fstat(descriptor, &held) == 0 && stat(path, &named) == 0 && held.st_dev == named.st_dev &&
           held.st_ino == named.st_ino;
}

std::string ReadHolder(int descriptor) {
    char text[256];
    const ssize_t length = pread(descriptor, text, sizeof text, 0);
    return length <= 0 ? std::string("another process") : ValidUtf8(Trim({text, static_cast<size_t>(length)}));
}

std::string OwnName() {
    char host[256] = "";
    gethostname(host, sizeof host - 1);
    return "process " + std::to_string(getpid()) + " on " + host;
}

}  // namespace

bool FileLock::Acquire(std::string_view path, std::string& holder) {
    return Lock(path, false, holder);
}

void FileLock::AcquireWaiting(std::string_view path) {
    std::string holder;
    Lock(path, true, holder);
}

bool FileLock::Lock(std::string_view path, bool waits, std::string& holder) {
    Release();
    lock_path = std::string(path) + ".lock";
    for (;;) {
        const int opened = OpenLockFile(lock_path.c_str());
        // Where no lock file can be made, no other process can write the file either.
        if (opened < 0) return true;
        int result;
        do {
            result = flock(opened, waits ? LOCK_EX : LOCK_EX | LOCK_NB);
        } while (result != 0 && errno == EINTR);
        if (result != 0) {
            const bool held = errno == EWOULDBLOCK;
            if (held) holder = ReadHolder(opened);
            close(opened);
            return !held;
        }
        // The holder before us may have removed the file between our open and our lock.
        if (IsStillTheFile(opened, lock_path.c_str())) {
            descriptor = opened;
            break;
        }
        close(opened);
    }
    const std::string name = OwnName() + "\n";
    if (ftruncate(descriptor, 0) != 0 || pwrite(descriptor, name.data(), name.size(), 0) < 0) {
        LogLine("The lock file cannot be given a name: " + lock_path);
    }
    return true;
}

void FileLock::Release() {
    if (descriptor < 0) return;
    unlink(lock_path.c_str());
    close(descriptor);
    descriptor = -1;
}

}  // namespace Foundation
