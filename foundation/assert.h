// Assertions: the program's own invariants. A failed one is a fault of ours and ends the process;
// what a file, a device or a user can do wrong gets a message instead.
#pragma once

#include <atomic>
#include <string>

namespace Foundation {

// Set by whoever handles a fatal error, which may be on any thread: checks of order are off from then on.
extern std::atomic<bool> in_fatal_error_handler;

// What the hook tells the assertion to do next. `End` ends the process when the hook returns.
enum class AssertAnswer { End = 0, GoOn = 2 };

// Called with the condition's source text, the source file and the line, on the thread that failed.
using AssertHook = AssertAnswer (*)(const char* condition, const char* file, int line);

// Replaces the hook (null restores the built-in one, which writes to stderr). Returns the one before. Any thread.
AssertHook SetAssertHook(AssertHook hook);

// What a failed condition is reported as: the condition, the file's name, the line, and the program's version number.
std::string AssertText(const char* condition, const char* file, int line);

// Reports a failed condition; returns only when the hook answers GoOn.
void Assert(const char* condition, const char* file, int line);

}  // namespace Foundation

// Stays on in released builds: the checks are cheap, and damage that spreads is not.
#define ORVANE_ASSERT(condition) \
    (static_cast<bool>(condition) ? void(0) : ::Foundation::Assert(#condition, __FILE__, __LINE__))
