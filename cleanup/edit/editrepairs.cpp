#include "cleanup/edit/editrepairs.h"

#include <algorithm>

#include "cleanup/edit/undo_corrections.h"
#include "cleanup/repair/correctionslist.h"
#include "cleanup/repair/repairsurroundings.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

using OwnedRepair = std::unique_ptr<ClickRepair>;

// Computes manual repairs of a recording that is open for an edit.
class ManualRepairs {
public:
    ManualRepairs(FileToPCM* stream, int32_t samplerate) : reader(stream), samplerate(samplerate) {}

    Result<OwnedRepair> Make(int channel, int64_t start, int64_t end) {
        if (start < 0) return Failure(RepairResult::TooNearEdge);
        end = std::min(end, start + to_samples(samplerate, kMaxRepair));
        const int pad = RepairPad(to_ticks(samplerate, end - start));
        auto repair = std::make_unique<ClickRepair>(REPAIR_MANUAL, start, end,
                                                    static_cast<int16_t>(MulDiv(pad, samplerate, kTicksPerSecond)));
        const Result<RepairResult> made = MakeRepair(reader, repairer, channel, samplerate, *repair);
        if (!made) return made.GetOutcome();
        if (*made != RepairResult::Repaired && *made != RepairResult::Overshoot) return Failure(*made);
        return repair;
    }

private:
    static Outcome Failure(RepairResult result) {
        return Outcome::Fail(Kind::Refused,
                             result == RepairResult::TooNearEdge ? Msg::NoRoomForRepair : Msg::RepairNotMade);
    }

    ScanReader reader;
    ClickRepairer repairer;
    const int32_t samplerate;
};

// Enters a manual repair; what stands in its place now. Inside an existing one it changes only its own stretch of that.
const ClickRepair& Enter(ClickRepairList& list, OwnedRepair repair) {
    ClickRepair* slot = nullptr;
    if (AddRepair(list, repair, slot, ADD_SCANNED).outcome == AddOutcome::Inside) {
        slot->WriteInside(repair->absolute_start_time, repair->Samples());
        if (slot->repair_type != REPAIR_PATCH) slot->repair_type = REPAIR_MANUAL;
    }
    return *slot;
}

Outcome CheckSelection(int channels, int64_t start, int64_t end) {
    if (!(channels & CHANNELS_BOTH)) return Outcome::Fail(Kind::Refused, Msg::NoChannelSelected);
    if (end <= start) return Outcome::Fail(Kind::Refused, Msg::NothingSelected);
    return {};
}

ClickRepair* Find(const FileHistoryEntry& entry, const RepairPlace& place) {
    ClickRepair* repair = entry.click_repairs[place.channel].FirstEndingAfter(place.start);
    return repair && repair->absolute_start_time == place.start ? repair : nullptr;
}

}  // namespace

Outcome InsertRepair(FileHistoryEntry& entry, int channels, int64_t start, int64_t end) {
    if (Outcome checked = CheckSelection(channels, start, end); !checked) return checked;
    const EditAccess access(entry);
    if (!access) return access.GetOutcome();
    ManualRepairs manual(access.Stream(), entry.SampleRate());
    OwnedRepair repairs[2];
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        Result<OwnedRepair> made = manual.Make(channel, start, end);
        if (!made) return made.GetOutcome();
        repairs[channel] = std::move(*made);
    }
    auto undo = std::make_unique<UndoInsertClickRepair>(entry, channels, start, end, FormatMsg(Msg::ManualRepair));
    {
        const RepairsChange change(entry, undo->TouchedChannels());
        for (int channel = 0; channel < 2; ++channel) {
            if (repairs[channel]) Enter(entry.click_repairs[channel], std::move(repairs[channel]));
        }
    }
    AddUndo(std::move(undo));
    return {};
}

Result<RepairPlace> AdjustRepair(FileHistoryEntry& entry, const RepairPlace& place, int64_t start, int64_t end) {
    const int channel = place.channel;
    if (Outcome checked = CheckSelection(1 << channel, start, end); !checked) return checked;
    const EditAccess access(entry);
    if (!access) return access.GetOutcome();
    ClickRepair* repair = Find(entry, place);
    if (!repair) return Outcome::Fail(Kind::Refused, Msg::RepairGone);
    if (repair->repair_type == REPAIR_PATCH) return Outcome::Fail(Kind::Refused, Msg::PatchKeepsItsWidth);
    auto undo =
        std::make_unique<UndoAdjustClickRepair>(entry, channel, *repair, start, end, FormatMsg(Msg::AdjustRepairWidth));
    undo->BeginTrial(entry);
    if (!repair->IsMarker()) {
        // What the repair no longer covers must be read as it is in the file.
        const RepairsBracket change(entry, 1 << channel);
        repair->repair_type = REPAIR_RECOMPUTED;
    }
    ManualRepairs manual(access.Stream(), entry.SampleRate());
    Result<OwnedRepair> made = manual.Make(channel, start, end);
    if (!made) {
        undo->Withdraw(entry);
        return made.GetOutcome();
    }
    RepairPlace now;
    {
        const RepairsChange change(entry, undo->TouchedChannels());
        undo->EndTrial(entry);
        ClickRepairList& list = entry.click_repairs[channel];
        list.Delete(repair);
        const ClickRepair& entered = Enter(list, std::move(*made));
        now = {channel, entered.absolute_start_time, entered.absolute_end_time};
    }
    AddUndo(std::move(undo));
    return now;
}

Result<int> DeleteRepairs(FileHistoryEntry& entry, int channels, int64_t start, int64_t end) {
    if (Outcome checked = CheckSelection(channels, start, end); !checked) return checked;
    const EditAccess access(entry);
    if (!access) return access.GetOutcome();
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

Result<int> RepairMarkers(FileHistoryEntry& entry, int channels, int16_t type, int64_t start, int64_t end) {
    if (Outcome checked = CheckSelection(channels, start, end); !checked) return checked;
    const EditAccess access(entry);
    if (!access) return access.GetOutcome();
    ManualRepairs manual(access.Stream(), entry.SampleRate());
    std::vector<OwnedRepair> made[2];
    Outcome failure;
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        const ClickRepair* e = entry.click_repairs[channel].FirstEndingAfter(start);
        for (; e && e->absolute_start_time < end; e = ClickRepairList::Next(e)) {
            if (e->repair_type != type) continue;
            Result<OwnedRepair> repair = manual.Make(channel, e->absolute_start_time, e->absolute_end_time);
            if (!repair)
                failure = repair.GetOutcome();
            else
                made[channel].push_back(std::move(*repair));
        }
    }
    const int n_made = static_cast<int>(made[0].size() + made[1].size());
    if (n_made == 0 && !failure) return failure;
    if (n_made == 0) return 0;
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
