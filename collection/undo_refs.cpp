#include "collection/undo_refs.h"

#include "collection/recordingplaces.h"
#include "collection/undo.h"
#include "foundation/host.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

AlbumInfo* FindAlbum(const std::string& artist, const std::string& title) {
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

FileHistoryEntry* FindRecording(uint32_t id) {
    if (!gAlbumSet) return nullptr;
    for (const AlbumInfo& album : gAlbumSet->albums) {
        for (FileHistoryEntry* entry : AllRecordings(album)) {
            if (entry->id == id) return entry;
        }
    }
    return nullptr;
}

bool GoToAlbum(AlbumInfo* album) {
    if (album == gAlbumSet->current_album) return true;
    const std::string text = FormatMsg(Msg::UndoOtherAlbum, album->artist, album->title);
    if (Messages().Ask({text, Buttons::OkCancel, Severity::Information, {}}) != Answer::Ok) return false;
    GetUndoHost().ShowAlbum(album);
    return true;
}

}  // namespace

AlbumInfo* AlbumRef::GoTo() const {
    AlbumInfo* album = FindAlbum(artist, title);
    if (!album) ShowMessage(FormatMsg(Msg::UndoTargetDeleted, artist + " - " + title));
    return album && GoToAlbum(album) ? album : nullptr;
}

FileHistoryEntry* RecordingRef::GoTo() const {
    FileHistoryEntry* entry = FindRecording(id);
    if (!entry) ShowMessage(FormatMsg(Msg::UndoTargetDeleted, path));
    return entry && GoToAlbum(entry->album) ? entry : nullptr;
}

}  // namespace Orvane
