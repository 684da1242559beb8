#include "cleanup/edit/repairstretch.h"

#include <algorithm>

namespace Orvane {
namespace {

// A list is without overlaps, so a stretch only ever grows by the repairs that it holds. True if it did.
bool Widen(NotedRepairs& noted, const ClickRepair& repair) {
    const bool grows = repair.absolute_start_time < noted.from || repair.absolute_end_time > noted.to;
    noted.from = std::min(noted.from, repair.absolute_start_time);
    noted.to = std::max(noted.to, repair.absolute_end_time);
    return grows;
}

}  // namespace

int DeleteStretch(ClickRepairList& list, int64_t start, int64_t end, bool (*wanted)(const ClickRepair&)) {
    int n_deleted = 0;
    ClickRepair* e = list.FirstEndingAfter(start);
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
        const ClickRepair* e = entry.click_repairs[channel].FirstEndingAfter(noted[channel].from);
        for (; e && e->absolute_start_time < noted[channel].to; e = ClickRepairList::Next(e)) {
            noted[channel].repairs.push_back(std::make_unique<ClickRepair>(*e));
        }
    }
}

// A twin may bring in others of its channel, whose twins count in turn.
void RepairStretch::WidenToWholeRepairs(const FileHistoryEntry& entry) {
    for (bool grew = true; grew;) {
        grew = false;
        for (int channel = 0; channel < 2; ++channel) {
            const ClickRepairList& list = entry.click_repairs[channel];
            const ClickRepair* e = list.FirstEndingAfter(noted[channel].from);
            for (; e && e->absolute_start_time < noted[channel].to; e = ClickRepairList::Next(e)) {
                grew |= Widen(noted[channel], *e);
                if (const ClickRepair* twin = list.Twin(*e)) grew |= Widen(noted[1 - channel], *twin);
            }
        }
    }
}

int RepairStretch::NotedChannels() const {
    return (noted[0].from < noted[0].to ? CHANNEL_LEFT : 0) | (noted[1].from < noted[1].to ? CHANNEL_RIGHT : 0);
}

void RepairStretch::Exchange(FileHistoryEntry& entry) {
    for (int channel = 0; channel < 2; ++channel) {
        NotedRepairs& stretch = noted[channel];
        ClickRepairList& list = entry.click_repairs[channel];
        ClickRepair* e = list.FirstEndingAfter(stretch.from);
        std::vector<std::unique_ptr<ClickRepair>> taken;
        while (e && e->absolute_start_time < stretch.to) {
            ClickRepair* next = ClickRepairList::Next(e);
            // Only a scan can have entered one that reaches over the ends. It goes too, and comes back with the others.
            Widen(stretch, *e);
            taken.emplace_back(list.Remove(e));
            e = next;
        }
        for (auto& repair : stretch.repairs) list.Insert(repair.release(), e);
        stretch.repairs = std::move(taken);
    }
}

void RepairStretch::BeginTrial(FileHistoryEntry& entry) {
    const Foundation::Locked lists(ListChangeLock());
    for (int channel = 0; channel < 2; ++channel) {
        ClickRepairList& list = entry.click_repairs[channel];
        was_dirty[channel] = list.dirty;
        if (NotedChannels() & (1 << channel)) list.undecided = &noted[channel];
    }
}

void RepairStretch::EndTrial(FileHistoryEntry& entry) {
    const Foundation::Locked lists(ListChangeLock());
    for (ClickRepairList& list : entry.click_repairs) list.undecided = nullptr;
}

void RepairStretch::Withdraw(FileHistoryEntry& entry) {
    const RepairsBracket change(entry, NotedChannels());
    EndTrial(entry);
    Exchange(entry);
    for (int channel = 0; channel < 2; ++channel) entry.click_repairs[channel].dirty = was_dirty[channel];
}

int32_t RepairStretch::Bytes() const {
    int64_t bytes = 0;
    for (const NotedRepairs& stretch : noted) {
        for (const auto& repair : stretch.repairs) {
            bytes += static_cast<int64_t>(sizeof(ClickRepair));
            if (repair->samples.use_count() == 1) bytes += static_cast<int64_t>(repair->Samples().size_bytes());
        }
    }
    return static_cast<int32_t>(std::min<int64_t>(bytes, INT32_MAX));
}

}  // namespace Orvane
