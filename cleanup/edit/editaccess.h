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

// Holds a recording open for an edit, with its repairs loaded. What was not open before is closed again at the end.
class EditAccess {
public:
    explicit EditAccess(FileHistoryEntry& entry);
    EditAccess(const EditAccess&) = delete;
    EditAccess& operator=(const EditAccess&) = delete;

    explicit operator bool() const { return static_cast<bool>(stream); }
    const Foundation::Outcome& GetOutcome() const { return outcome; }  // why the edit cannot be made
    // The entry's shared chain.
    FileToPCM* Stream() const { return stream.get(); }
    int64_t EditedLength() const { return stream->GetTotalSamples(Tesslib::PCM_NO_FILTERS); }
    int64_t FileLength() const { return stream->GetTotalSamples(Tesslib::PCM_NO_FILTERS | Tesslib::PCM_NO_CUTS); }

private:
    Foundation::Outcome outcome;
    Foundation::RefPtr<FileToPCM> stream;
};

// Around a change of the click repairs of `channels`. Readers see both lists as they were before or as they are after.
class RepairsBracket {
public:
    RepairsBracket(FileHistoryEntry& entry, int channels);

private:
    std::optional<ListChange> left, right;
};

// Around one that the user has decided on.
class RepairsChange {
public:
    RepairsChange(FileHistoryEntry& entry, int channels);
    ~RepairsChange();

private:
    FileHistoryEntry& entry;
    const int channels;
    const RepairsBracket bracket;
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
