#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include "foundation/filelock.h"
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

Outcome FileLock::Acquire(std::string_view path) {
    Release();
    lock_path = std::string(path) + ".lock";
    for (;;) {
        const int opened = OpenLockFile(lock_path.c_str());
        if (opened < 0) return {};
        int result;
        do {
            result = flock(opened, LOCK_EX | LOCK_NB);
        } while (result != 0 && errno == EINTR);
        if (result != 0) {
            const bool held = errno == EWOULDBLOCK;
            const std::string holder = held ? ReadHolder(opened) : std::string();
            close(opened);
            if (!held) return {};
            return Outcome::Fail(Kind::InUse, Msg::InUseBy, path, holder).About(path);
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
    return {};
}

Outcome FileLock::AcquireWaiting(std::string_view path, FunctionRef<bool()> go_on) {
    using std::chrono::milliseconds;
    for (milliseconds pause(1);; pause = std::min(pause * 2, milliseconds(50))) {
        Outcome outcome = Acquire(path);
        if (!outcome.Is(Kind::InUse)) return outcome;
        if (!go_on()) return Outcome::Cancelled();
        std::this_thread::sleep_for(pause);
    }
}

void FileLock::Release() {
    if (descriptor < 0) return;
    unlink(lock_path.c_str());
    close(descriptor);
    descriptor = -1;
}

}  // namespace Foundation
