// Makes waveform files in the background and opens those that are there. A waveform is ready when its four files are
// there and not older than the recording; nothing else is remembered of it. Main thread.
#pragma once

#include <string_view>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"
#include "foundation/platform.h"

namespace Orvane {

enum class MayRegenerate { No, Yes };

// Opens a waveform file of the entry by its extension. Null when it is missing or stale: a stale file is never opened.
// With MayRegenerate::Yes it is then requested anew.
Foundation::Result<Foundation::FilePtr> OpenWaveformFile(FileHistoryEntry& entry, std::string_view extension,
                                                         MayRegenerate may_regenerate);
// True if a waveform file of the recording at this path is there and not stale. Any thread.
bool IsWaveformFileFresh(std::string_view recording_path, std::string_view extension);
// True if all four files are fresh.
bool IsWaveformReady(const FileHistoryEntry& entry);

// Makes the entry's waveform on a thread of its own, of which MaxThreads run at a time; what is more waits in the order
// of the requests. A second request for what is waiting or being made does nothing. It fails when it could start at
// once but the recording cannot be opened, or the files cannot be made.
//
// While it runs the entry's `generating` is set and `progress` is the percentage; events 19 and EVENT_WAVEFORM_PROGRESS
// tell of it, the latter from the main loop. That of the end carries a pointer to the Outcome: cancelled, which leaves
// files that count as older than any recording; a failure to read, which leaves files that end where the recording
// could not be read any further; a failure to write, which leaves no new files; or, for a request that had to wait, why
// it could not start.
Foundation::Outcome RequestWaveformData(FileHistoryEntry& entry);

// Sets who says how many ms pass between two reports of progress, half a second without. It is called on the thread
// that makes a waveform, before the third report, and may take a while. Before the first request.
void SetWaveformReportInterval(int32_t (*interval_ms)());

// Cancels the making of waveforms and forgets the requests: of all, of one recording, of an album or of a collection.
// None runs on return. The closing of an album and of a collection do it by themselves.
void WaitForWaveformThreads();
void WaitForWaveformThreads(const FileHistoryEntry& entry);
void WaitForWaveformThreads(const AlbumInfo& album);
void WaitForWaveformThreads(const AlbumSet& set);

// Done if no waveform is being made or waiting for it. Otherwise `message` decides: with 0 it is busy, below 0 or with
// BusyHibernate done all the same, and with any other the user is to be asked whether to go ahead.
Foundation::Outcome NoBackgroundJobs(int message);

}  // namespace Orvane
