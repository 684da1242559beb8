// Failures of files in words: the one place where the system's error numbers become messages and codes.
#pragma once

#include <string>
#include <string_view>

#include "foundation/lasterror.h"
#include "foundation/outcome.h"

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

// What went wrong with the file or folder `path`, from the system's `error` (an errno value).
Outcome CannotOpen(std::string_view path, int error);  // Kind::InUse, else Kind::CannotOpen
Outcome CannotOpenForWriting(std::string_view path, int error);
Outcome CannotRead(std::string_view path, int error);  // this and the next three: Kind::ReadWrite
Outcome CannotWrite(std::string_view path, int error);
Outcome CannotRename(std::string_view from, std::string_view to, int error);
Outcome CannotDelete(std::string_view path, int error);
Outcome CannotCreateFolder(std::string_view path, int error);  // Kind::CannotOpen

// The same for streams, which report by codes: each makes it the thread's last error and returns its StreamError.
int FailOpen(std::string_view path, int error);
int FailOpenForWriting(std::string_view path, int error);
int FailRead(std::string_view path, int error);
int FailWrite(std::string_view path, int error);
int FailRename(std::string_view from, std::string_view to, int error);
int FailDelete(std::string_view path, int error);
int FailCreateFolder(std::string_view path, int error);
int FailContents(std::string text);  // ERR_CONTENTS, with a text of the caller's

// Called with every failure that the functions above make, as an error number and a text, on the thread that met it.
using FileErrorHook = void (*)(const LastError& error);
void SetFileErrorHook(FileErrorHook hook);  // null: none. Any thread.

// The system's own words for an errno value.
std::string SystemErrorText(int error);

}  // namespace Foundation
