// Entering an audio file as the recording of an album's side.
#pragma once

#include <functional>
#include <string>

#include "collection/dataobjects.h"

namespace Orvane {

enum class PlaceOfFile {
    WhereItIs,        // the entry points at the user's own file
    RecordingsFolder  // it is copied there, under the name of its album and side
};

// False, with the reason as last error, for a name that a collection's file cannot hold: one with a line break, a tab
// or another control character, or that is not UTF-8.
bool CheckRecordingName(const std::string& file);

// Enters `file` at the end of the history of side `side` (from 1) and makes it the recording in use; the side is made
// when the album has none of that number. The album's status becomes "Recorded" where it was less. Null on failure,
// with the reason as last error and the album as it was, or with none when `progress` (per mille of a copy) cancelled.
// The live collection's albums; main thread.
FileHistoryEntry* AddRecording(AlbumInfo& album, int side, const std::string& file, PlaceOfFile place,
                               const std::function<bool(int per_mille)>& progress = {});

}  // namespace Orvane
