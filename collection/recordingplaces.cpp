#include "collection/recordingplaces.h"

#include <algorithm>

#include "foundation/fileerror.h"
#include "foundation/path.h"

using namespace Foundation;

namespace Orvane {

std::vector<FileHistoryEntry*> AllRecordings(const AlbumInfo& album) {
    std::vector<FileHistoryEntry*> entries;
    for (const AlbumSide* side : album.sides) {
        if (!side) continue;
        for (const RefPtr<FileHistoryEntry>& entry : side->history) entries.push_back(entry.get());
    }
    return entries;
}

bool MoveExternalFiles(const AlbumSet& set, const FileRename& folder) {
    const std::string beginning = folder.from + kSeparator;
    bool any = false;
    for (const AlbumInfo& album : set.albums) {
        for (FileHistoryEntry* entry : AllRecordings(album)) {
            std::string& file = entry->name.external_file;
            if (!file.starts_with(beginning)) continue;
            file = JoinPath(folder.to, file.substr(beginning.size()));
            any = true;
        }
    }
    return any;
}

std::vector<RecordingPlace> PlaceRecordings(AlbumInfo& album) {
    std::vector<RecordingPlace> places;
    int64_t start = 0;
    for (int side = 1; side <= album.sides.size(); ++side) {
        FileHistoryEntry* entry = album.sides[side - 1] ? album.sides[side - 1]->newest : nullptr;
        if (!entry) continue;
        RecordingPlace place{entry, side, start, start, entry->Open(USER_PROBE).GetOutcome()};
        if (!place.opened && !FileExists(entry->GetPath())) {
            place.opened =
                Outcome::Fail(Kind::CannotOpen, Msg::CannotFindFile, entry->GetPath()).About(entry->GetPath());
        } else if (place.opened) {
            place.end =
                start + to_ticks(entry->SampleRate(), entry->TotalSamples() - entry->decided.cuts.TotalLength());
        }
        start = place.end;
        places.push_back(place);
    }
    return places;
}

int64_t EndOfRecordings(AlbumInfo& album) {
    const std::vector<RecordingPlace> places = PlaceRecordings(album);
    const bool all_found =
        std::all_of(places.begin(), places.end(), [](const auto& place) { return place.opened.Ok(); });
    return !places.empty() && all_found ? places.back().end : kUnknownEnd;
}

}  // namespace Orvane
