// The one guard that says whether a recording is busy. Whatever changes the corrections of a recording, or relies for
// long on their staying as they are, asks here first. Main thread.
#pragma once

#include <cstdint>
#include <utility>

#include "collection/filehistory.h"
#include "foundation/outcome.h"

namespace Orvane {

// Several Reads may run together; everything else has the recording for itself.
enum class RecordingUse : uint8_t {
    Edit,   // a change at once, which is over before anything else can begin
    Patch,  // the "Patch Selection" dialog is open, and a patch may be on trial
    Scan,   // for clicks
    Read,   // saving, or measuring the noise
};

// Whether it can begin now. A refusal, of the kind Busy, says what is in the way.
[[nodiscard]] Foundation::Outcome AskForRecording(const FileHistoryEntry& entry, RecordingUse use);

// Has a recording for a use until it goes.
class BusyRecording {
public:
    static Foundation::Result<BusyRecording> Begin(FileHistoryEntry& entry, RecordingUse use);

    BusyRecording(BusyRecording&& other) noexcept = default;
    BusyRecording& operator=(BusyRecording&& other) noexcept {
        std::swap(entry, other.entry);
        std::swap(use, other.use);
        return *this;
    }
    ~BusyRecording();

private:
    BusyRecording(FileHistoryEntry& entry, RecordingUse use);

    Foundation::RefPtr<FileHistoryEntry> entry;
    RecordingUse use;
};

}  // namespace Orvane
