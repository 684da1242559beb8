// Opening, saving, renaming and closing collections. Main thread. Nothing keeps the file open in between; while a set
// that was opened lives, it holds the lock by which other programs know that somebody works on the collection.
#pragma once

#include <memory>
#include <string_view>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"

namespace Orvane {

// Opens the collection at `path` and makes it the live one; the one before, which the caller has saved, is closed. On
// failure the live collection stays. Kind::NeedsAnswer for a file of a newer version, Kind::InUse when somebody else
// has the collection open. With `second_set_out` the file is only read, whatever its version, and the live collection
// is left alone. Renames that a crash left half done are healed first (see renamejournal.h).
Foundation::Result<AlbumSet*> OpenCollection(std::string_view path, std::unique_ptr<AlbumSet>* second_set_out = nullptr,
                                             Foundation::Answered answered = Foundation::Answered::No);

// Writes a new, empty collection, with the folders above it. Refused where there is a file already.
Foundation::Outcome CreateCollection(std::string_view path);

// Writes `set` to `path` so that at every moment the old or the new file is there, whole; the old one stays as
// "<path>_bak". Kind::NeedsAnswer for a file that is marked read-only.
Foundation::Outcome SaveCollection(std::string_view path, AlbumSet& set,
                                   Foundation::Answered answered = Foundation::Answered::No);

// The same, but the live collection keeps its own file and stays as dirty as it was.
Foundation::Outcome SaveCopy(std::string_view path, const AlbumSet& set,
                             Foundation::Answered answered = Foundation::Answered::No);

// Gives the live collection, its file and its recordings folder another name in the same folder. What has not been
// saved is saved first. What was done is undone when a step fails.
Foundation::Outcome RenameCollection(std::string_view new_name);

// Stores which album to come back to, ends what works on the collection in the background (event 5) and destroys it.
// Kind::Busy, and nothing done, while a job works on it whose call is still on the stack: that has to end first. Does
// nothing when none is open.
Foundation::Outcome CloseCollection();

// Checks the files of all recordings of the live collection; event 55 when anything changed.
void RefreshInputFiles();

// --- What autosave goes by. ---
extern bool gAutosaveAllowed;    // a collection is open and no save is going on
extern uint32_t gLastSavedTick;  // TickMs of the last load or save that succeeded
extern int gModalNesting;        // modal dialogs in progress: no current album is stored meanwhile, nor autosaved

inline constexpr int kRecentFiles = 10;

}  // namespace Orvane
