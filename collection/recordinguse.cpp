#include "collection/recordinguse.h"

#include "foundation/mainloop.h"

using namespace Foundation;

namespace Orvane {

Outcome AskForRecording(const FileHistoryEntry& entry, RecordingUse use) {
    ORVANE_ASSERT(IsMainThread());
    const auto running = [&](RecordingUse other) { return entry.n_uses[static_cast<size_t>(other)] > 0; };
    if (running(RecordingUse::Patch)) return Outcome::Fail(Kind::Busy, Msg::PatchDialogOpen);
    if (running(RecordingUse::Scan) || (running(RecordingUse::Read) && use != RecordingUse::Read)) {
        const Msg reason = running(RecordingUse::Scan) ? Msg::RecordingScanned : Msg::RecordingRead;
        return Outcome::Fail(Kind::Busy, reason, entry.GetPath()).About(entry.GetPath());
    }
    return {};
}

Result<BusyRecording> BusyRecording::Begin(FileHistoryEntry& entry, RecordingUse use) {
    if (Outcome free = AskForRecording(entry, use); !free) return free;
    return BusyRecording(entry, use);
}

BusyRecording::BusyRecording(FileHistoryEntry& busy, RecordingUse use) : entry(&busy), use(use) {
    ++entry->n_uses[static_cast<size_t>(use)];
}

BusyRecording::~BusyRecording() {
    if (entry) --entry->n_uses[static_cast<size_t>(use)];
}

}  // namespace Orvane
