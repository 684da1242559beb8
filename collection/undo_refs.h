// How an undo record finds again what it is about: by what stays the same when lists are read or sorted anew, not by
// pointer. Main thread.
#pragma once

#include <cstdint>
#include <string>

#include "collection/dataobjects.h"

namespace Orvane {

// An album of the live collection, by artist and title.
class AlbumRef {
public:
    explicit AlbumRef(const AlbumInfo& album) : artist(album.artist), title(album.title) {}

    // The album, made the current one if it is not; the user is asked before. Null when the album is gone, which has
    // been shown, or the user does not want it.
    AlbumInfo* GoTo() const;

private:
    std::string artist;
    std::string title;
};

// A recording of the live collection, by its id, whatever its album is called by now.
class RecordingRef {
public:
    explicit RecordingRef(const FileHistoryEntry& entry) : id(entry.id), path(entry.GetPath()) {}

    // As above, with the recording's album.
    FileHistoryEntry* GoTo() const;

private:
    uint32_t id;
    std::string path;  // to name one that is gone
};

}  // namespace Orvane
