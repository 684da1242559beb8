#include "cleanup/edit/undo_corrections.h"

#include <algorithm>

#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

template <class T>
std::vector<T> Copies(const LinkedList<T>& list) {
    std::vector<T> copies;
    for (const T& e : list) copies.push_back(e);
    return copies;
}

template <class T>
void Replace(LinkedList<T>& list, const std::vector<T>& contents) {
    list.Clear();
    for (const T& e : contents) list.Append(new T(e));
}

}  // namespace

UndoResult UndoCorrections::Apply() {
    const Result<FileHistoryEntry*> entry = ref.Find();
    if (!entry) return entry.GetOutcome();
    const EditAccess access(**entry);
    if (!access) return access.GetOutcome();
    return Exchange(**entry);
}

UndoRepairs::UndoRepairs(const FileHistoryEntry& entry, RepairStretch stretch, std::string description)
    : UndoCorrections(entry, std::move(description)), stretch(std::move(stretch)) {}

void UndoRepairs::ExchangeStretch(FileHistoryEntry& entry) {
    const RepairsChange change(entry, stretch.NotedChannels());
    stretch.Exchange(entry);
}

std::unique_ptr<UndoEntry> UndoRepairs::Exchange(FileHistoryEntry& entry) {
    ExchangeStretch(entry);
    return std::make_unique<UndoRepairs>(entry, std::move(stretch), description);
}

UndoAdjustClickRepair::UndoAdjustClickRepair(const FileHistoryEntry& entry, int channel, const ClickRepair& repair,
                                             int64_t start, int64_t end, std::string description)
    : UndoRepairs(entry,
                  RepairStretch(entry, 1 << channel, std::min(start, repair.absolute_start_time),
                                std::max(end, repair.absolute_end_time)),
                  std::move(description)) {}

UndoPatch::UndoPatch(const FileHistoryEntry& entry, int channels, int64_t start, int64_t end)
    : UndoRepairs(entry, RepairStretch(entry, channels, start, end), FormatMsg(Msg::PatchSelection)) {}

UndoCuts::UndoCuts(const FileHistoryEntry& entry, std::string description)
    : UndoCorrections(entry, std::move(description)), cuts(Copies(entry.decided.cuts)) {}

std::unique_ptr<UndoEntry> UndoCuts::Exchange(FileHistoryEntry& entry) {
    auto opposite = std::make_unique<UndoCuts>(entry, description);
    const TimelineChange change(entry);
    Replace(entry.decided.cuts, cuts);
    return opposite;
}

UndoUpdateCorrections::UndoUpdateCorrections(const FileHistoryEntry& entry, RepairStretch stretch,
                                             std::string description)
    : UndoRepairs(entry, std::move(stretch), std::move(description)), scan(entry.decided.click_scan) {}

UndoUpdateCorrections::UndoUpdateCorrections(const FileHistoryEntry& entry, int channels, int64_t start, int64_t end,
                                             std::string description)
    : UndoUpdateCorrections(entry, RepairStretch(entry, channels, start, end), std::move(description)) {}

std::unique_ptr<UndoEntry> UndoUpdateCorrections::Exchange(FileHistoryEntry& entry) {
    ExchangeStretch(entry);
    auto opposite =
        std::unique_ptr<UndoUpdateCorrections>(new UndoUpdateCorrections(entry, std::move(stretch), description));
    entry.decided.click_scan = scan;
    return opposite;
}

template <>
LinkedList<FilterSetting>& SettingsOf(FileHistoryEntry& entry) {
    return entry.decided.filters;
}

template <>
LinkedList<FFTEq>& SettingsOf(FileHistoryEntry& entry) {
    return entry.decided.fft_eqs;
}

template <class T>
T* SettingAt(LinkedList<T>& list, int index) {
    ORVANE_ASSERT(index >= 0 && index < list.size());
    T* e = list.First();
    while (index-- > 0) e = LinkedList<T>::Next(e);
    return e;
}

template <class T>
void Reorder(LinkedList<T>& list, const std::vector<int>& order) {
    ORVANE_ASSERT(static_cast<int>(order.size()) == list.size());
    std::vector<T*> entries;
    while (T* e = list.First()) entries.push_back(list.Remove(e));
    for (const int from : order) list.Append(entries[static_cast<size_t>(from)]);
}

template <class T>
UndoSetting<T>::UndoSetting(FileHistoryEntry& entry, int index, std::string description)
    : UndoCorrections(entry, std::move(description)), index(index), setting(*SettingAt(SettingsOf<T>(entry), index)) {}

template <class T>
bool UndoSetting<T>::Covers(const UndoEntry& later) const {
    const auto* other = dynamic_cast<const UndoSetting*>(&later);
    return other && other->ref == this->ref && other->index == index;
}

template <class T>
std::unique_ptr<UndoEntry> UndoSetting<T>::Exchange(FileHistoryEntry& entry) {
    auto opposite = std::make_unique<UndoSetting<T>>(entry, index, description);
    const SettingsChange change(entry);
    *SettingAt(SettingsOf<T>(entry), index) = setting;
    return opposite;
}

template <class T>
UndoOrder<T>::UndoOrder(const FileHistoryEntry& entry, const std::vector<int>& order, std::string description)
    : UndoCorrections(entry, std::move(description)), back(order.size()) {
    for (size_t i = 0; i < order.size(); ++i) back[static_cast<size_t>(order[i])] = static_cast<int>(i);
}

template <class T>
std::unique_ptr<UndoEntry> UndoOrder<T>::Exchange(FileHistoryEntry& entry) {
    const SettingsChange change(entry);
    Reorder(SettingsOf<T>(entry), back);
    return std::make_unique<UndoOrder<T>>(entry, back, description);
}

template <class T>
UndoSettings<T>::UndoSettings(FileHistoryEntry& entry, std::string description)
    : UndoCorrections(entry, std::move(description)), settings(Copies(SettingsOf<T>(entry))) {}

template <class T>
std::unique_ptr<UndoEntry> UndoSettings<T>::Exchange(FileHistoryEntry& entry) {
    auto opposite = std::make_unique<UndoSettings<T>>(entry, description);
    const SettingsChange change(entry);
    Replace(SettingsOf<T>(entry), settings);
    return opposite;
}

UndoNoiseSample::UndoNoiseSample(const FileHistoryEntry& entry, std::string description)
    : UndoCorrections(entry, std::move(description)), stretch(entry.decided.noise_stretch) {}

std::unique_ptr<UndoEntry> UndoNoiseSample::Exchange(FileHistoryEntry& entry) {
    auto opposite = std::make_unique<UndoNoiseSample>(entry, description);
    const TimelineChange change(entry);
    SetNoiseSample(entry, stretch);
    return opposite;
}

void SetNoiseSample(FileHistoryEntry& entry, const FrameRange& stretch) {
    entry.decided.noise_stretch = stretch;
}

template FilterSetting* SettingAt(LinkedList<FilterSetting>&, int);
template FFTEq* SettingAt(LinkedList<FFTEq>&, int);
template void Reorder(LinkedList<FilterSetting>&, const std::vector<int>&);
template void Reorder(LinkedList<FFTEq>&, const std::vector<int>&);
template class UndoSetting<FilterSetting>;
template class UndoSetting<FFTEq>;
template class UndoOrder<FilterSetting>;
template class UndoOrder<FFTEq>;
template class UndoSettings<FilterSetting>;
template class UndoSettings<FFTEq>;

}  // namespace Orvane
