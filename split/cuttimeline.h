// The two clocks of an album's recordings, laid end to end, both in ticks of 1/44100 s: track time, from which the cuts
// have been taken out, and file time, in which the recordings lie as they are on disk.
#pragma once

#include <span>
#include <vector>

#include "collection/filehistory.h"
#include "waveform/waveformdata.h"

namespace Orvane {

class CutTimeline {
public:
    struct Recording {
        const FileHistoryEntry* entry;
        int32_t samplerate;
        int64_t file_start, file_end;    // file time
        int64_t track_start, track_end;  // track time
    };

    // The recordings are those of the overview, which gives their lengths. They must outlive the timeline, and their
    // cuts must not change.
    CutTimeline(std::span<FileHistoryEntry* const> entries, const WaveformOverview& overview);

    // The recording that holds a position; the last one for what lies behind the end. There is at least one.
    const Recording& AtFileTime(int64_t position) const;
    const Recording& AtTrackTime(int64_t position) const;
    const Recording* After(const Recording& recording) const;
    int64_t FileEnd() const { return recordings.back().file_end; }

    int64_t ToFileTime(int64_t track_time) const;
    // A position inside a cut gives the place of the cut. `cut_end` is then the file time at which the cut ends, and
    // otherwise -1.
    int64_t ToTrackTime(int64_t file_time, int64_t* cut_end = nullptr) const;

private:
    std::vector<Recording> recordings;
};

}  // namespace Orvane
