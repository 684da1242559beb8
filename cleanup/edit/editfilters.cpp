#include "cleanup/edit/editfilters.h"

#include <algorithm>
#include <numeric>

#include "cleanup/edit/undo_corrections.h"
#include "cleanup/filter/filtersettings.h"
#include "foundation/host.h"
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

// Runs `edit` on the list as one action.
template <class T, class Edit>
bool EditSettings(FileHistoryEntry& entry, std::unique_ptr<UndoEntry> undo, Edit edit) {
    const EditAccess access(entry);
    if (!access) return false;
    {
        const TimelineChange change(entry);
        edit(SettingsOf<T>(entry));
    }
    AddUndo(std::move(undo));
    return true;
}

template <class Edit>
bool MayEdit(const LinkedList<FFTEq>&, Edit) {
    return true;
}

// The hiss filter relies on the rumble filter to keep the energy below its lowest bins out.
bool LosesRumble(const FilterValues& before, const FilterValues& after) {
    return before.rumble_mode == FILTER_ON && after.rumble_mode != FILTER_ON && after.hiss_mode == FILTER_ON;
}

// Asks if the edit turns the rumble filter off under the hiss filter, somewhere in the recording.
template <class Edit>
bool MayEdit(const LinkedList<FilterSetting>& settings, Edit edit) {
    LinkedList<FilterSetting> edited;
    for (const FilterSetting& setting : settings) edited.Append(new FilterSetting(setting));
    edit(edited);
    for (int64_t position = 0; position != kNoChange;) {
        const SettingsAt before = GetSettingsAt(settings, position, PCM_NO_CUTS);
        const SettingsAt after = GetSettingsAt(edited, position, PCM_NO_CUTS);
        if (LosesRumble(before.values, after.values)) {
            const Message question{FormatMsg(Msg::HissWithoutRumble), Buttons::OkCancel, Severity::Warning, ""};
            return Messages().Ask(question) == Answer::Ok;
        }
        position = std::min(before.next_change, after.next_change);
    }
    return true;
}

// As EditSettings, if the user wants what comes of it.
template <class T, class Edit>
bool AskAndEdit(FileHistoryEntry& entry, std::unique_ptr<UndoEntry> undo, Edit edit) {
    return MayEdit(SettingsOf<T>(entry), edit) && EditSettings<T>(entry, std::move(undo), edit);
}

}  // namespace

template <class T>
bool AddSetting(FileHistoryEntry& entry, const T& setting) {
    return AskAndEdit<T>(entry, std::make_unique<UndoSettings<T>>(entry, FormatMsg(kDescriptions<T>.add)),
                         [&](LinkedList<T>& list) { list.Append(new T(setting)); });
}

template <class T>
bool ChangeSetting(FileHistoryEntry& entry, int index, const T& setting) {
    return AskAndEdit<T>(entry, std::make_unique<UndoSetting<T>>(entry, index, FormatMsg(kDescriptions<T>.change)),
                         [&](LinkedList<T>& list) { *SettingAt(list, index) = setting; });
}

template <class T>
bool RemoveSetting(FileHistoryEntry& entry, int index) {
    return AskAndEdit<T>(entry, std::make_unique<UndoSettings<T>>(entry, FormatMsg(kDescriptions<T>.remove)),
                         [&](LinkedList<T>& list) { list.Delete(SettingAt(list, index)); });
}

template <class T>
bool MoveSetting(FileHistoryEntry& entry, int from, int to) {
    std::vector<int> order(static_cast<size_t>(SettingsOf<T>(entry).size()));
    ORVANE_ASSERT(from >= 0 && from < static_cast<int>(order.size()) && to >= 0 && to < static_cast<int>(order.size()));
    std::iota(order.begin(), order.end(), 0);
    order.erase(order.begin() + from);
    order.insert(order.begin() + to, from);
    return AskAndEdit<T>(entry, std::make_unique<UndoOrder<T>>(entry, order, FormatMsg(kDescriptions<T>.move)),
                         [&](LinkedList<T>& list) { Reorder(list, order); });
}

bool DefineNoiseSample(FileHistoryEntry& entry, int64_t start, int64_t end) {
    ORVANE_ASSERT(start >= 0 && end > start);
    return EditSettings<FilterSetting>(entry,
                                       std::make_unique<UndoNoiseSample>(entry, FormatMsg(Msg::DefineNoiseSample)),
                                       [&](LinkedList<FilterSetting>&) {
                                           SetNoiseSample(entry, {start, end});
                                       });
}

template bool AddSetting(FileHistoryEntry&, const FilterSetting&);
template bool AddSetting(FileHistoryEntry&, const FFTEq&);
template bool ChangeSetting(FileHistoryEntry&, int, const FilterSetting&);
template bool ChangeSetting(FileHistoryEntry&, int, const FFTEq&);
template bool RemoveSetting<FilterSetting>(FileHistoryEntry&, int);
template bool RemoveSetting<FFTEq>(FileHistoryEntry&, int);
template bool MoveSetting<FilterSetting>(FileHistoryEntry&, int, int);
template bool MoveSetting<FFTEq>(FileHistoryEntry&, int, int);

}  // namespace Orvane
