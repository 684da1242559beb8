#include "cleanup/edit/patchselection.h"

#include <algorithm>

#include "cleanup/repair/correctionslist.h"
#include "cleanup/repair/patchaudio.h"
#include "foundation/host.h"
#include "foundation/messages.h"
#include "foundation/progress.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int kBest = 3;  // behind the methods in the order of PatchMethod
constexpr int kMostPreamp = 120;

bool IsPatch(const ClickRepair& repair) {
    return repair.repair_type == REPAIR_PATCH;
}

bool HasPatch(const ClickRepairList& list, int64_t start, int64_t end) {
    const ClickRepair* e = FirstRepairAfter(list, start);
    for (; e && e->absolute_start_time < end; e = ClickRepairList::Next(e)) {
        if (IsPatch(*e)) return true;
    }
    return false;
}

void Enter(ClickRepairList& list, int64_t start, int64_t end, const std::vector<int16_t>& samples, bool stereo) {
    auto patch = std::make_unique<ClickRepair>(REPAIR_PATCH, start, end, int16_t{0});
    auto stored = std::make_unique_for_overwrite<int16_t[]>(samples.size());
    std::copy(samples.begin(), samples.end(), stored.get());
    patch->SetSamples(std::move(stored));
    patch->wiggles = stereo ? INT16_MIN : 0;
    ClickRepair* slot = nullptr;
    const AddOutcome add_entry_result = AddRepair(list, patch, slot, ADD_SCANNED).outcome;
    ORVANE_ASSERT(add_entry_result != AddOutcome::Inside);
}

void Tell(Msg id) {
    ShowMessage(FormatMsg(id), Severity::Information);
}

}  // namespace

PatchOptions LoadPatchOptions() {
    PatchOptions options;
    const int method = GetSetting("Patch Method", kBest);
    if (method >= 0 && method < kBest) options.method = static_cast<PatchMethod>(method);
    options.preamp = std::clamp(GetSetting("Patch Preamp", 0), -kMostPreamp, kMostPreamp);
    return options;
}

void StorePatchOptions(const PatchOptions& options) {
    SetSettings({{"Patch Method", options.method ? static_cast<int>(*options.method) : kBest},
                 {"Patch Preamp", options.preamp}});
}

PatchSelection::PatchSelection(FileHistoryEntry& entry, int64_t start, int64_t end)
    : start(start), end(end), entry(entry), access(entry) {
    if (access) busy = std::move(*BusyRecording::Begin(entry, RecordingUse::Patch));
}

PatchSelection::~PatchSelection() {
    Withdraw();
}

bool PatchSelection::CheckLength() const {
    if (end <= start) {
        Tell(Msg::NothingSelected);
    } else if (end - start > entry.SampleRate() / 4) {
        Tell(Msg::SelectionTooLargeToPatch);
    } else if (start < 0 || end > access.FileLength()) {
        Tell(Msg::NoRoomForRepair);
    } else {
        return true;
    }
    return false;
}

bool PatchSelection::Begin() {
    if (!access || !CheckLength()) return false;
    if (!HasPatch(entry.click_repairs[0], start, end) && !HasPatch(entry.click_repairs[1], start, end)) return true;
    const Message question{FormatMsg(Msg::AlreadyPatched), Buttons::OkCancel, Severity::Warning,
                           "Warn Already Patched"};
    return Messages().Ask(question) == Answer::Ok;
}

// A patch inside a longer repair would leave only parts of that in force, so it takes all of it; patches go before.
void PatchSelection::WidenOverRepairs(int channels) {
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        const ClickRepair* e = FirstRepairAfter(entry.click_repairs[channel], start);
        if (!e || e->IsMarker() || IsPatch(*e)) continue;
        if (e->absolute_start_time > start || e->absolute_end_time < end) continue;
        start = e->absolute_start_time;
        end = e->absolute_end_time;
    }
}

bool PatchSelection::Try(const PatchOptions& options) {
    Withdraw();
    const int channels = options.channels & CHANNELS_BOTH;
    if (channels == 0) {
        Tell(Msg::NoChannelSelected);
        return false;
    }
    if (!access || !CheckLength()) return false;
    const int64_t selected_start = start, selected_end = end;
    WidenOverRepairs(channels);
    undo = std::make_unique<UndoPatch>(entry, channels, start, end);
    {
        const RepairsChange change(entry, undo->TouchedChannels());
        for (int channel = 0; channel < 2; ++channel) {
            if (!(channels & (1 << channel))) continue;
            DeleteStretch(entry.click_repairs[channel], selected_start, selected_end, IsPatch);
        }
    }
    Progress::Log("Calculating patch...");
    const PatchAudio patch = MakePatch(*access.Stream(), channels, {start, end, options.method, options.preamp});
    if (patch.outcome != PatchOutcome::Made) {
        Withdraw();
        if (patch.outcome == PatchOutcome::NoRoom) {
            Tell(Msg::NoRoomForRepair);
        } else {
            ShowLastError();
        }
        return false;
    }
    used = patch.used;
    const RepairsChange change(entry, undo->TouchedChannels());
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        Enter(entry.click_repairs[channel], start, end, patch.samples[channel], channels == CHANNELS_BOTH);
    }
    return true;
}

void PatchSelection::Keep() {
    AddUndo(std::move(undo));
}

void PatchSelection::Withdraw() {
    if (!undo) return;
    undo->PutBack(entry);
    undo.reset();
}

bool PatchRecording(FileHistoryEntry& entry, int64_t start, int64_t end, const PatchOptions& options,
                    PatchMethod* used) {
    PatchSelection selection(entry, start, end);
    if ((!options.replace && !selection.Begin()) || !selection.Try(options)) return false;
    if (used) *used = selection.Used();
    selection.Keep();
    return true;
}

}  // namespace Orvane
