// The stage of the ten-band graphic equaliser and the preamp.
#pragma once

#include "cleanup/filter/biquadengine.h"

namespace Orvane {

// A shelf at each end and eight peaking bands between; a step is 14 / 12 dB in a shelf and 11 / 12 dB in a peak. The
// preamp follows the bands, or with PCM_NORMALISE the recording's normalise_gain in its place. There is no warm-up:
// where a setting begins or changes the bands are heard from sample kChangeOver on.
class Equaliser : public BiQuadEngine {
public:
    Equaliser(PCMFilter* input, FileHistoryEntry* entry, Foundation::CriticalSection& lock, int32_t samplerate);

private:
    bool IsActive(const FilterValues& values, uint32_t flags) const override;
    FilterChain BuildChain(const FilterValues& values) const override;
    void Finish(const FilterValues& values, std::span<float> left, std::span<float> right,
                uint32_t flags) const override;
};

// The centre of a band in hertz.
inline constexpr std::array<int32_t, kEqBands> kEqFrequencies = {47, 63, 125, 250, 500, 1000, 2000, 4000, 8000, 12000};

// The chain of these values. A band that stands at 0, or not below half the rate, is left out.
FilterChain BuildEqualiserChain(const FilterValues& values, int32_t samplerate);

}  // namespace Orvane
