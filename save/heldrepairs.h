// The click repairs that the tracks of an album need, loaded before a job reads the tracks.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "collection/recordingplaces.h"
#include "collection/recordinguse.h"
#include "foundation/outcome.h"

namespace Orvane {

// Whether any of the track, its fades included, is heard from there.
bool LiesIn(const ALBUMTRACK& track, const RecordingPlace& place);

// Holds the recordings in which `tracks` (indices) lie open, with their repairs loaded, so that the private copies of
// a job have them. What cannot be used has been shown. With PCM_NO_CLICK_REPAIR in `flags` nothing is needed. Main
// thread; Check on any.
class HeldRepairs {
public:
    HeldRepairs(AlbumInfo& album, std::span<const int> tracks, uint32_t flags);
    HeldRepairs(const HeldRepairs&) = delete;
    HeldRepairs& operator=(const HeldRepairs&) = delete;

    // Fails when there are repairs in the track that cannot be used.
    Foundation::Outcome Check(int track) const;
    const std::vector<RecordingPlace>& Places() const { return places; }  // of the album's recordings

private:
    struct Held {
        RecordingPlace place;
        OpenRecording opened;
        std::optional<BusyRecording> busy;
        Foundation::Outcome outcome;
    };
    const AlbumInfo& album;
    const std::vector<RecordingPlace> places;
    std::vector<Held> recordings;
};

}  // namespace Orvane
