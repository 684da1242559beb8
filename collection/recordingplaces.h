// The recordings of an album: all of them, and where those in use lie on its time line.
#pragma once

#include <vector>

#include "collection/dataobjects.h"
#include "collection/renamejournal.h"
#include "foundation/outcome.h"

namespace Orvane {

// Every recording of every side, in use or not.
std::vector<FileHistoryEntry*> AllRecordings(const AlbumInfo& album);

// Recordings that lie in a folder of the collection are named by their full path when they were entered from there.
// Gives them the names that they have once the folder has another one; true if there were any.
bool MoveExternalFiles(const AlbumSet& set, const FileRename& folder);

// The place of a recording in use on the album's time line.
struct RecordingPlace {
    FileHistoryEntry* entry;
    int side;           // from 1
    int64_t start = 0;  // ticks
    int64_t end = 0;
    Foundation::Outcome opened;  // where it could not be, its length counts as 0
};

// Opens each recording in use for a moment, so that its length and rate are known from here on, and lays them end to
// end with their cuts taken out. Main thread.
std::vector<RecordingPlace> PlaceRecordings(AlbumInfo& album);

inline constexpr int64_t kUnknownEnd = int64_t{1} << 50;  // ticks; behind the end of any recording

// The end of an album's time line; kUnknownEnd while a recording is missing, and without any.
int64_t EndOfRecordings(AlbumInfo& album);

}  // namespace Orvane
