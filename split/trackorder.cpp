#include "split/trackorder.h"

#include <fmt/format.h>

#include "collection/tracktime.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int64_t kSlack = 20;  // ticks by which tracks may overlap

std::string NameOf(const TrackList& tracks, int index) {
    return fmt::format("{} (\"{}\")", index + 1, tracks[index].title);
}

// What is wrong with a track that has times, seen from the one before it.
std::string TrackProblem(const TrackList& tracks, int index) {
    const ALBUMTRACK& track = tracks[index];
    if (track.end < track.start) {
        return fmt::format("Track {} would end at {}, before it starts at {}", NameOf(tracks, index),
                           FormatTime(track.end), FormatTime(track.start));
    }
    if (track.end - track.start < kShortestTrack) {
        return FormatMsg(Msg::TracksHaveALength, kShortestTrack / kTicksPerSecond);
    }
    if (index == 0) return {};
    const ALBUMTRACK& before = tracks[index - 1];
    if (before.IsEmpty()) {
        return fmt::format("Track {} would stand behind track {}, which has no times yet", NameOf(tracks, index),
                           NameOf(tracks, index - 1));
    }
    if (track.start < before.end - kSlack) {
        return fmt::format("Track {} would start at {}, before track {} ends at {}", NameOf(tracks, index),
                           FormatTime(track.start), NameOf(tracks, index - 1), FormatTime(before.end));
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

std::string ListingProblem(const TrackList& tracks) {
    for (int i = 0; i < tracks.size(); ++i) {
        if (tracks[i].IsEmpty()) continue;
        if (std::string problem = TrackProblem(tracks, i); !problem.empty()) return problem;
    }
    return {};
}

std::string PastEndProblem(int64_t position, int64_t end) {
    if (position <= end) return {};
    return fmt::format("The recordings end at {} already", FormatTime(end));
}

}  // namespace Orvane
