// What every edit of a recording's corrections needs: the recording open with its repairs loaded, and the bracket
// around the changes of several lists. Main thread.
#pragma once

#include <optional>

#include "cleanup/chain/audiofilter.h"
#include "collection/filehistory.h"
#include "collection/listchange.h"
#include "foundation/outcome.h"

namespace Orvane {

// Channels of a recording, as bits.
enum Channels : int { CHANNEL_LEFT = 1, CHANNEL_RIGHT = 2, CHANNELS_BOTH = 3 };

// Holds a recording open for an edit. What was not open before is closed again, and its repairs saved, at the end.
class EditAccess {
public:
    explicit EditAccess(FileHistoryEntry& entry);
    ~EditAccess();
    EditAccess(const EditAccess&) = delete;
    EditAccess& operator=(const EditAccess&) = delete;

    explicit operator bool() const { return stream != nullptr; }
    const Foundation::Outcome& GetOutcome() const { return outcome; }  // why the edit cannot be made
    // The entry's shared chain.
    FileToPCM* Stream() const { return stream; }
    int64_t EditedLength() const { return stream->GetTotalSamples(Tesslib::PCM_NO_FILTERS); }
    int64_t FileLength() const { return stream->GetTotalSamples(Tesslib::PCM_NO_FILTERS | Tesslib::PCM_NO_CUTS); }

private:
    FileHistoryEntry& entry;
    const bool opened;
    FileToPCM* stream = nullptr;
    Foundation::Outcome outcome;
};

// While one lives, an EditAccess is refused: the "Patch Selection" dialog is open.
class EditsBarred {
public:
    EditsBarred();
    ~EditsBarred();
    EditsBarred(const EditsBarred&) = delete;
    EditsBarred& operator=(const EditsBarred&) = delete;
};

// A change of the click repairs of `channels`. Readers see both lists as they were before or as they are after.
class RepairsChange {
public:
    RepairsChange(FileHistoryEntry& entry, int channels);
    ~RepairsChange();

private:
    FileHistoryEntry& entry;
    std::optional<ListChange> left, right;
};

// A change of cuts, filter settings, curves and markers, whose times depend on each other: at its end they agree.
class TimelineChange {
public:
    explicit TimelineChange(FileHistoryEntry& entry);
    ~TimelineChange();

private:
    FileHistoryEntry& entry;
    ListChange cuts, filters, curves, markers;
};

}  // namespace Orvane
