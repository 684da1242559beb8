#include "cleanup/editfilters.h"

#include <numeric>

#include "cleanup/undo_corrections.h"
#include "foundation/host.h"
#include "foundation/messages.h"

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

bool MayChange(const FFTEq&, const FFTEq&) {
    return true;
}

// The hiss filter relies on the rumble filter to keep the energy below its lowest bins out.
bool MayChange(const FilterSetting& from, const FilterSetting& to) {
    const bool loses_rumble = from.values.rumble_mode == FILTER_ON && to.values.rumble_mode != FILTER_ON;
    if (!loses_rumble || to.values.hiss_mode != FILTER_ON) return true;
    const Message question{FormatMessage(Msg::HissWithoutRumble), Buttons::OkCancel, Severity::Warning, ""};
    return Messages().Ask(question) == Answer::Ok;
}

}  // namespace

template <class T>
bool AddSetting(FileHistoryEntry& entry, const T& setting) {
    return EditSettings<T>(entry, std::make_unique<UndoSettings<T>>(entry, FormatMessage(kDescriptions<T>.add)),
                           [&](LinkedList<T>& list) { list.Append(new T(setting)); });
}

template <class T>
bool ChangeSetting(FileHistoryEntry& entry, int index, const T& setting) {
    if (!MayChange(*SettingAt(SettingsOf<T>(entry), index), setting)) return false;
    return EditSettings<T>(entry,
                           std::make_unique<UndoSetting<T>>(entry, index, FormatMessage(kDescriptions<T>.change)),
                           [&](LinkedList<T>& list) { *SettingAt(list, index) = setting; });
}

template <class T>
bool RemoveSetting(FileHistoryEntry& entry, int index) {
    return EditSettings<T>(entry, std::make_unique<UndoSettings<T>>(entry, FormatMessage(kDescriptions<T>.remove)),
                           [&](LinkedList<T>& list) { list.Delete(SettingAt(list, index)); });
}

template <class T>
bool MoveSetting(FileHistoryEntry& entry, int from, int to) {
    std::vector<int> order(static_cast<size_t>(SettingsOf<T>(entry).size()));
    ORVANE_ASSERT(from >= 0 && from < static_cast<int>(order.size()) && to >= 0 && to < static_cast<int>(order.size()));
    std::iota(order.begin(), order.end(), 0);
    order.erase(order.begin() + from);
    order.insert(order.begin() + to, from);
    return EditSettings<T>(entry, std::make_unique<UndoOrder<T>>(entry, order, FormatMessage(kDescriptions<T>.move)),
                           [&](LinkedList<T>& list) { Reorder(list, order); });
}

bool DefineNoiseSample(FileHistoryEntry& entry, int64_t start, int64_t end) {
    ORVANE_ASSERT(start >= 0 && end > start);
    return EditSettings<FilterSetting>(entry,
                                       std::make_unique<UndoNoiseSample>(entry, FormatMessage(Msg::DefineNoiseSample)),
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
