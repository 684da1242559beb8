#include "cleanup/edit/editrepairs.h"

#include <algorithm>

#include "cleanup/edit/undo_corrections.h"
#include "cleanup/repair/correctionslist.h"
#include "cleanup/repair/repairsurroundings.h"
#include "foundation/host.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

using OwnedRepair = std::unique_ptr<ClickRepair>;

// Computes manual repairs of a recording that is open for an edit.
class ManualRepairs {
public:
    ManualRepairs(FileToPCM* stream, int32_t samplerate) : reader(stream), samplerate(samplerate) {}

    // Null when there is none, see `outcome`.
    OwnedRepair Make(int channel, int64_t start, int64_t end) {
        end = std::min(end, start + to_samples(samplerate, kMaxRepair));
        const int pad = RepairPad(to_ticks(samplerate, end - start));
        auto repair = std::make_unique<ClickRepair>(REPAIR_MANUAL, start, end,
                                                    static_cast<int16_t>(MulDiv(pad, samplerate, kTicksPerSecond)));
        outcome = start < 0 ? RepairResult::TooNearEdge : MakeRepair(reader, repairer, channel, samplerate, *repair);
        const bool made = outcome == RepairResult::Repaired || outcome == RepairResult::Overshoot;
        return made ? std::move(repair) : nullptr;
    }

    // Says why the last one could not be made.
    void ShowReason() const {
        if (!outcome) {
            ShowLastError();
        } else {
            ShowMessage(FormatMsg(outcome == RepairResult::TooNearEdge ? Msg::NoRoomForRepair : Msg::RepairNotMade));
        }
    }

private:
    ScanReader reader;
    ClickRepairer repairer;
    const int32_t samplerate;
    std::optional<RepairResult> outcome;
};

// Enters a manual repair. Inside an existing one it changes only its own stretch of that.
void Enter(ClickRepairList& list, OwnedRepair repair) {
    ClickRepair* slot = nullptr;
    if (AddRepair(list, repair, slot, ADD_SCANNED).outcome != AddOutcome::Inside) return;
    const int64_t offset = repair->absolute_start_time - slot->absolute_start_time;
    std::copy_n(repair->samples.get(), repair->Length(), slot->samples.get() + offset);
    slot->FindExtremes();
    if (slot->repair_type != REPAIR_PATCH) slot->repair_type = REPAIR_MANUAL;
}

bool HasSelection(int channels, int64_t start, int64_t end) {
    if (channels & CHANNELS_BOTH && end > start) return true;
    ShowMessage(FormatMsg(channels & CHANNELS_BOTH ? Msg::NothingSelected : Msg::NoChannelSelected),
                Severity::Information);
    return false;
}

}  // namespace

bool InsertRepair(FileHistoryEntry& entry, int channels, int64_t start, int64_t end) {
    if (!HasSelection(channels, start, end)) return false;
    const EditAccess access(entry);
    if (!access) return false;
    ManualRepairs manual(access.Stream(), entry.SampleRate());
    OwnedRepair made[2];
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        made[channel] = manual.Make(channel, start, end);
        if (made[channel]) continue;
        manual.ShowReason();
        return false;
    }
    auto undo = std::make_unique<UndoInsertClickRepair>(entry, channels, start, end, FormatMsg(Msg::ManualRepair));
    {
        const RepairsChange change(entry, undo->TouchedChannels());
        for (int channel = 0; channel < 2; ++channel) {
            if (made[channel]) Enter(entry.click_repairs[channel], std::move(made[channel]));
        }
    }
    AddUndo(std::move(undo));
    return true;
}

bool AdjustRepair(FileHistoryEntry& entry, int channel, ClickRepair& repair, int64_t start, int64_t end) {
    if (repair.repair_type == REPAIR_PATCH || !HasSelection(1 << channel, start, end)) return false;
    const EditAccess access(entry);
    if (!access) return false;
    auto undo =
        std::make_unique<UndoAdjustClickRepair>(entry, channel, repair, start, end, FormatMsg(Msg::AdjustRepairWidth));
    if (!repair.IsMarker()) {
        // What the repair no longer covers must be read as it is in the file.
        const RepairsChange change(entry, 1 << channel);
        repair.repair_type = REPAIR_RECOMPUTED;
    }
    ManualRepairs manual(access.Stream(), entry.SampleRate());
    OwnedRepair made = manual.Make(channel, start, end);
    if (!made) {
        undo->PutBack(entry);
        manual.ShowReason();
        return false;
    }
    {
        const RepairsChange change(entry, undo->TouchedChannels());
        ClickRepairList& list = entry.click_repairs[channel];
        list.Delete(&repair);
        Enter(list, std::move(made));
    }
    AddUndo(std::move(undo));
    return true;
}

int DeleteRepairs(FileHistoryEntry& entry, int channels, int64_t start, int64_t end) {
    if (!HasSelection(channels, start, end)) return 0;
    const EditAccess access(entry);
    if (!access) return 0;
    auto undo = std::make_unique<UndoDeleteClickRepair>(entry, channels, start, end, FormatMsg(Msg::DeleteRepair));
    int n_deleted = 0;
    {
        const RepairsChange change(entry, undo->TouchedChannels());
        for (int channel = 0; channel < 2; ++channel) {
            if (channels & (1 << channel))
                n_deleted +=
                    DeleteStretch(entry.click_repairs[channel], start, end, [](const ClickRepair&) { return true; });
        }
    }
    if (n_deleted) AddUndo(std::move(undo));
    return n_deleted;
}

int RepairMarkers(FileHistoryEntry& entry, int channels, int16_t type, int64_t start, int64_t end) {
    if (!HasSelection(channels, start, end)) return 0;
    const EditAccess access(entry);
    if (!access) return 0;
    ManualRepairs manual(access.Stream(), entry.SampleRate());
    std::vector<OwnedRepair> made[2];
    bool failed = false;
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        const ClickRepair* e = FirstRepairAfter(entry.click_repairs[channel], start);
        for (; e && e->absolute_start_time < end; e = ClickRepairList::Next(e)) {
            if (e->repair_type != type) continue;
            OwnedRepair repair = manual.Make(channel, e->absolute_start_time, e->absolute_end_time);
            if (!repair)
                failed = true;
            else
                made[channel].push_back(std::move(repair));
        }
    }
    const int n_made = static_cast<int>(made[0].size() + made[1].size());
    if (n_made == 0) {
        if (failed) manual.ShowReason();
        return 0;
    }
    auto undo = std::make_unique<UndoInsertClickRepair>(entry, channels, start, end, FormatMsg(Msg::RepairMarkers));
    {
        const RepairsChange change(entry, undo->TouchedChannels());
        for (int channel = 0; channel < 2; ++channel) {
            for (OwnedRepair& repair : made[channel]) Enter(entry.click_repairs[channel], std::move(repair));
        }
    }
    AddUndo(std::move(undo));
    return n_made;
}

}  // namespace Orvane
