#include "cleanup/edit/cuttracks.h"

#include <algorithm>
#include <cstdlib>

using namespace Foundation;

namespace Orvane {
namespace {

// What lies behind `position` plays `shift` ticks later; nothing moves to before it.
int64_t MovedBehind(int64_t time, int64_t position, int64_t shift) {
    return time > position ? std::max(position, time + shift) : time;
}

// A cut and its cross-fade, in ticks of the album.
struct CutPlace {
    CutPlace(const CutAndSpliceCorrection& cut, const RecordingOnAlbum& recording)
        : at(recording.start + to_ticks(recording.samplerate, cut.start_time)),
          fade_start(recording.start + to_ticks(recording.samplerate, cut.start_time - cut.splice_length / 2)),
          fade_end(recording.start + to_ticks(recording.samplerate, cut.start_time + cut.splice_length / 2)) {}

    bool Holds(const MovedBreak& moved, int64_t time) const {
        return moved.from >= 0 && std::abs(at + moved.to - time) <= 1;  // times are rounded to ticks more than once
    }

    int64_t at, fade_start, fade_end;
};

// A start in a cross-fade is of the music that fades in, an end of that which fades out.
using Which = MovedBreak CutAndSpliceCorrection::*;
constexpr Which kStart = &CutAndSpliceCorrection::moved_start, kEnd = &CutAndSpliceCorrection::moved_end;

int32_t EdgeOfFade(const CutAndSpliceCorrection& cut, Which which) {
    return which == kStart ? -cut.splice_length / 2 : cut.splice_length / 2;
}

// From a time of the album to a tick of the file, and back when `taken_out` has gone.
int64_t ToFile(int64_t time, Which which, const RecordingOnAlbum& recording, const CutList& cuts) {
    const int64_t frames = to_samples(recording.samplerate, time - recording.start);
    int64_t offset = 0;
    for (const CutAndSpliceCorrection& cut : cuts) {
        if (cut.start_time + EdgeOfFade(cut, which) < frames) offset += cut.Length();
    }
    return time - recording.start + to_ticks(recording.samplerate, offset);
}

int64_t FromFile(int64_t file_ticks, Which which, const RecordingOnAlbum& recording, const CutList& cuts,
                 const CutAndSpliceCorrection& taken_out) {
    const int64_t frames = to_samples(recording.samplerate, file_ticks);
    int64_t offset = 0;
    for (const CutAndSpliceCorrection& cut : cuts) {
        if (&cut != &taken_out && cut.absolute_end_time + EdgeOfFade(cut, which) < frames) offset += cut.Length();
    }
    return recording.start + file_ticks - to_ticks(recording.samplerate, offset);
}

// Notes in `cut` that it has moved a break from `old_time` to `new_time`, if the way back alone would not find it
// again. What a cut that it has taken in had moved before stood in another place still.
void NoteMove(CutAndSpliceCorrection& cut, Which which, int64_t old_time, int64_t new_time, int64_t found_again,
              const RecordingOnAlbum& recording, const CutList& before) {
    const int64_t to = new_time - CutPlace(cut, recording).at;
    for (const CutAndSpliceCorrection& old : before) {
        const bool taken_in =
            old.absolute_start_time >= cut.absolute_start_time && old.absolute_end_time <= cut.absolute_end_time;
        if (!taken_in || !CutPlace(old, recording).Holds(old.*which, old_time)) continue;
        cut.*which = {(old.*which).from, to};
        return;
    }
    if (found_again != old_time) cut.*which = {ToFile(old_time, which, recording, before), to};
}

// Unset tracks stand where the last set one ends, or for themselves behind it.
void FollowUnset(simple_vector<ALBUMTRACK>& moved, const simple_vector<ALBUMTRACK>& tracks, int i, int64_t alone) {
    const bool behind = i > 0 && tracks[i].start == tracks[i - 1].end;
    moved[i].start = moved[i].end = behind ? moved[i - 1].end : alone;
}

}  // namespace

int FollowCut(simple_vector<ALBUMTRACK>& tracks, const RecordingOnAlbum& recording, const CutList& before,
              int64_t length, CutAndSpliceCorrection& cut) {
    const CutPlace place(cut, recording);
    simple_vector<ALBUMTRACK> moved = tracks;
    for (int i = 0; i < tracks.size(); ++i) {
        if (tracks[i].IsEmpty()) continue;
        moved[i].start = MovedBehind(tracks[i].start, place.fade_start, -length);
        moved[i].end = MovedBehind(tracks[i].end, place.fade_end, -length);
        // What is left of it in the cross-fade alone does not count.
        if (MovedBehind(tracks[i].start, place.fade_end, -length) == moved[i].end) return i;
    }
    for (int i = 0; i < tracks.size(); ++i) {
        if (tracks[i].IsEmpty()) {
            FollowUnset(moved, tracks, i, MovedBehind(tracks[i].end, place.fade_end, -length));
            continue;
        }
        if (i + 1 < tracks.size() && !tracks[i + 1].IsEmpty())
            moved[i].end = std::min(moved[i].end, moved[i + 1].start);
        NoteMove(cut, kStart, tracks[i].start, moved[i].start, MovedBehind(moved[i].start, place.fade_start, length),
                 recording, before);
        NoteMove(cut, kEnd, tracks[i].end, moved[i].end, MovedBehind(moved[i].end, place.fade_end, length), recording,
                 before);
    }
    tracks = moved;
    return -1;
}

void FollowDeletedCut(simple_vector<ALBUMTRACK>& tracks, const RecordingOnAlbum& recording, const CutList& cuts,
                      int64_t length, const CutAndSpliceCorrection& cut) {
    const CutPlace place(cut, recording);
    const auto back = [&](Which which, int64_t time, int64_t behind) {
        return place.Holds(cut.*which, time) ? FromFile((cut.*which).from, which, recording, cuts, cut)
                                             : MovedBehind(time, behind, length);
    };
    simple_vector<ALBUMTRACK> moved = tracks;
    for (int i = 0; i < tracks.size(); ++i) {
        if (tracks[i].IsEmpty()) {
            FollowUnset(moved, tracks, i, MovedBehind(tracks[i].end, place.fade_end, length));
            continue;
        }
        moved[i].start = back(kStart, tracks[i].start, place.fade_start);
        moved[i].end = back(kEnd, tracks[i].end, place.fade_end);
    }
    tracks = moved;
}

}  // namespace Orvane
