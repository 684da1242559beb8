#include "save/heldrepairs.h"

#include <algorithm>

#include "tesslib/audiostream.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {

bool LiesIn(const ALBUMTRACK& track, const RecordingPlace& place) {
    return !track.IsEmpty() && track.FadeStart() < place.end && track.FadeEnd() > place.start;
}

HeldRepairs::HeldRepairs(AlbumInfo& album, std::span<const int> tracks, uint32_t flags)
    : album(album), places(PlaceRecordings(album)) {
    if (flags & PCM_NO_CLICK_REPAIR) return;
    for (const RecordingPlace& place : places) {
        const auto needs = [&](int track) {
            return !album.tracks[track].excluded && LiesIn(album.tracks[track], place);
        };
        if (std::none_of(tracks.begin(), tracks.end(), needs)) continue;
        Result<OpenRecording> opened = place.entry->Open(USER_SAVE);
        if (!opened) continue;  // the track's stream says why
        Result<BusyRecording> busy = BusyRecording::Begin(*place.entry, RecordingUse::Read);
        const Outcome ready = busy ? place.entry->LoadCorrections() : busy.GetOutcome();
        recordings.push_back({place, std::move(*opened), {}, ready});
        if (busy) recordings.back().busy = std::move(*busy);
    }
}

Outcome HeldRepairs::Check(int track) const {
    for (const Held& held : recordings) {
        if (!held.outcome && LiesIn(album.tracks[track], held.place)) return held.outcome;
    }
    return {};
}

}  // namespace Orvane
