// Failures of files in words: the one place where the system's error numbers become messages and codes.
#pragma once

#include <string>
#include <string_view>

#include "foundation/lasterror.h"

namespace Foundation {

// Results of file and stream operations. A count or 0 is success; for every other value the text is the thread's
// last error.
enum StreamError : int {
    ERR_CANNOT_OPEN = -2,
    ERR_IN_USE = -3,
    ERR_IO = -4,
    ERR_CONTENTS = -5,
    ERR_LIMIT = -8,  // no more frames, or the size limit of a growing file
};

// Each stores its message for `path` with the system's `error` (an errno value) and returns the code that goes with it.
int FailOpen(std::string_view path, int error);  // ERR_CANNOT_OPEN or ERR_IN_USE
int FailOpenForWriting(std::string_view path, int error);
int FailRead(std::string_view path, int error);                         // ERR_IO
int FailWrite(std::string_view path, int error);                        // ERR_IO
int FailRename(std::string_view from, std::string_view to, int error);  // ERR_IO
int FailDelete(std::string_view path, int error);                       // ERR_IO
int FailCreateFolder(std::string_view path, int error);                 // ERR_CANNOT_OPEN
int FailContents(std::string text);                                     // ERR_CONTENTS, with a text of the caller's

// Called with every failure of the functions above, as the last error that it has become, on the thread that met it.
using FileErrorHook = void (*)(const LastError& error);
void SetFileErrorHook(FileErrorHook hook);  // null: none. Any thread.

// The system's own words for an errno value.
std::string SystemErrorText(int error);

}  // namespace Foundation
