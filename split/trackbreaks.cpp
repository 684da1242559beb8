#include "split/trackbreaks.h"

#include <algorithm>

#include "foundation/messages.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int32_t kDefaultFade = 5 * kTicksPerSecond;
void TakeTimes(ALBUMTRACK& row, const ALBUMTRACK& from) {
    row.start = from.start;
    row.end = from.end;
    row.filter_flags = from.filter_flags;
    row.fade_in = from.fade_in;
    row.fade_out = from.fade_out;
}

void LoseFadeIn(ALBUMTRACK& row) {
    row.filter_flags &= static_cast<uint16_t>(~TRACK_FADE_IN);
    row.fade_in = 0;
}

void LoseFadeOut(ALBUMTRACK& row) {
    row.filter_flags &= static_cast<uint16_t>(~TRACK_FADE_OUT);
    row.fade_out = 0;
}

void TakeFadeOut(ALBUMTRACK& row, const ALBUMTRACK& from) {
    LoseFadeOut(row);
    row.filter_flags |= from.filter_flags & TRACK_FADE_OUT;
    row.fade_out = from.fade_out;
}

void PutAt(ALBUMTRACK& row, int64_t position) {
    row.start = row.end = position;
}

// Unset rows ride along behind the last set track.
void KeepTailTogether(TrackList& tracks) {
    const int first = FirstUnsetTrack(tracks);
    if (first == tracks.size()) return;
    int64_t position = tracks[first].start;
    if (first > 0) position = std::max(position, tracks[first - 1].end);
    for (int i = first; i < tracks.size() && tracks[i].IsEmpty(); ++i) PutAt(tracks[i], position);
}

void MoveFollowing(TrackList& tracks, int first, int64_t delta, Alt alt) {
    if (alt == Alt::Down) {
        for (int i = first; i < tracks.size(); ++i) {
            tracks[i].start += delta;
            tracks[i].end += delta;
        }
        return;
    }
    ALBUMTRACK& next = tracks[first];
    if (next.IsEmpty()) {
        PutAt(next, next.start + delta);
    } else {
        const int64_t latest = std::max(next.start, next.end - kShortestTrack);
        next.start = std::min(next.start + delta, latest);
    }
}

bool SplitTrack(TrackList& tracks, int index, int64_t position) {
    ALBUMTRACK& track = tracks[index];
    if (position - track.start < kShortestTrack || track.end - position < kShortestTrack) return false;
    ALBUMTRACK second;
    second.title = NumberedTrackTitle(index + 2);
    second.start = position;
    second.end = track.end;
    TakeFadeOut(second, track);
    track.end = position;
    LoseFadeOut(track);
    tracks.insert(tracks.begin() + index + 1, std::move(second));
    return true;
}

bool HasRoom(const TrackList& tracks, int target, int64_t position) {
    const ALBUMTRACK& track = tracks[target];
    if (target > 0 && position < tracks[target - 1].end + kShortestTrack) return false;
    if (!track.IsEmpty() && position > track.end - kShortestTrack) return false;
    if (target + 1 < tracks.size()) {
        const ALBUMTRACK& next = tracks[target + 1];
        if (next.start < track.end && position >= next.start - kShortestTrack) return false;
    }
    return position >= track.start + kShortestTrack;
}

// The rows below a set target take the times of the row above them; the target ends at the break.
void ShiftDown(TrackList& tracks, int target, int64_t position) {
    for (int i = tracks.size() - 1; i > target; --i) TakeTimes(tracks[i], tracks[i - 1]);
    ALBUMTRACK& next = tracks[target + 1];
    next.start = position;
    LoseFadeIn(next);
    LoseFadeOut(tracks[target]);
    SetTrackEnd(tracks, target, position, Following::Stay, Alt::Up);
}

bool InsertNear(TrackList& tracks, int64_t position, bool appended) {
    int target = FindNearestTrack(tracks, position);
    if (target == tracks.size() || position < 0) return false;

    // Between the last set track and an unset one that already has its start, it is that start which moves.
    bool set_start = !appended && tracks[target].IsEmpty() && tracks[target].start > position;
    if (!appended && target + 1 < tracks.size()) {
        const ALBUMTRACK& next = tracks[target + 1];
        if (position > tracks[target].end && position <= next.start && next.IsEmpty()) {
            ++target;
            set_start = true;
        }
    }
    if (set_start) {
        SetTrackStart(tracks, target, position, Alt::Up);
        return true;
    }
    if (!HasRoom(tracks, target, position)) return false;
    if (tracks[target].IsEmpty()) {
        SetTrackEnd(tracks, target, position, Following::Move, Alt::Up);
    } else {
        ShiftDown(tracks, target, position);
    }
    return true;
}

}  // namespace

void SetTrackStart(TrackList& tracks, int index, int64_t position, Alt alt) {
    ALBUMTRACK& track = tracks[index];
    if (position == track.start) return;
    const int64_t moved_by = position - track.start;
    if (track.IsEmpty()) {
        PutAt(track, position);
        KeepTailTogether(tracks);
        return;
    }
    track.start = position;
    if (alt == Alt::Down) SetTrackEnd(tracks, index, track.end + moved_by, Following::Move, alt);
}

void SetTrackEnd(TrackList& tracks, int index, int64_t position, Following following, Alt alt) {
    ALBUMTRACK& track = tracks[index];
    if (position == track.end) return;
    const bool was_unset = track.IsEmpty();
    int64_t delta = position - track.end;
    track.end = position;
    if (index + 1 < tracks.size()) {
        const int64_t overrun = position - tracks[index + 1].start;
        if (alt == Alt::Up && !was_unset && overrun >= 0) following = Following::Stay;
        if (overrun > 0) delta = std::min(delta, overrun);
        if (following == Following::Move) MoveFollowing(tracks, index + 1, delta, alt);
    }
    KeepTailTogether(tracks);
}

int FindNearestTrack(const TrackList& tracks, int64_t position) {
    const int n_tracks = tracks.size();
    if (n_tracks == 0) return n_tracks;
    if (!tracks.back().IsEmpty() && position > tracks.back().end) return n_tracks;
    int nearest = 0;
    int64_t least = INT64_MAX;
    for (int i = 0; i < n_tracks; ++i) {
        const ALBUMTRACK& track = tracks[i];
        if (position >= track.start && position < track.end) return i;
        const int64_t distance = position < track.start ? track.start - position : position - track.end;
        if (distance <= least) {
            least = distance;
            nearest = i;
        }
        if (track.IsEmpty()) break;
    }
    return nearest;
}

int FirstUnsetTrack(const TrackList& tracks) {
    return static_cast<int>(std::find_if(tracks.begin(), tracks.end(), [](const auto& t) { return t.IsEmpty(); }) -
                            tracks.begin());
}

bool InsertTrackBreak(TrackList& tracks, int selected, int64_t position, Alt alt) {
    if (alt == Alt::Down && selected >= 0 && selected < tracks.size() && !tracks[selected].IsEmpty()) {
        return SplitTrack(tracks, selected, position);
    }
    const bool append = tracks.empty() || !tracks.back().IsEmpty();
    if (append) {
        ALBUMTRACK blank;
        blank.title = NumberedTrackTitle(tracks.size() + 1);
        PutAt(blank, tracks.empty() ? 0 : tracks.back().end);
        tracks.push_back(std::move(blank));
    }
    const bool inserted = InsertNear(tracks, position, append);
    if (!inserted && append) tracks.resize(tracks.size() - 1);
    return inserted;
}

void DeleteTrackBreak(TrackList& tracks, int index, Alt alt) {
    const int last = tracks.size() - 1;
    ALBUMTRACK& track = tracks[index];
    if (index < last && !tracks[index + 1].IsEmpty()) {
        const ALBUMTRACK& next = tracks[index + 1];
        track.end = next.end;
        TakeFadeOut(track, next);
        if (alt == Alt::Down) {
            tracks.erase(tracks.begin() + index + 1);
        } else {
            for (int i = index + 1; i < last; ++i) TakeTimes(tracks[i], tracks[i + 1]);
            TakeTimes(tracks[last], ALBUMTRACK());
            PutAt(tracks[last], tracks[last - 1].end);
        }
    } else {
        LoseFadeOut(track);
        const int64_t end_before = index > 0 ? tracks[index - 1].end : -1;
        PutAt(track, std::max(track.start, end_before));
        if (index < last) LoseFadeIn(tracks[index + 1]);
    }
    KeepTailTogether(tracks);
}

void DeleteAllTrackBreaks(TrackList& tracks) {
    for (ALBUMTRACK& track : tracks) TakeTimes(track, ALBUMTRACK());
}

void MoveTitle(TrackList& tracks, int from, int to) {
    const TrackList before = tracks;
    ALBUMTRACK moved = tracks[from];
    tracks.erase(tracks.begin() + from);
    tracks.insert(tracks.begin() + to, std::move(moved));
    for (int i = 0; i < tracks.size(); ++i) TakeTimes(tracks[i], before[i]);
}

void RemoveOnlyUnsetTrack(TrackList& tracks) {
    if (!tracks.empty() && FirstUnsetTrack(tracks) == tracks.size() - 1) tracks.resize(tracks.size() - 1);
}

void PushOverlappingTracks(TrackList& tracks) {
    for (int i = 1; i < tracks.size() && !tracks[i].IsEmpty(); ++i) {
        ALBUMTRACK& track = tracks[i];
        if (track.start >= tracks[i - 1].end) continue;
        track.start = tracks[i - 1].end;
        track.end = std::max(track.end, track.start + kShortestTrack);
    }
    KeepTailTogether(tracks);
}

void EnableFader(ALBUMTRACK& track, Fader fader, bool on) {
    const bool in = fader == Fader::In;
    const auto bit = static_cast<uint16_t>(in ? TRACK_FADE_IN : TRACK_FADE_OUT);
    int32_t& length = in ? track.fade_in : track.fade_out;
    if (!on) {
        track.filter_flags &= static_cast<uint16_t>(~bit);
        return;
    }
    track.filter_flags |= bit;
    if (length) return;
    length = DefaultFaderLength(fader);
}

int32_t DefaultFaderLength(Fader fader) {
    return HeldFadeLength(GetSetting(fader == Fader::In ? "Default Fade In" : "Default Fade Out", kDefaultFade));
}

void SetFaderLength(ALBUMTRACK& track, Fader fader, int hundredths) {
    (fader == Fader::In ? track.fade_in : track.fade_out) = HeldFadeLength(int64_t{hundredths} * kTicksPerSecond / 100);
}

std::string NumberedTrackTitle(int number) {
    return FormatMsg(Msg::NumberedTrack, number);
}

}  // namespace Orvane
