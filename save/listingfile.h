// Writing a sheet or a listing as a file of the user's.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"
#include "foundation/textfile.h"
#include "save/keptfiles.h"

namespace Orvane {

struct WrittenListing {
    std::string path;  // absolute
    bool changed;      // otherwise the file held the same before
};

// Writes `text`, whose lines end with "\n", to `path` through a temporary file, so that at every moment the old file or
// the new one is there, whole. Folders are made; nothing is written over a file of `kept`. A path without an extension
// gets `extension`. With `is_ours` a file that it says no to goes to the Trash. Main thread.
Foundation::Result<WrittenListing> WriteListingFile(const KeptFiles& kept, const std::string& path,
                                                    std::string_view extension, std::string_view text,
                                                    Foundation::Encoding encoding, Foundation::LineEnds line_ends,
                                                    bool (*is_ours)(const std::string& path) = nullptr);

// An album's file in a job for several albums.
struct AlbumListing {
    AlbumInfo* album;
    std::string path;
    Foundation::Outcome outcome;  // of a file that has been written
};

// Calls `write` for each as one job with lines in the progress log; a failure is told in red and the job goes on. Where
// albums share a path, all but the first get " (2)" and so on. Returns those that it came to before a cancel. Main
// thread; Progress::Begin and End are the caller's.
using WriteAlbumListing = std::function<Foundation::Result<WrittenListing>(AlbumInfo&, const std::string& path)>;
std::vector<AlbumListing> WriteForEachAlbum(std::vector<AlbumListing> listings, const WriteAlbumListing& write);

// "Artist - Title" and the extension, made safe as a file name.
std::string ListingFileName(const AlbumInfo& album, std::string_view extension);

// A text on one line: control characters become blanks.
std::string OneLine(std::string_view text);

}  // namespace Orvane
