// The start of the program, and what its command line says.
#pragma once

#include <string>

#include "app/appglobals.h"
#include "foundation/outcome.h"

namespace Orvane {

// What the command line of the desktop program says. Switches start with / or -, their letter has no case, a value
// follows directly.
struct CommandLine {
    int debug_level = 0;        // /D[n]
    bool any_instance = false;  // /M
    int screen = 0;             // /S<n>: 0 Record, 1 Split Tracks, 2 Cleanup Audio, 3 Burn, 4 Batch
    int batch_limit = 0;        // /B[n]
    std::string collection;     // the second word: overrides "Steering File" for this run
};
CommandLine ParseCommandLine(int argc, const char* const* argv);

// The first steps of every start: the main thread, the hooks for errors, the settings and folders, and the closing of
// the collection when the process exits. Fails when the settings store cannot be opened.
Foundation::Outcome InitApplication();

}  // namespace Orvane
