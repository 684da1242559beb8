// Opening, saving, renaming and closing collections. Main thread. Nothing keeps the file open in between.
#pragma once

#include <memory>
#include <string_view>

#include "collection/dataobjects.h"

namespace Orvane {

// Opens the collection at `path` and makes it the live one; the one before, which the caller has saved, is closed. Null
// on failure, which has been shown and is the last error; the live collection then stays. When the user declines a file
// of a newer version there is no text, and no collection is open. With `second_set_out` the file is only read, in
// silence, and the live collection is left alone.
AlbumSet* OpenCollection(std::string_view path, std::unique_ptr<AlbumSet>* second_set_out = nullptr);

// Writes `set` to `path` so that at every moment the old or the new file is there, whole; the old one stays as
// "<path>_bak". True when it was saved, or when the user gave up at the question about a read-only file. A failure is
// the last error and is shown with `report_errors`.
bool SaveCollection(std::string_view path, AlbumSet& set, bool report_errors);

// The same, but the live collection keeps its own file and stays as dirty as it was.
bool SaveCopy(std::string_view path, const AlbumSet& set, bool report_errors);

// Gives the live collection, its file and its recordings folder another name in the same folder. What was done is
// undone when a step fails, which is shown.
bool RenameCollection(std::string_view new_name);

// Stores which album to come back to, stops what works on the collection (event 5) and destroys it. Does nothing when
// none is open.
void CloseCollection();

// Checks the files of all recordings of the live collection; event 55 when anything changed.
void RefreshInputFiles();

// --- What autosave goes by. ---
extern bool gAutosaveAllowed;    // a collection is open and no save is going on
extern uint32_t gLastSavedTick;  // TickMs of the last load or save that succeeded
extern int gModalNesting;        // modal dialogs in progress: no current album is stored meanwhile, nor autosaved

inline constexpr int kRecentFiles = 10;

}  // namespace Orvane
