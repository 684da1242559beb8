// The stage that lays the stored samples of click repairs and patches over what it reads.
#pragma once

#include "cleanup/chain/listwatcher.h"
#include "collection/filehistory.h"
#include "tesslib/audiostream.h"

namespace Orvane {

// Never cross-fades: the fades are in the stored samples. Works on the file's own positions.
class PCMClickRepair : public Tesslib::PCMStream, private ListWatcher {
public:
    // `source` and `entry` outlive the stage; `lock` is the chain's.
    PCMClickRepair(Tesslib::PCMStream* source, FileHistoryEntry* entry, Foundation::CriticalSection& lock);

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override { return source->GetTotalSamples(flags); }
    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) override;

private:
    bool Watches(const void* list) const override;
    void ListChanged() override { list_changed = true; }
    const ClickRepair* FirstEndingAfter(int channel, int64_t position);

    FileHistoryEntry* entry;
    Foundation::CriticalSection& lock;
    const ClickRepair* next_repair[2] = {nullptr, nullptr};  // where the last search ended, left and right
    bool list_changed = true;
};

}  // namespace Orvane
