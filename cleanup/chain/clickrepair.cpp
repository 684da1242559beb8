#include "cleanup/chain/clickrepair.h"

#include <algorithm>

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int kNear = 64;  // repairs that are looked at before a search

}  // namespace

PCMClickRepair::PCMClickRepair(PCMStream* source, FileHistoryEntry* entry, CriticalSection& lock)
    : PCMStream(source, 0), ListWatcher(lock), entry(entry), lock(lock) {
    ORVANE_ASSERT(entry->CorrectionsLoaded());
}

bool PCMClickRepair::Watches(const void* list) const {
    return list == &entry->click_repairs[0] || list == &entry->click_repairs[1];
}

// The first repair of the channel that ends after `position`, null when there is none. Reading on costs nothing: it is
// the one found last or one of the next.
const ClickRepair* PCMClickRepair::FirstEndingAfter(int channel, int64_t position) {
    const ClickRepair*& cursor = next_repair[channel];
    if (list_changed || Changing()) cursor = nullptr;
    for (int steps = 0; cursor && steps < kNear; ++steps, cursor = ClickRepairList::Next(cursor)) {
        if (cursor->absolute_end_time <= position) continue;
        const ClickRepair* before = ClickRepairList::Previous(cursor);
        if (!before || before->absolute_end_time <= position) return cursor;
        break;
    }
    return cursor = entry->click_repairs[channel].FirstEndingAfter(position);
}

int32_t PCMClickRepair::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    if (flags & (PCM_NO_CLICK_REPAIR | PCM_RAW_DOP)) return source->Read(position, buffer, n_samples, flags);
    int32_t count = source->Read(position, buffer, n_samples, flags);
    if (count <= 0) return count;
    Locked guard(lock);
    int64_t end = position + count;
    for (int channel = 0; channel < 2; ++channel) {
        const ClickRepair* repair = FirstEndingAfter(channel, position);
        for (; repair && repair->absolute_start_time < end; repair = ClickRepairList::Next(repair)) {
            if (!repair->Applied()) continue;
            int64_t from = std::max(position, repair->absolute_start_time);
            int64_t available = std::min(end, repair->absolute_end_time) - from;
            ORVANE_ASSERT(available >= 0);
            const int16_t* sample = repair->samples.get() + (from - repair->absolute_start_time);
            float* out = buffer + 2 * (from - position) + channel;
            for (int64_t i = 0; i < available; ++i) out[2 * i] = static_cast<float>(sample[i] * 3.051850947599719e-05);
        }
    }
    list_changed = false;
    return count;
}

bool PCMClickRepair::AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) {
    if (flags & (PCM_NO_CLICK_REPAIR | PCM_RAW_DOP)) return false;
    Locked guard(lock);
    bool alters = false;
    for (int channel = 0; channel < 2 && !alters; ++channel) {
        const ClickRepair* repair = FirstEndingAfter(channel, position);
        while (repair && !repair->Applied()) repair = ClickRepairList::Next(repair);
        alters = repair && repair->absolute_start_time < position + n_samples;
    }
    if (!alters) list_changed = false;  // both cursors have been searched anew
    return alters;
}

}  // namespace Orvane
