// Saving the collection: at the user's wish, by itself, and before the program ends. Main thread.
#pragma once

#include <string>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"

namespace Orvane {

enum class ReportErrors { No, Yes };

// SaveCollection with its question about a file that is marked read-only: "no" is a failure to open it, and with
// ReportErrors::Yes the user can also give up (Kind::Cancelled), and is shown any other failure.
Foundation::Outcome SaveAsking(const std::string& path, AlbumSet& set, ReportErrors report);

// The same; a failure is shown with the offer to try again. Kind::Cancelled when the user gives up what needs the save,
// any other failure when the user goes on without.
Foundation::Outcome SaveWithRetry(const std::string& path, AlbumSet& set);

// The Save command: the same, and a word to the user ("Confirm Collection Saved") when it is done.
Foundation::Outcome SaveWorkInProgress(const std::string& path, AlbumSet& set);

// Saves the live collection without a word. A file that is marked read-only is left alone.
Foundation::Outcome SaveUnasked();

// Starts the autosave test, once a minute, on the main loop.
void StartAutosave();
// One test: saves without asking when the collection has been changed for long enough. True if it saved.
bool AutosaveTest();

}  // namespace Orvane
