#include "split/trackorder.h"

#include <fmt/format.h>

#include "collection/tracktime.h"
#include "foundation/markup.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int64_t kSlack = 20;  // ticks by which tracks may overlap

std::string NameOf(const TrackList& tracks, int index) {
    return fmt::format("{} (\"{}\")", index + 1, LiteralMarkup(tracks[index].title));
}

Outcome Refuse(std::string text) {
    return Outcome::FailText(Kind::Refused, std::move(text));
}

// A track that has times, seen from the one before it.
Outcome CheckTrack(const TrackList& tracks, int index) {
    const ALBUMTRACK& track = tracks[index];
    if (track.end < track.start) {
        return Refuse(fmt::format("Track {} would end at {}, before it starts at {}", NameOf(tracks, index),
                                  FormatTime(track.end), FormatTime(track.start)));
    }
    if (track.end - track.start < kShortestTrack) {
        return Outcome::Fail(Kind::Refused, Msg::TracksHaveALength, kShortestTrack / kTicksPerSecond);
    }
    if (index == 0) return {};
    const ALBUMTRACK& before = tracks[index - 1];
    if (before.IsEmpty()) {
        return Refuse(fmt::format("Track {} would stand behind track {}, which has no times yet", NameOf(tracks, index),
                                  NameOf(tracks, index - 1)));
    }
    if (track.start < before.end - kSlack) {
        return Refuse(fmt::format("Track {} would start at {}, before track {} ends at {}", NameOf(tracks, index),
                                  FormatTime(track.start), NameOf(tracks, index - 1), FormatTime(before.end)));
    }
    return {};
}

}  // namespace

int PlaceForTrack(const TrackList& tracks, const ALBUMTRACK& track) {
    int index = 0;
    while (index < tracks.size() && !tracks[index].IsEmpty() &&
           (track.IsEmpty() || tracks[index].start < track.start)) {
        ++index;
    }
    return index;
}

void SettleUnsetTracks(TrackList& tracks) {
    int first_unset = tracks.size();
    while (first_unset > 0 && tracks[first_unset - 1].IsEmpty()) --first_unset;
    const int64_t end = first_unset > 0 ? tracks[first_unset - 1].end : 0;
    for (int i = first_unset; i < tracks.size(); ++i) tracks[i].start = tracks[i].end = end;
}

int MoveToItsPlace(TrackList& tracks, int index) {
    ALBUMTRACK track = std::move(tracks[index]);
    tracks.erase(tracks.begin() + index);
    index = PlaceForTrack(tracks, track);
    tracks.insert(tracks.begin() + index, std::move(track));
    SettleUnsetTracks(tracks);
    return index;
}

Outcome CheckListing(const TrackList& tracks) {
    for (int i = 0; i < tracks.size(); ++i) {
        if (tracks[i].IsEmpty()) continue;
        if (Outcome checked = CheckTrack(tracks, i); !checked) return checked;
    }
    return {};
}

Outcome CheckWithin(int64_t position, int64_t end) {
    if (position <= end) return {};
    return Refuse(fmt::format("The recordings end at {} already", FormatTime(end)));
}

}  // namespace Orvane
