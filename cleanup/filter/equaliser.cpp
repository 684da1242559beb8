#include "cleanup/filter/equaliser.h"

#include <cmath>

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr double kBandwidth = 1.4;  // octaves

void Amplify(std::span<float> samples, int32_t tenths_of_db) {
    if (tenths_of_db == 0) return;
    const double gain = std::pow(10.0, tenths_of_db * 0.1 * 0.05);
    for (float& sample : samples) sample = float(sample * gain);
}

}  // namespace

FilterChain BuildEqualiserChain(const FilterValues& values, int32_t samplerate) {
    FilterChain chain;
    if (values.eq_mode != FILTER_ON) return chain;
    for (int band = 0; band < kEqBands; band++) {
        const int32_t steps = values.bands[band], frequency = kEqFrequencies[band];
        if (steps == 0 || frequency >= samplerate / 2) continue;
        const int type = band == 0 ? kLowShelf : band == kEqBands - 1 ? kHighShelf : kPeaking;
        const double full_scale_db = type == kPeaking ? 11.0 : 14.0;
        BiQuadFilter section;
        ComputeBiQuad(section, type, steps * full_scale_db / 12.0, frequency, samplerate, kBandwidth);
        chain.Append(section);
    }
    return chain;
}

Equaliser::Equaliser(PCMFilter* input, FileHistoryEntry* entry, CriticalSection& lock, int32_t rate)
    : BiQuadEngine(input, entry, lock, rate, PCM_NO_FILTERS | PCM_RAW_DOP | PCM_NO_EQUALISER, 0) {}

bool Equaliser::IsActive(const FilterValues& values, uint32_t flags) const {
    if ((flags & PCM_NORMALISE) && entry->decided.normalise_gain != 0) return true;
    if (values.eq_mode != FILTER_ON) return false;
    if ((values.preamp_left != 0 || values.preamp_right != 0) && !(flags & PCM_NO_PREAMP)) return true;
    for (const int32_t steps : values.bands) {
        if (steps != 0) return true;
    }
    return false;
}

FilterChain Equaliser::BuildChain(const FilterValues& values) const {
    return BuildEqualiserChain(values, samplerate);
}

void Equaliser::Finish(const FilterValues& values, std::span<float> left, std::span<float> right,
                       uint32_t flags) const {
    if (flags & PCM_NORMALISE) {
        Amplify(left, entry->decided.normalise_gain);
        Amplify(right, entry->decided.normalise_gain);
        return;
    }
    if (values.eq_mode != FILTER_ON || (flags & PCM_NO_PREAMP)) return;
    Amplify(left, values.preamp_left);
    Amplify(right, values.preamp_right);
}

}  // namespace Orvane
