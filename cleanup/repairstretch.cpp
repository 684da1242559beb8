#include "cleanup/repairstretch.h"

#include <algorithm>

namespace Orvane {

ClickRepair* FirstRepairAfter(const ClickRepairList& list, int64_t position) {
    ClickRepair* e = list.First();
    while (e && e->absolute_end_time <= position) e = ClickRepairList::Next(e);
    return e;
}

int DeleteStretch(ClickRepairList& list, int64_t start, int64_t end, bool (*wanted)(const ClickRepair&)) {
    int n_deleted = 0;
    ClickRepair* e = FirstRepairAfter(list, start);
    while (e && e->absolute_start_time < end) {
        ClickRepair* next = ClickRepairList::Next(e);
        if (wanted(*e)) {
            if (ClickRepair* twin = list.Twin(*e)) list.buddy->Delete(twin);
            list.Delete(e);
            ++n_deleted;
        }
        e = next;
    }
    return n_deleted;
}

RepairStretch::RepairStretch(const FileHistoryEntry& entry, int channels, int64_t from, int64_t to)
    : channels(channels), from(from), to(to) {
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        const ClickRepair* e = FirstRepairAfter(entry.click_repairs[channel], from);
        for (; e && e->absolute_start_time < to; e = ClickRepairList::Next(e)) {
            Widen(*e);
            if (e->HasTwin()) this->channels = CHANNELS_BOTH;
        }
    }
    for (int channel = 0; channel < 2; ++channel) {
        if (!(this->channels & (1 << channel))) continue;
        const ClickRepair* e = FirstRepairAfter(entry.click_repairs[channel], this->from);
        for (; e && e->absolute_start_time < this->to; e = ClickRepairList::Next(e)) {
            repairs[channel].push_back(std::make_unique<ClickRepair>(*e));
        }
    }
}

void RepairStretch::Widen(const ClickRepair& repair) {
    from = std::min(from, repair.absolute_start_time);
    to = std::max(to, repair.absolute_end_time);
}

void RepairStretch::Exchange(FileHistoryEntry& entry) {
    const RepairsChange change(entry, channels);
    // A scan may have entered others since, and the lists must stay without overlaps.
    for (const auto& kept : repairs) {
        for (const auto& repair : kept) Widen(*repair);
    }
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        ClickRepairList& list = entry.click_repairs[channel];
        ClickRepair* e = FirstRepairAfter(list, from);
        std::vector<std::unique_ptr<ClickRepair>> taken;
        while (e && e->absolute_start_time < to) {
            ClickRepair* next = ClickRepairList::Next(e);
            taken.emplace_back(list.Remove(e));
            e = next;
        }
        for (auto& repair : repairs[channel]) list.Insert(repair.release(), e);
        repairs[channel] = std::move(taken);
    }
}

int32_t RepairStretch::Bytes() const {
    int64_t bytes = 0;
    for (const auto& kept : repairs) {
        for (const auto& repair : kept) {
            bytes += static_cast<int64_t>(sizeof(ClickRepair));
            if (repair->samples) bytes += repair->Length() * static_cast<int64_t>(sizeof(int16_t));
        }
    }
    return static_cast<int32_t>(std::min<int64_t>(bytes, INT32_MAX));
}

}  // namespace Orvane
