#include "collection/undo_records.h"

#include <algorithm>

#include "collection/albumset.h"
#include "collection/renames.h"
#include "foundation/host.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

// The album of a record, if it can be changed now; else it has been said why not.
AlbumInfo* GoToUnused(const AlbumRef& ref) {
    AlbumInfo* album = ref.GoTo();
    if (!album || album->running_jobs == 0) return album;
    ShowMessage(FormatMsg(Msg::AlbumInUse, album->artist, album->title));
    return nullptr;
}

}  // namespace

std::unique_ptr<AlbumInfo> CopyDetails(const AlbumInfo& album) {
    auto copy = std::make_unique<AlbumInfo>();
    copy->TakeDetails(album);
    return copy;
}

UndoEditAlbumDetails::UndoEditAlbumDetails(const AlbumInfo& album, std::unique_ptr<AlbumInfo> details)
    : UndoEntry(FormatMsg(Msg::EditAlbumDetails)), ref(album), details(std::move(details)) {}

std::unique_ptr<UndoEntry> UndoEditAlbumDetails::Apply() {
    AlbumInfo* album = GoToUnused(ref);
    if (!album) return nullptr;
    std::unique_ptr<AlbumInfo> before = CopyDetails(*album);
    if (!ChangeDetails(*album, *details)) {
        ShowLastError();
        return nullptr;
    }
    return std::make_unique<UndoEditAlbumDetails>(*album, std::move(before));
}

UndoUpdateTrackInfo::UndoUpdateTrackInfo(const AlbumInfo& album, std::string description, int first_track,
                                         int last_track)
    : UndoEntry(std::move(description)),
      ref(album),
      tracks(album.tracks),
      sides_adjusted(album.sides_adjusted),
      first_track(first_track),
      last_track(last_track) {}

std::unique_ptr<UndoEntry> UndoUpdateTrackInfo::Apply() {
    AlbumInfo* album = GoToUnused(ref);
    if (!album) return nullptr;
    auto opposite = std::make_unique<UndoUpdateTrackInfo>(*album, description, first_track, last_track);
    {
        const bool other_count = album->tracks.size() != tracks.size();
        const Change change(other_count ? CHANGE_TRACK_INSERTED : CHANGE_TRACK_TIMES, album);
        album->tracks = tracks;
        album->sides_adjusted = sides_adjusted;
    }
    GetUndoHost().ShowTracks(*album, first_track, std::min(last_track, album->tracks.size() - 1));
    return opposite;
}

void UndoGroup::Add(std::unique_ptr<UndoEntry> entry) {
    size += entry->size;
    entries.push_back(std::move(entry));
}

// The last change goes first. What has been put back before one that cannot be is done again.
std::unique_ptr<UndoEntry> UndoGroup::Apply() {
    auto opposite = std::make_unique<UndoGroup>(description);
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        std::unique_ptr<UndoEntry> undone = (*entry)->Apply();
        if (!undone) {
            opposite->Apply();
            return nullptr;
        }
        opposite->Add(std::move(undone));
    }
    return opposite;
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

std::unique_ptr<UndoEntry> UndoRenameAlbumSide::Apply() {
    FileHistoryEntry* entry = ref.GoTo();
    if (!entry) return nullptr;
    RecordingName before(*entry);
    const Change change(CHANGE_DETAILS, entry->album);
    if (!name.GiveTo(*entry)) {
        ShowLastError();
        return nullptr;
    }
    return std::make_unique<UndoRenameAlbumSide>(*entry, std::move(before), description);
}

}  // namespace Orvane
