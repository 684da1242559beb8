#include "split/cuttimeline.h"

#include <algorithm>

#include "foundation/assert.h"

using namespace Foundation;

namespace Orvane {
namespace {

// Rounded up, so that what begins there is not before the position.
int64_t TicksFrom(int32_t samplerate, int64_t frames) {
    const int64_t ticks = to_ticks(samplerate, frames);
    return to_samples(samplerate, ticks) < frames ? ticks + 1 : ticks;
}

}  // namespace

CutTimeline::CutTimeline(std::span<FileHistoryEntry* const> entries, const WaveformOverview& overview) {
    ORVANE_ASSERT(!entries.empty() && entries.size() == overview.recordings.size());
    int64_t file_time = 0, track_time = 0;
    for (size_t i = 0; i < entries.size(); ++i) {
        const int64_t n_samples = overview.recordings[i].n_samples;
        Recording recording{entries[i], overview.samplerate, file_time, 0, track_time, 0};
        recording.file_end = file_time += to_ticks(recording.samplerate, n_samples);
        recording.track_end = track_time +=
            to_ticks(recording.samplerate, std::max<int64_t>(0, n_samples - entries[i]->decided.cuts.TotalLength()));
        recordings.push_back(recording);
    }
}

const CutTimeline::Recording& CutTimeline::AtFileTime(int64_t position) const {
    for (const Recording& recording : recordings) {
        if (position < recording.file_end) return recording;
    }
    return recordings.back();
}

const CutTimeline::Recording& CutTimeline::AtTrackTime(int64_t position) const {
    for (const Recording& recording : recordings) {
        if (position < recording.track_end) return recording;
    }
    return recordings.back();
}

const CutTimeline::Recording* CutTimeline::After(const Recording& recording) const {
    return &recording == &recordings.back() ? nullptr : &recording + 1;
}

int64_t CutTimeline::ToFileTime(int64_t track_time) const {
    const Recording& r = AtTrackTime(track_time);
    const int64_t frames = to_samples(r.samplerate, track_time - r.track_start);
    return r.file_start + TicksFrom(r.samplerate, r.entry->decided.cuts.ToAbsolute(frames));
}

int64_t CutTimeline::ToTrackTime(int64_t file_time, int64_t* cut_end) const {
    const Recording& r = AtFileTime(file_time);
    const int64_t frames = to_samples(r.samplerate, file_time - r.file_start);
    if (cut_end) {
        *cut_end = -1;
        for (const CutAndSpliceCorrection& cut : r.entry->decided.cuts) {
            if (frames >= cut.absolute_start_time && frames < cut.absolute_end_time) {
                *cut_end = r.file_start + TicksFrom(r.samplerate, cut.absolute_end_time);
            }
        }
    }
    return r.track_start + to_ticks(r.samplerate, r.entry->decided.cuts.ToEdited(frames));
}

}  // namespace Orvane
