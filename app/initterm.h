// Start, stop, and what guards the collection in between: autosave, the busy query, the offer to save.
#pragma once

#include <string>
#include <string_view>

#include "app/appglobals.h"

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
// the collection when the process exits. False when the settings store cannot be opened: last error.
bool InitApplication();

// Starts the autosave test, once a minute, on the main loop.
void StartAutosave();
// One test: saves without asking when the collection has been changed for long enough. True if it saved.
bool AutosaveTest();

// True if an action that needs the collection quiet may go ahead. Listeners of event 6 can veto; open recordings and
// background jobs make it ask, but for BusyHibernate and ids below 1, which nothing else stops. From any thread.
bool IsBusyQuery(int message_id);

// The question before the program ends, or sleeps: busy query, saving of a changed collection, and with
// `close_collection` its closing. False stops the quit. A job whose call is still waiting for its threads is cancelled
// instead of closed under: that is false too, and to be asked again when it has ended. Main thread.
bool CanQuit(bool reason_is_hibernate, bool close_collection);

// Saves `album_set` to `path`; a failure is shown with the offer to try again. NotSaved: the user goes on without.
enum class SaveOutcome { Saved, NotSaved, Cancelled };
SaveOutcome SaveWithRetry(const std::string& path, AlbumSet* album_set);
// The Save command: the same, and a word to the user ("Confirm Collection Saved") when it is done. True if saved.
bool SaveWorkInProgress(const std::string& path, AlbumSet* album_set);

}  // namespace Orvane
