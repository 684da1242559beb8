// The journal of renames that a collection's file does not know of yet. It stands beside that file as
// "<collection>_renames" from the first such rename to the next save, so that after a crash the next opening finds
// every recording under the name that the file has for it. docs/collection-format.md describes it. Main thread.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/outcome.h"

namespace Orvane {

struct AlbumSet;

// Full paths.
struct FileRename {
    std::string from, to;
};

// Enters renames of files that are about to be done, in their order; what is entered and then not done does no harm. On
// success they are on the disk. Nothing to do for a collection that has no file yet.
Foundation::Outcome EnterRenames(AlbumSet& set, std::span<const FileRename> renames);

// For a collection file that is about to be renamed from `old_path` to `new_path`: its recordings go along from one
// folder to the other.
Foundation::Outcome EnterFolderMove(std::string_view old_path, std::string_view new_path, const FileRename& folder);

// The collection's file has been written, and holds all names as they are now.
void ForgetRenames(std::string_view collection_path);

struct HealedRenames {
    std::vector<FileRename> moved_folders;  // what the collection's file calls by its old name
    bool unsaved = false;                   // the journal stays until the collection is saved
};

// Before a collection is read: takes back the renames of files that its file does not know of, and finishes the move of
// its folder. Where the file has been written since, the journal is out of date and goes.
HealedRenames HealRenames(const std::string& collection_path);

}  // namespace Orvane
