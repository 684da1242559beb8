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

std::unique_ptr<AlbumInfo> CopyDetails(const AlbumInfo& album) {
    auto copy = std::make_unique<AlbumInfo>();
    copy->TakeDetails(album);
    return copy;
}

UndoEditAlbumDetails::UndoEditAlbumDetails(const AlbumInfo& album, std::unique_ptr<AlbumInfo> details)
    : UndoEntry(FormatMsg(Msg::EditAlbumDetails)), ref(album), details(std::move(details)) {}

UndoResult UndoEditAlbumDetails::Apply() {
    const Result<AlbumInfo*> found = FindUnused(ref);
    if (!found) return found.GetOutcome();
    AlbumInfo& album = **found;
    std::unique_ptr<AlbumInfo> before = CopyDetails(album);
    if (!ChangeDetails(album, *details)) return Outcome::OfLastError(ERR_IO);
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

RecordingName::RecordingName(const FileHistoryEntry& entry)
    : external((entry.flags & FHE_EXTERNAL_FILE) != 0),
      path(entry.external_file),
      suffix(entry.name_suffix),
      extension(entry.extension) {}

bool RecordingName::GiveTo(FileHistoryEntry& entry) const {
    const RecordingName before(entry);
    const auto set = [&entry](const RecordingName& name) {
        entry.flags =
            static_cast<uint8_t>((entry.flags & ~FHE_EXTERNAL_FILE) | (name.external ? FHE_EXTERNAL_FILE : 0));
        entry.external_file = name.path;
        entry.name_suffix = name.suffix;
        entry.extension = name.extension;
    };
    RecordingRenames files({&entry});
    set(*this);
    if (files.Move()) return true;
    set(before);
    return false;
}

UndoRenameAlbumSide::UndoRenameAlbumSide(const FileHistoryEntry& entry, RecordingName name, std::string description)
    : UndoEntry(std::move(description)), ref(entry), name(std::move(name)) {}

UndoResult UndoRenameAlbumSide::Apply() {
    const Result<FileHistoryEntry*> found = ref.Find();
    if (!found) return found.GetOutcome();
    FileHistoryEntry& entry = **found;
    RecordingName before(entry);
    const Change change(CHANGE_DETAILS, entry.album);
    if (!name.GiveTo(entry)) return Outcome::OfLastError(ERR_IO);
    return UndoResult(std::make_unique<UndoRenameAlbumSide>(entry, std::move(before), description));
}

}  // namespace Orvane
