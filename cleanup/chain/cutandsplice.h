// The stage that leaves cuts out of a recording and joins their two sides with a cross-fade. Below it positions are
// those of the file, above it those of the edited timeline.
#pragma once

#include <vector>

#include "cleanup/chain/listwatcher.h"
#include "collection/filehistory.h"
#include "tesslib/audiostream.h"

namespace Orvane {

class PCMCutAndSplice : public Tesslib::PCMStream, private ListWatcher {
public:
    // `source` and `entry` outlive the stage; `stack_lock` is the chain's.
    PCMCutAndSplice(Tesslib::PCMStream* source, FileHistoryEntry* entry, Foundation::CriticalSection& stack_lock);

    int32_t Read(int64_t offset, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override;
    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) override;

private:
    bool Watches(const void* list) const override { return list == &entry->decided.cuts; }
    void ListChanged() override { recompute = true; }

    void Locate(int64_t offset);
    int PrepareCrossFade(int64_t position, uint32_t flags);

    FileHistoryEntry* entry;
    Foundation::CriticalSection& stack_lock;
    int64_t applied_offset = 0;                        // sum of the lengths of all cuts before the read position
    int64_t prev_offset = 0;                           // where the last read ended
    const CutAndSpliceCorrection* next_cut = nullptr;  // the first cut whose cross-fade is not behind the position
    int64_t next_fade_start = 0;                       // where its cross-fade begins on the edited timeline
    int32_t fade_left = 0;                             // pairs of the prepared cross-fade still to hand out
    int32_t fade_pos = 0;                              // the next of them
    std::vector<float> fade_buffer;
    std::vector<float> far_side;
    bool cross_fade_eof = false;  // the second side of a cross-fade reached the end of the stream
    bool recompute = true;
};

}  // namespace Orvane
