// How an undo record finds again what it is about: by what stays the same when lists are read or sorted anew, not by
// pointer. Main thread.
#pragma once

#include <cstdint>
#include <string>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"

namespace Orvane {

// An album of the live collection, by artist and title.
class AlbumRef {
public:
    explicit AlbumRef(const AlbumInfo& album) : artist(album.artist), title(album.title) {}

    // A failure when the album is gone.
    Foundation::Result<AlbumInfo*> Find() const;
    bool operator==(const AlbumRef&) const = default;

private:
    std::string artist;
    std::string title;
};

// A recording of the live collection, by its id, whatever its album is called by now.
class RecordingRef {
public:
    explicit RecordingRef(const FileHistoryEntry& entry) : id(entry.id), path(entry.GetPath()) {}

    // A failure when the recording is gone.
    Foundation::Result<FileHistoryEntry*> Find() const;
    Foundation::Result<AlbumInfo*> FindAlbum() const;  // the one that it belongs to
    bool operator==(const RecordingRef& other) const { return id == other.id; }

private:
    uint32_t id;
    std::string path;  // to name one that is gone
};

}  // namespace Orvane
