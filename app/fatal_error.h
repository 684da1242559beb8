// The end of a program that has found a fault in itself: the user keeps what can be kept.
#pragma once

namespace Orvane {

// Sends failed assertions and uncaught exceptions to FatalError, and writes file errors to the log.
void InstallFatalErrorHooks();

// Tells the user through the message host, offers to save a changed collection, and ends the process with code 255
// (-1). On any thread; jobs are left as they are.
[[noreturn]] void FatalError(const char* what);

}  // namespace Orvane
