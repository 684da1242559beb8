#include "cleanup/edit/patchselection.h"

#include <algorithm>

#include "cleanup/repair/correctionslist.h"
#include "cleanup/repair/patchaudio.h"
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
    const ClickRepair* e = list.FirstEndingAfter(start);
    for (; e && e->absolute_start_time < end; e = ClickRepairList::Next(e)) {
        if (IsPatch(*e)) return true;
    }
    return false;
}

void Enter(ClickRepairList& list, int64_t start, int64_t end, const std::vector<int16_t>& samples, bool stereo) {
    auto patch = std::make_unique<ClickRepair>(REPAIR_PATCH, start, end, int16_t{0});
    auto stored = std::make_shared_for_overwrite<int16_t[]>(samples.size());
    std::copy(samples.begin(), samples.end(), stored.get());
    patch->SetSamples(std::move(stored));
    patch->wiggles = stereo ? INT16_MIN : 0;
    ClickRepair* slot = nullptr;
    const AddOutcome add_entry_result = AddRepair(list, patch, slot, ADD_SCANNED).outcome;
    ORVANE_ASSERT(add_entry_result != AddOutcome::Inside);
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

Outcome PatchSelection::CheckLength() const {
    if (end <= start) return Outcome::Fail(Kind::Refused, Msg::NothingSelected);
    if (end - start > entry.SampleRate() / 4) return Outcome::Fail(Kind::Refused, Msg::SelectionTooLargeToPatch);
    if (start < 0 || end > access.FileLength()) return Outcome::Fail(Kind::Refused, Msg::NoRoomForRepair);
    return {};
}

Outcome PatchSelection::Begin() const {
    if (!access) return access.GetOutcome();
    if (Outcome checked = CheckLength(); !checked) return checked;
    for (const ClickRepairList& list : entry.click_repairs) {
        if (HasPatch(list, start, end)) return Outcome::Fail(Kind::NeedsAnswer, Msg::AlreadyPatched);
    }
    return {};
}

// A patch inside a longer repair would leave only parts of that in force, so it takes all of it; patches go before.
void PatchSelection::WidenOverRepairs(int channels) {
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        const ClickRepair* e = entry.click_repairs[channel].FirstEndingAfter(start);
        if (!e || e->IsMarker() || IsPatch(*e)) continue;
        if (e->absolute_start_time > start || e->absolute_end_time < end) continue;
        start = e->absolute_start_time;
        end = e->absolute_end_time;
    }
}

Outcome PatchSelection::Try(const PatchOptions& options) {
    Withdraw();
    const int channels = options.channels & CHANNELS_BOTH;
    if (channels == 0) return Outcome::Fail(Kind::Refused, Msg::NoChannelSelected);
    if (!access) return access.GetOutcome();
    if (Outcome checked = CheckLength(); !checked) return checked;
    const int64_t selected_start = start, selected_end = end;
    WidenOverRepairs(channels);
    undo = std::make_unique<UndoPatch>(entry, channels, start, end);
    undo->BeginTrial(entry);
    {
        const RepairsBracket change(entry, undo->TouchedChannels());
        for (int channel = 0; channel < 2; ++channel) {
            if (!(channels & (1 << channel))) continue;
            DeleteStretch(entry.click_repairs[channel], selected_start, selected_end, IsPatch);
        }
    }
    Progress::Log("Calculating patch...");
    const Result<PatchAudio> patch =
        MakePatch(*access.Stream(), channels, {start, end, options.method, options.preamp});
    if (!patch) {
        Withdraw();
        return patch.GetOutcome();
    }
    used = patch->used;
    const RepairsBracket change(entry, undo->TouchedChannels());
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        Enter(entry.click_repairs[channel], start, end, patch->samples[channel], channels == CHANNELS_BOTH);
    }
    return {};
}

void PatchSelection::Keep() {
    if (!undo) return;
    {
        const RepairsChange change(entry, undo->TouchedChannels());
        undo->EndTrial(entry);
    }
    AddUndo(std::move(undo));
}

void PatchSelection::Withdraw() {
    if (!undo) return;
    undo->Withdraw(entry);
    undo.reset();
}

Result<PatchMethod> PatchRecording(FileHistoryEntry& entry, int64_t start, int64_t end, const PatchOptions& options) {
    PatchSelection selection(entry, start, end);
    Outcome begun = selection.Begin();
    if (!begun && !(begun.Is(Kind::NeedsAnswer) && options.replace)) return begun;
    if (Outcome tried = selection.Try(options); !tried) return tried;
    selection.Keep();
    return selection.Used();
}

}  // namespace Orvane
