// Base of the stages that filter with sections: what happens when settings change in the middle of a recording, and how
// to start anywhere without a transient.
#pragma once

#include <array>
#include <vector>

#include "cleanup/chain/audiofilter.h"
#include "cleanup/chain/listwatcher.h"
#include "cleanup/filter/filterchain.h"
#include "cleanup/filter/filtersettings.h"

namespace Orvane {

// Settings begin and end at exactly their samples. Where they change while filters run on, the new chain first hears
// kChangeOver samples while the old one is still heard, and then replaces it. A stage with a warm-up
// starts every stretch and every jump by running over the audio before it, so that its new chain is settled at the
// first sample. Any division of a straight run into reads gives the same samples.
class BiQuadEngine : public PCMFilter, private ListWatcher {
public:
    static constexpr int kChangeOver = 100;

    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) override;
    int32_t Read(int64_t position, float* left, float* right, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override { return input->GetTotalSamples(flags); }
    bool PassesThrough(int64_t position, int64_t n_samples, uint32_t flags) override;

protected:
    // `input` and `entry` outlive the stage; `lock` is the chain's. With a bit of `bypass_flags` in its flags a Read
    // passes audio through. `warmup` is in samples.
    BiQuadEngine(PCMFilter* input, FileHistoryEntry* entry, Foundation::CriticalSection& lock, int32_t samplerate,
                 uint32_t bypass_flags, int32_t warmup);

    virtual bool IsActive(const FilterValues& values, uint32_t flags) const = 0;
    virtual FilterChain BuildChain(const FilterValues& values) const = 0;
    // What follows the chain.
    virtual void Finish(const FilterValues& /*values*/, std::span<float> /*left*/, std::span<float> /*right*/,
                        uint32_t /*flags*/) const {}

    FileHistoryEntry* const entry;

private:
    bool Watches(const void* list) const override {
        return list == &entry->decided.filters || list == &entry->decided.cuts;
    }
    void ListChanged() override;
    const SettingsAt& SettingsFor(int64_t position, uint32_t flags);
    bool ActiveAt(int64_t position, uint32_t flags);

    int32_t StartStretch(int64_t position, uint32_t flags);
    int32_t WarmUp(int64_t position, uint32_t flags);
    void RunChains(std::span<float> left, std::span<float> right);

    PCMFilter* input;
    Foundation::CriticalSection& lock;
    const uint32_t bypass_flags;
    const int32_t warmup;

    StretchMemo<SettingsAt> memo;
    FilterValues values;  // of the stretch being read
    bool active = false;
    int64_t next_position = -1;  // where the last read ended
    int64_t next_change = -1;    // where the stretch ends
    FilterChain chain;
    FilterChain pending_chain;  // takes over after change_over_left samples, if that is not 0
    int change_over_left = 0;
    std::vector<float> warmup_left, warmup_right;
};

}  // namespace Orvane
