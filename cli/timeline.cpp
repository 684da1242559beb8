#include "cli/timeline.h"

#include <fmt/format.h>

#include "collection/tracktime.h"
#include "foundation/messages.h"
#include "split/trackbreaks.h"

namespace Orvane {
namespace {

constexpr int64_t kSlack = 20;  // ticks by which tracks may overlap

bool Overlap(const ALBUMTRACK& before, const ALBUMTRACK& after) {
    return !before.IsEmpty() && !after.IsEmpty() && after.start < before.end - kSlack;
}

}  // namespace

int PlaceForTrack(const AlbumInfo& album, const ALBUMTRACK& track) {
    int index = 0;
    while (index < album.tracks.size() && !album.tracks[index].IsEmpty() && album.tracks[index].start < track.start)
        ++index;
    return index;
}

void SettleUnsetTracks(AlbumInfo& album) {
    int first_unset = album.tracks.size();
    while (first_unset > 0 && album.tracks[first_unset - 1].IsEmpty()) --first_unset;
    int64_t end = first_unset > 0 ? album.tracks[first_unset - 1].end : 0;
    for (int i = first_unset; i < album.tracks.size(); ++i) album.tracks[i].start = album.tracks[i].end = end;
}

std::string TrackProblem(const AlbumInfo& album, int index) {
    const ALBUMTRACK& track = album.tracks[index];
    if (track.end < track.start) {
        return fmt::format("Track {} would end at {}, before it starts at {}", index + 1, FormatTime(track.end),
                           FormatTime(track.start));
    }
    if (!track.IsEmpty() && track.end - track.start < kShortestTrack) {
        return FormatMessage(Msg::TracksHaveALength, kShortestTrack / kTicksPerSecond);
    }
    if (index > 0 && Overlap(album.tracks[index - 1], track)) {
        return fmt::format("Track {} would start at {}, before track {} ends at {}", index + 1, FormatTime(track.start),
                           index, FormatTime(album.tracks[index - 1].end));
    }
    if (index + 1 < album.tracks.size() && Overlap(track, album.tracks[index + 1])) {
        return fmt::format("Track {} would end at {}, after track {} starts at {}", index + 1, FormatTime(track.end),
                           index + 2, FormatTime(album.tracks[index + 1].start));
    }
    return {};
}

}  // namespace Orvane
