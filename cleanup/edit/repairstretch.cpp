#include "cleanup/edit/repairstretch.h"

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

RepairStretch::RepairStretch(const FileHistoryEntry& entry, int channels, int64_t from, int64_t to) {
    for (int channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        noted[channel].from = from;
        noted[channel].to = to;
    }
    WidenToWholeRepairs(entry);
    for (int channel = 0; channel < 2; ++channel) {
        const ClickRepair* e = FirstRepairAfter(entry.click_repairs[channel], noted[channel].from);
        for (; e && e->absolute_start_time < noted[channel].to; e = ClickRepairList::Next(e)) {
            noted[channel].repairs.push_back(std::make_unique<ClickRepair>(*e));
        }
    }
}

bool RepairStretch::Noted::Widen(const ClickRepair& repair) {
    const bool grows = repair.absolute_start_time < from || repair.absolute_end_time > to;
    from = std::min(from, repair.absolute_start_time);
    to = std::max(to, repair.absolute_end_time);
    return grows;
}

// A twin may bring in others of its channel, whose twins count in turn.
void RepairStretch::WidenToWholeRepairs(const FileHistoryEntry& entry) {
    for (bool grew = true; grew;) {
        grew = false;
        for (int channel = 0; channel < 2; ++channel) {
            const ClickRepairList& list = entry.click_repairs[channel];
            const ClickRepair* e = FirstRepairAfter(list, noted[channel].from);
            for (; e && e->absolute_start_time < noted[channel].to; e = ClickRepairList::Next(e)) {
                grew |= noted[channel].Widen(*e);
                if (const ClickRepair* twin = list.Twin(*e)) grew |= noted[1 - channel].Widen(*twin);
            }
        }
    }
}

int RepairStretch::NotedChannels() const {
    return (noted[0].from < noted[0].to ? CHANNEL_LEFT : 0) | (noted[1].from < noted[1].to ? CHANNEL_RIGHT : 0);
}

void RepairStretch::Exchange(FileHistoryEntry& entry) {
    const RepairsChange change(entry, NotedChannels());
    for (int channel = 0; channel < 2; ++channel) {
        Noted& stretch = noted[channel];
        ClickRepairList& list = entry.click_repairs[channel];
        ClickRepair* e = FirstRepairAfter(list, stretch.from);
        std::vector<std::unique_ptr<ClickRepair>> taken;
        while (e && e->absolute_start_time < stretch.to) {
            ClickRepair* next = ClickRepairList::Next(e);
            // Only a scan can have entered one that reaches over the ends. It goes too, and comes back with the others.
            stretch.Widen(*e);
            taken.emplace_back(list.Remove(e));
            e = next;
        }
        for (auto& repair : stretch.repairs) list.Insert(repair.release(), e);
        stretch.repairs = std::move(taken);
    }
}

int32_t RepairStretch::Bytes() const {
    int64_t bytes = 0;
    for (const Noted& stretch : noted) {
        for (const auto& repair : stretch.repairs) {
            bytes += static_cast<int64_t>(sizeof(ClickRepair));
            if (repair->samples) bytes += repair->Length() * static_cast<int64_t>(sizeof(int16_t));
        }
    }
    return static_cast<int32_t>(std::min<int64_t>(bytes, INT32_MAX));
}

}  // namespace Orvane
