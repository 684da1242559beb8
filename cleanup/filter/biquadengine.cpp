#include "cleanup/filter/biquadengine.h"

#include <algorithm>

using namespace Foundation;

namespace Orvane {

BiQuadEngine::BiQuadEngine(PCMFilter* input_filter, FileHistoryEntry* recording, CriticalSection& stack_lock,
                           int32_t rate, uint32_t bypass, int32_t n_warmup)
    : PCMFilter(rate),
      ListWatcher(stack_lock),
      entry(recording),
      input(input_filter),
      lock(stack_lock),
      bypass_flags(bypass),
      warmup(n_warmup) {}

void BiQuadEngine::ListChanged() {
    memo.Forget();
    next_change = -1;
}

const SettingsAt& BiQuadEngine::SettingsFor(int64_t position, uint32_t flags) {
    return memo.At(position, flags, [&](int64_t at) { return GetSettingsAt(entry->FiltersInForce(), at, flags); });
}

bool BiQuadEngine::ActiveAt(int64_t position, uint32_t flags) {
    return !(flags & bypass_flags) && IsActive(SettingsFor(position, flags).values, flags);
}

bool BiQuadEngine::AltersAudio(int64_t position, int64_t /*n_samples*/, uint32_t flags) {
    const Locked guard(lock);
    return ActiveAt(position, flags);
}

bool BiQuadEngine::PassesThrough(int64_t position, int64_t n_samples, uint32_t flags) {
    const Locked guard(lock);
    const bool passes = (flags & bypass_flags) || (!ActiveAt(position, flags) &&
                                                   n_samples <= SettingsFor(position, flags).next_change - position);
    return passes && input->PassesThrough(position, n_samples, flags);
}

int32_t BiQuadEngine::Read(int64_t position, float* left, float* right, int32_t n_samples, uint32_t flags) {
    if (flags & bypass_flags) return input->Read(position, left, right, n_samples, flags);
    const Locked guard(lock);
    int32_t total = 0;
    while (total < n_samples) {
        const int64_t at = position + total;
        if (at != next_position || at >= next_change || active != IsActive(values, flags)) {
            const int32_t error = StartStretch(at, flags);
            if (error < 0) return error;
        }
        const auto wanted = static_cast<int32_t>(std::min<int64_t>(n_samples - total, next_change - at));
        const int32_t n = input->Read(at, left + total, right + total, wanted, flags);
        if (n < 0) return n;
        if (n == 0) break;
        if (active) {
            const auto count = static_cast<size_t>(n);
            const std::span<float> l(left + total, count), r(right + total, count);
            RunChains(l, r);
            Finish(values, l, r, flags);
        }
        total += n;
        next_position = at + n;
    }
    return total;
}

// Begins to read at a jump or where settings change.
int32_t BiQuadEngine::StartStretch(int64_t position, uint32_t flags) {
    const SettingsAt& settings = SettingsFor(position, flags);
    const bool was_active = active, goes_on = position == next_position;
    values = settings.values;
    next_change = settings.next_change;
    next_position = position;
    active = IsActive(values, flags);
    if (change_over_left > 0) chain = pending_chain;
    change_over_left = 0;
    if (!active || !goes_on) chain = FilterChain();
    if (!active) return 0;
    const FilterChain built = BuildChain(values);
    if (position == 0) {
        chain = built;
    } else if (!(goes_on && was_active && chain.HasCoefficientsOf(built))) {
        pending_chain = built;
        change_over_left = kChangeOver;
        return WarmUp(position, flags);
    }
    return 0;
}

// Runs over the audio before `position`, which also completes the change of chains if there are enough samples.
int32_t BiQuadEngine::WarmUp(int64_t position, uint32_t flags) {
    const auto wanted = static_cast<int32_t>(std::min<int64_t>(position, warmup));
    if (wanted == 0) return 0;
    warmup_left.resize(static_cast<size_t>(warmup));
    warmup_right.resize(static_cast<size_t>(warmup));
    const int32_t n = input->Read(position - wanted, warmup_left.data(), warmup_right.data(), wanted, flags);
    if (n < 0) {
        next_position = -1;
        return n;
    }
    const auto count = static_cast<size_t>(n);
    RunChains({warmup_left.data(), count}, {warmup_right.data(), count});
    return 0;
}

void BiQuadEngine::RunChains(std::span<float> left, std::span<float> right) {
    if (change_over_left > 0) {
        const size_t n = std::min(left.size(), static_cast<size_t>(change_over_left));
        std::array<float, kChangeOver> unheard_left, unheard_right;
        std::copy_n(left.begin(), n, unheard_left.begin());
        std::copy_n(right.begin(), n, unheard_right.begin());
        pending_chain.Process(std::span(unheard_left).first(n), std::span(unheard_right).first(n));
        chain.Process(left.first(n), right.first(n));
        change_over_left -= static_cast<int>(n);
        if (change_over_left > 0) return;
        chain = pending_chain;
        left = left.subspan(n);
        right = right.subspan(n);
    }
    chain.Process(left, right);
}

}  // namespace Orvane
