#include "collection/undo_records.h"

#include <algorithm>

#include "collection/albumset.h"
#include "collection/renames.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

// The album of a record, if it can be changed now.
Result<AlbumInfo*> FindUnused(const AlbumRef& ref) {
    Result<AlbumInfo*> found = ref.Find();
    if (!found || (*found)->running_jobs == 0) return found;
    return Outcome::Fail(Kind::Busy, Msg::AlbumInUse, (*found)->artist, (*found)->title);
}

}  // namespace

UndoEditAlbumDetails::UndoEditAlbumDetails(const AlbumInfo& album, AlbumDetails details)
    : UndoEntry(FormatMsg(Msg::EditAlbumDetails)), ref(album), details(std::move(details)) {}

UndoResult UndoEditAlbumDetails::Apply() {
    const Result<AlbumInfo*> found = FindUnused(ref);
    if (!found) return found.GetOutcome();
    AlbumInfo& album = **found;
    AlbumDetails before = album.Details();
    if (Outcome changed = ChangeDetails(album, details); !changed) return changed;
    return UndoResult(std::make_unique<UndoEditAlbumDetails>(album, std::move(before)));
}

UndoUpdateTrackInfo::UndoUpdateTrackInfo(const AlbumInfo& album, std::string description, int first_track,
                                         int last_track)
    : UndoEntry(std::move(description)),
      ref(album),
      tracks(album.tracks),
      sides_adjusted(album.sides_adjusted),
      first_track(first_track),
      last_track(last_track) {}

UndoResult UndoUpdateTrackInfo::Apply() {
    const Result<AlbumInfo*> found = FindUnused(ref);
    if (!found) return found.GetOutcome();
    AlbumInfo& album = **found;
    auto opposite = std::make_unique<UndoUpdateTrackInfo>(album, description, first_track, last_track);
    {
        const bool other_count = album.tracks.size() != tracks.size();
        const Change change(other_count ? CHANGE_TRACK_INSERTED : CHANGE_TRACK_TIMES, &album);
        album.tracks = tracks;
        album.sides_adjusted = sides_adjusted;
    }
    return UndoResult(std::move(opposite));
}

void UndoUpdateTrackInfo::Show() const {
    const Result<AlbumInfo*> album = ref.Find();
    if (album) GetUndoHost().ShowTracks(**album, first_track, std::min(last_track, (*album)->tracks.size() - 1));
}

// All of the listing is put back, whatever has changed in it.
bool UndoUpdateTrackInfo::Covers(const UndoEntry& later) const {
    const auto* other = dynamic_cast<const UndoUpdateTrackInfo*>(&later);
    return other && other->ref == ref;
}

UndoRenameAlbumSide::UndoRenameAlbumSide(const FileHistoryEntry& entry, RecordingName name, std::string description)
    : UndoEntry(std::move(description)), ref(entry), name(std::move(name)) {}

UndoResult UndoRenameAlbumSide::Apply() {
    const Result<FileHistoryEntry*> found = ref.Find();
    if (!found) return found.GetOutcome();
    FileHistoryEntry& entry = **found;
    RecordingName before = entry.name;
    const Change change(CHANGE_DETAILS, entry.album);
    if (Outcome renamed = RenameRecording(entry, name); !renamed) return renamed;
    return UndoResult(std::make_unique<UndoRenameAlbumSide>(entry, std::move(before), description));
}

}  // namespace Orvane
