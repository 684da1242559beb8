// A lock that two processes share, so that they do not work on one file at once.
#pragma once

#include <string>
#include <string_view>

#include "foundation/functionref.h"
#include "foundation/outcome.h"

namespace Foundation {

// Holds an exclusive lock named by a path until destroyed. The lock file is `path` + ".lock" and is removed with the
// lock; it names its holder. A lock file that a dead process left behind is no obstacle, and where none can be made the
// lock counts as taken: no other process can write there either.
class FileLock {
public:
    FileLock() = default;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock() { Release(); }

    // Kind::InUse when another process, or another FileLock of this one, holds it; the text says who ("process 1234 on
    // host").
    Outcome Acquire(std::string_view path);
    // Waits until it is free. `go_on` is asked several times a second; when it says no, the wait ends as cancelled.
    Outcome AcquireWaiting(std::string_view path, FunctionRef<bool()> go_on);
    void Release();

private:
    int descriptor = -1;
    std::string lock_path;
};

}  // namespace Foundation
