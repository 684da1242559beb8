// The stage that takes mains hum and turntable rumble out.
#pragma once

#include "cleanup/biquadengine.h"

namespace Orvane {

// Hum: notches at the mains frequency (two, for a deeper and wider one) and, with harmonics, at its 2nd, 4th and 6th.
// Rumble: five high-pass sections at 16 Hz, or a single gentle one that just corrects a DC offset.
class HumRumbleFilter : public BiQuadEngine {
public:
    HumRumbleFilter(PCMFilter* input, FileHistoryEntry* entry, CriticalSection& lock, int32_t samplerate);

private:
    bool IsActive(const FilterValues& values, uint32_t flags) const override;
    FilterChain BuildChain(const FilterValues& values) const override;
};

// The chain of these values. A frequency or choice that they leave open comes from the settings "Mains Frequency"
// (default 60) and "Filter Harmonics" (default 1).
FilterChain BuildHumRumbleChain(const FilterValues& values, int32_t samplerate);

}  // namespace Orvane
