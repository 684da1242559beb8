// Saving one track as an audio file: where it goes, whether what is there is still good, and the writing itself.
#pragma once

#include <functional>
#include <string>

#include "foundation/outcome.h"
#include "save/savesettings.h"

namespace Orvane {

// How the check before a save, or a save, came out.
enum SaveTrackStatus : int {
    SAVE_DONE = 0,
    SAVE_ALREADY = 1,  // the file is there and good
    SAVE_NEEDED = 2,
    SAVE_PARTIAL = 3,  // saved as far as the recording goes
    SAVE_FAILED = 4,
    SAVE_SKIPPED = 5,      // the user leaves it out
    SAVE_NO_BREAK = 6,     // no track break yet, or outside the recording
    SAVE_CANNOT_HOLD = 8,  // the format cannot hold the recording
    SAVE_CANCELLED = 9,
};
// "saved", "already saved", "partially saved", "skipped", "failed", "cancelled".
const char* SaveStatusText(SaveTrackStatus status);

// One track's share of a job.
struct TrackToSave {
    const AlbumInfo& album;
    int track;              // index
    std::string filename;   // full
    std::string signature;  // its TrackFileSignature
};

// What became of it, and why it was not saved as a whole.
struct TrackResult {
    SaveTrackStatus status = SAVE_NEEDED;
    Foundation::Outcome reason;
};

// The check before a save: SAVE_ALREADY, SAVE_NEEDED, SAVE_SKIPPED, SAVE_NO_BREAK, SAVE_CANNOT_HOLD or SAVE_FAILED.
TrackResult CheckTrack(const TrackToSave& job, const SaveSettings& settings);

// Called during a save with what has been written and will be, in frames; false cancels.
using SaveProgress = std::function<bool(int64_t done, int64_t total)>;

// Writes the track through a temporary file, so that at every moment the old file or the new one is there, whole; a
// file that Orvane did not save goes to the Trash. SAVE_DONE, SAVE_PARTIAL, SAVE_NO_BREAK, SAVE_FAILED or
// SAVE_CANCELLED. Any thread; the album must not change meanwhile.
TrackResult WriteTrack(const TrackToSave& job, const SaveSettings& settings, const SaveProgress& progress);

}  // namespace Orvane
