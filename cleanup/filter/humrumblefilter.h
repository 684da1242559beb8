// The stage that takes mains hum and turntable rumble out.
#pragma once

#include "cleanup/filter/biquadengine.h"

namespace Orvane {

// Hum: notches at the mains frequency (two, for a deeper and wider one) and, with harmonics, at its 2nd, 4th and 6th.
// Rumble: five high-pass sections at 16 Hz, or a single gentle one that just corrects a DC offset.
class HumRumbleFilter : public BiQuadEngine {
public:
    HumRumbleFilter(PCMFilter* input, FileHistoryEntry* entry, Foundation::CriticalSection& lock, int32_t samplerate);

private:
    bool IsActive(const FilterValues& values, uint32_t flags) const override;
    FilterChain BuildChain(const FilterValues& values) const override;
};

// What the hum filter works with. Where the values leave it open it comes from the settings "Mains Frequency" (Hz,
// default 60) and "Filter Harmonics" (default 1).
int32_t MainsFrequency(const FilterValues& values);
bool FiltersHarmonics(const FilterValues& values);

// The chain of these values.
FilterChain BuildHumRumbleChain(const FilterValues& values, int32_t samplerate);

}  // namespace Orvane
