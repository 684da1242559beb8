#include "collection/recordingplaces.h"

#include <algorithm>

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

std::vector<RecordingPlace> PlaceRecordings(AlbumInfo& album) {
    std::vector<RecordingPlace> places;
    int64_t start = 0;
    for (int side = 1; side <= album.sides.size(); ++side) {
        FileHistoryEntry* entry = album.sides[side - 1] ? album.sides[side - 1]->newest : nullptr;
        if (!entry) continue;
        RecordingPlace place{entry, side, start, start};
        place.found = entry->Open(USER_PROBE, false) == OPEN_GOOD;
        if (place.found) {
            place.end = start + to_ticks(entry->SampleRate(), entry->TotalSamples() - entry->cuts.TotalLength());
            entry->Close(USER_PROBE);
        }
        start = place.end;
        places.push_back(place);
    }
    return places;
}

int64_t EndOfRecordings(AlbumInfo& album) {
    const std::vector<RecordingPlace> places = PlaceRecordings(album);
    const bool all_found = std::all_of(places.begin(), places.end(), [](const auto& place) { return place.found; });
    return !places.empty() && all_found ? places.back().end : kUnknownEnd;
}

}  // namespace Orvane
