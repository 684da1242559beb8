// What can be undone about albums, their tracks and the names of their recordings. Main thread.
//
// A record holds data as they are to be again. An edit may itself be made by applying a record of what the user wants:
// what Apply returns is then the record to add to the stack.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "collection/gesture.h"
#include "collection/undo.h"
#include "collection/undo_refs.h"
#include "foundation/outcome.h"

namespace Orvane {

// Recordings move along with the artist and the title.
class UndoEditAlbumDetails : public UndoEntry {
public:
    // `album` as it is called now.
    UndoEditAlbumDetails(const AlbumInfo& album, AlbumDetails details);
    Foundation::Result<AlbumInfo*> Target() const override { return ref.Find(); }
    UndoResult Apply() override;

private:
    AlbumRef ref;
    AlbumDetails details;
};

// The track listing of an album.
class UndoUpdateTrackInfo : public UndoEntry {
public:
    // Made before the change, of which the tracks `first_track` to `last_track` are to be shown when it is undone.
    UndoUpdateTrackInfo(const AlbumInfo& album, std::string description, int first_track, int last_track);
    Foundation::Result<AlbumInfo*> Target() const override { return ref.Find(); }
    UndoResult Apply() override;
    void Show() const override;
    bool Covers(const UndoEntry& later) const override;

private:
    AlbumRef ref;
    Foundation::simple_vector<ALBUMTRACK> tracks;
    uint16_t sides_adjusted;
    int first_track;
    int last_track;
};

class UndoRenameAlbumSide : public UndoEntry {
public:
    UndoRenameAlbumSide(const FileHistoryEntry& entry, RecordingName name, std::string description);
    Foundation::Result<AlbumInfo*> Target() const override { return ref.FindAlbum(); }
    UndoResult Apply() override;

private:
    RecordingRef ref;
    RecordingName name;
};

}  // namespace Orvane
