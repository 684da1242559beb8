#include "cleanup/edit/editfilters.h"

#include <algorithm>
#include <numeric>

#include "cleanup/edit/undo_corrections.h"
#include "cleanup/filter/filtersettings.h"
#include "foundation/messages.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

struct Descriptions {
    Msg add, change, remove, move;
};
template <class T>
constexpr Descriptions kDescriptions = {Msg::AddFilter, Msg::ChangeFilter, Msg::RemoveFilter, Msg::MoveFilter};
template <>
constexpr Descriptions kDescriptions<FFTEq> = {Msg::AddCurve, Msg::ChangeCurve, Msg::RemoveCurve, Msg::MoveCurve};

template <class T>
std::string DescriptionOf(const SettingsEdit<T>& edit) {
    const Descriptions& all = kDescriptions<T>;
    const Msg texts[] = {all.add, all.change, all.remove, all.move};
    return FormatMsg(texts[static_cast<int>(edit.what)]);
}

// The places that settings come from when one is moved.
std::vector<int> OrderAfterMove(int n, int from, int to) {
    std::vector<int> order(static_cast<size_t>(n));
    ORVANE_ASSERT(from >= 0 && from < n && to >= 0 && to < n);
    std::iota(order.begin(), order.end(), 0);
    order.erase(order.begin() + from);
    order.insert(order.begin() + to, from);
    return order;
}

template <class T>
std::unique_ptr<UndoEntry> MakeUndo(FileHistoryEntry& entry, const SettingsEdit<T>& edit) {
    using What = typename SettingsEdit<T>::What;
    if (edit.what == What::Change) return std::make_unique<UndoSetting<T>>(entry, edit.index, DescriptionOf(edit));
    if (edit.what == What::Move) {
        const std::vector<int> order = OrderAfterMove(SettingsOf<T>(entry).size(), edit.index, edit.to);
        return std::make_unique<UndoOrder<T>>(entry, order, DescriptionOf(edit));
    }
    return std::make_unique<UndoSettings<T>>(entry, DescriptionOf(edit));
}

// The hiss filter relies on the rumble filter to keep the energy below its lowest bins out.
bool LosesRumble(const FilterValues& before, const FilterValues& after) {
    return before.rumble_mode == FILTER_ON && after.rumble_mode != FILTER_ON && after.hiss_mode == FILTER_ON;
}

// Whether the edit turns the rumble filter off under the hiss filter, somewhere in the recording.
bool LosesRumble(const LinkedList<FilterSetting>& settings, const SettingsEdit<FilterSetting>& edit) {
    LinkedList<FilterSetting> edited;
    for (const FilterSetting& setting : settings) edited.Append(new FilterSetting(setting));
    edit.ApplyTo(edited);
    for (int64_t position = 0; position != kNoChange;) {
        const SettingsAt before = GetSettingsAt(settings, position, PCM_NO_CUTS);
        const SettingsAt after = GetSettingsAt(edited, position, PCM_NO_CUTS);
        if (LosesRumble(before.values, after.values)) return true;
        position = std::min(before.next_change, after.next_change);
    }
    return false;
}

bool LosesRumble(const LinkedList<FFTEq>&, const SettingsEdit<FFTEq>&) {
    return false;
}

}  // namespace

template <class T>
void SettingsEdit<T>::ApplyTo(LinkedList<T>& list) const {
    switch (what) {
        case What::Add:
            for (const T& setting : settings) list.Append(new T(setting));
            break;
        case What::Change:
            *SettingAt(list, index) = settings.front();
            break;
        case What::Remove:
            list.Delete(SettingAt(list, index));
            break;
        case What::Move:
            Reorder(list, OrderAfterMove(list.size(), index, to));
    }
}

template <class T>
Outcome EditSettings(FileHistoryEntry& entry, const SettingsEdit<T>& edit, Answered answered) {
    if (answered == Answered::No && LosesRumble(SettingsOf<T>(entry), edit)) {
        return Outcome::Fail(Kind::NeedsAnswer, Msg::HissWithoutRumble);
    }
    const EditAccess access(entry);
    if (!access) return access.GetOutcome();
    auto undo = MakeUndo(entry, edit);
    {
        const SettingsChange change(entry);
        edit.ApplyTo(SettingsOf<T>(entry));
    }
    AddUndo(std::move(undo));
    return {};
}

Outcome DefineNoiseSample(FileHistoryEntry& entry, int64_t start, int64_t end) {
    ORVANE_ASSERT(start >= 0 && end > start);
    const EditAccess access(entry);
    if (!access) return access.GetOutcome();
    auto undo = std::make_unique<UndoNoiseSample>(entry, FormatMsg(Msg::DefineNoiseSample));
    {
        const TimelineChange change(entry);
        SetNoiseSample(entry, {start, end});
    }
    AddUndo(std::move(undo));
    return {};
}

template struct SettingsEdit<FilterSetting>;
template struct SettingsEdit<FFTEq>;
template Outcome EditSettings(FileHistoryEntry&, const SettingsEdit<FilterSetting>&, Answered);
template Outcome EditSettings(FileHistoryEntry&, const SettingsEdit<FFTEq>&, Answered);

}  // namespace Orvane
