#include "collection/undo_refs.h"

#include "collection/recordingplaces.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

AlbumInfo* FindNamed(const std::string& artist, const std::string& title) {
    if (!gAlbumSet) return nullptr;
    const auto is_it = [&](const AlbumInfo& album) { return album.artist == artist && album.title == title; };
    // Of several albums of one name the one on the screen is meant.
    AlbumInfo* current = gAlbumSet->current_album;
    if (current && is_it(*current)) return current;
    for (AlbumInfo& album : gAlbumSet->albums) {
        if (is_it(album)) return &album;
    }
    return nullptr;
}

FileHistoryEntry* FindEntry(uint32_t id) {
    if (!gAlbumSet) return nullptr;
    for (const AlbumInfo& album : gAlbumSet->albums) {
        for (FileHistoryEntry* entry : AllRecordings(album)) {
            if (entry->id == id) return entry;
        }
    }
    return nullptr;
}

Outcome Deleted(const std::string& what) {
    return Outcome::Fail(Kind::Refused, Msg::UndoTargetDeleted, what);
}

}  // namespace

Result<AlbumInfo*> AlbumRef::Find() const {
    AlbumInfo* album = FindNamed(artist, title);
    if (!album) return Deleted(artist + " - " + title);
    return album;
}

Result<FileHistoryEntry*> RecordingRef::Find() const {
    FileHistoryEntry* entry = FindEntry(id);
    if (!entry) return Deleted(path);
    return entry;
}

Result<AlbumInfo*> RecordingRef::FindAlbum() const {
    const Result<FileHistoryEntry*> entry = Find();
    if (!entry) return entry.GetOutcome();
    return (*entry)->album;
}

}  // namespace Orvane
