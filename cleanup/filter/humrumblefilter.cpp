#include "cleanup/filter/humrumblefilter.h"

#include "cleanup/filter/orvanefft.h"
#include "foundation/settings.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr double kNotchWidth = 0.05;  // octaves
constexpr double kRumbleFrequency = 16.0;

void Append(FilterChain& chain, int type, double frequency, int32_t samplerate, double bandwidth) {
    BiQuadFilter section;
    ComputeBiQuad(section, type, 0.0, frequency, samplerate, bandwidth);
    chain.Append(section);
}

}  // namespace

int32_t MainsFrequency(const FilterValues& values) {
    if (values.mains_frequency >= 1) return values.mains_frequency;
    const int32_t setting = GetSetting("Mains Frequency", 60);
    return setting >= 1 ? setting : 60;
}

bool FiltersHarmonics(const FilterValues& values) {
    return values.filter_harmonics >= 0 ? values.filter_harmonics != 0 : GetSetting("Filter Harmonics", 1) != 0;
}

FilterChain BuildHumRumbleChain(const FilterValues& values, int32_t samplerate) {
    FilterChain chain;
    if (values.hum_mode == FILTER_ON) {
        const double f = MainsFrequency(values);
        Append(chain, kNotch, f, samplerate, kNotchWidth);
        Append(chain, kNotch, f, samplerate, kNotchWidth);
        if (FiltersHarmonics(values)) {
            for (int harmonic : {2, 4, 6}) Append(chain, kNotch, f * harmonic, samplerate, kNotchWidth);
        }
    }
    if (values.rumble_mode == FILTER_ON) {
        if (values.dc_offset_only < 1) {
            for (int i = 0; i < 5; i++) Append(chain, kHighPass, kRumbleFrequency, samplerate, 1.5);
        } else {
            Append(chain, kHighPass, kRumbleFrequency, samplerate, 2.0);
        }
    }
    return chain;
}

HumRumbleFilter::HumRumbleFilter(PCMFilter* input, FileHistoryEntry* entry, CriticalSection& lock, int32_t rate)
    : BiQuadEngine(input, entry, lock, rate, PCM_NO_FILTERS | PCM_RAW_DOP, FFTBlockSize(rate)) {}

bool HumRumbleFilter::IsActive(const FilterValues& values, uint32_t /*flags*/) const {
    return values.hum_mode == FILTER_ON || values.rumble_mode == FILTER_ON;
}

FilterChain HumRumbleFilter::BuildChain(const FilterValues& values) const {
    return BuildHumRumbleChain(values, samplerate);
}

}  // namespace Orvane
