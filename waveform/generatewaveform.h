// Makes waveform files in the background and opens those that are there. A waveform is ready when its four files are
// there and not older than the recording; nothing else is remembered of it. Main thread.
#pragma once

#include <string_view>

#include "collection/dataobjects.h"
#include "foundation/platform.h"

namespace Orvane {

// How the making of a waveform ended.
enum class WaveformOutcome : int {
    Whole,
    Cancelled,   // what was written counts as older than any recording
    ReadError,   // the files end where the recording could not be read any further
    WriteError,  // there are no new files
};

enum class MayRegenerate { No, Yes };

// Opens a waveform file of the entry by its extension. False when it is missing or stale: a stale file is never opened.
// With MayRegenerate::Yes it is then requested anew, for which the open siblings, which may be null, are closed. True
// without a file is a failure that has been shown. `pf_wfx` must be empty.
bool OpenWaveformFile(FileHistoryEntry& entry, std::string_view extension, Foundation::FilePtr& pf_wfx,
                      Foundation::FilePtr* sibling_1, Foundation::FilePtr* sibling_2, MayRegenerate may_regenerate);
// True if that would open it.
bool IsWaveformFileFresh(const FileHistoryEntry& entry, std::string_view extension);
// True if all four files are fresh.
bool IsWaveformReady(const FileHistoryEntry& entry);

// Makes the entry's waveform on a thread of its own, of which MaxThreads run at a time; what is more waits in the order
// of the requests. A second request for what is waiting or being made does nothing. A recording that cannot be opened,
// or files that cannot be made, have been reported, once. While it runs the entry's `generating` is set and `progress`
// is the percentage; events 19 and EVENT_WAVEFORM_PROGRESS tell of it, the latter from the main loop.
void RequestWaveformData(FileHistoryEntry& entry);

// Sets who says how many ms pass between two reports of progress, half a second without. It is called on the thread
// that makes a waveform, before the third report, and may take a while. Before the first request.
void SetWaveformReportInterval(int32_t (*interval_ms)());

// Cancels the making of waveforms and forgets the requests: of all, of one recording, of an album or of a collection.
// None runs on return. The closing of an album and of a collection do it by themselves.
void WaitForWaveformThreads();
void WaitForWaveformThreads(const FileHistoryEntry& entry);
void WaitForWaveformThreads(const AlbumInfo& album);
void WaitForWaveformThreads(const AlbumSet& set);

// True if no waveform is being made or waiting for it. Otherwise `message` decides: 0 is no, below 0 or BusyHibernate
// yes, and for any other the user is asked whether to go ahead.
bool NoBackgroundJobs(int message);

}  // namespace Orvane
