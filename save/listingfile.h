// Writing a sheet or a listing as a file of the user's.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "collection/dataobjects.h"
#include "foundation/textfile.h"
#include "save/keptfiles.h"

namespace Orvane {

enum class ListingWritten {
    Failed,  // the reason is the last error
    Written,
    Unchanged,  // the file held the same before
};

// Writes `text`, whose lines end with "\n", to `path` through a temporary file, so that at every moment the old file or
// the new one is there, whole. Folders are made; nothing is written over a file of `kept`, and a name that is too long
// is told. A path without an extension gets `extension`. With `is_ours` a file that it says no to goes to the Trash.
// Main thread.
ListingWritten WriteListingFile(const KeptFiles& kept, std::string& path, std::string_view extension,
                                std::string_view text, Foundation::Encoding encoding, Foundation::LineEnds line_ends,
                                bool (*is_ours)(const std::string& path) = nullptr);

struct ListingDone {
    AlbumInfo* album;
    std::string path;
    std::string error;  // in mark-up; empty when the file stands
};

// Calls `write` for each album with the path that `name` gives, as one job with lines in the progress log; a failure,
// whose reason is the last error, is told in red and the job goes on. An album without a path is left out; where albums
// share one, all but the first get " (2)" and so on. Main thread; Progress::Begin and End are the caller's.
std::vector<ListingDone> WriteForEachAlbum(const std::vector<AlbumInfo*>& albums,
                                           const std::function<std::string(const AlbumInfo&)>& name,
                                           const std::function<ListingWritten(AlbumInfo&, std::string& path)>& write);

// "Artist - Title" and the extension, made safe as a file name.
std::string ListingFileName(const AlbumInfo& album, std::string_view extension);

// A text on one line: control characters become blanks.
std::string OneLine(std::string_view text);

}  // namespace Orvane
