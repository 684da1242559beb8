// The end of a program that has found a fault in itself: the user keeps what can be kept.
#pragma once

namespace Orvane {

// True while a fatal error is being handled: rules that hold on a sound program relax.
extern bool in_fatal_error_handler;

// Sends failed assertions and uncaught exceptions to the handler. It tells the user, offers to save a changed
// collection through the message host, and ends the process with code 255 (-1).
void InstallFatalErrorHooks();

// The handler itself, on any thread; it waits for no lock. Does not return.
[[noreturn]] void FatalError(const char* what);

}  // namespace Orvane
