#include "present/response.h"

#include <algorithm>
#include <cmath>

#include "cleanup/filter/denoise.h"
#include "cleanup/filter/eqcurves.h"
#include "cleanup/filter/equaliser.h"
#include "cleanup/filter/humrumblefilter.h"
#include "cleanup/filter/orvanefft.h"
#include "present/spectrumlevels.h"

namespace Orvane {
namespace {

std::vector<double> ResponseOf(const FilterChain& chain, int32_t samplerate, std::span<const double> frequencies) {
    std::vector<double> response;
    if (chain.GetCount() == 0) return response;
    for (const double frequency : frequencies) response.push_back(Decibels(chain.GainAt(frequency, samplerate)));
    return response;
}

// A tone between two bins gets some of the gain of each.
double GainBetweenBins(std::span<const float> gains, double bin) {
    const double held = std::clamp(bin, 0.0, static_cast<double>(gains.size() - 1));
    const auto low = static_cast<size_t>(held), high = std::min(low + 1, gains.size() - 1);
    const double part = held - static_cast<double>(low);
    return (1 - part) * gains[low] + part * gains[high];
}

std::vector<double> ResponseOf(const CurvesAt& curves, int32_t samplerate, std::span<const double> frequencies) {
    std::vector<double> response;
    if (curves.curves.empty()) return response;
    const int32_t block = FFTBlockSize(samplerate);
    CurveGains gains(samplerate, block);
    std::vector<const FFTCurve*> list;
    for (const FFTEq* eq : curves.curves) list.push_back(&eq->curve);
    gains.SetCurves(list, curves.Level());
    const FilterChain high_pass = BuildCurveHighPass(samplerate);
    for (const double frequency : frequencies) {
        const double gain = GainBetweenBins(gains.GetGains(), frequency * block / samplerate);
        response.push_back(Decibels(gain * high_pass.GainAt(frequency, samplerate)));
    }
    return response;
}

}  // namespace

std::vector<double> ShownFrequencies(int32_t samplerate, int n) {
    const double highest = std::min(kHighestShown, samplerate / 2.0);
    std::vector<double> frequencies;
    for (int i = 0; i < n; ++i) {
        frequencies.push_back(kLowestShown * std::pow(highest / kLowestShown, n > 1 ? i / (n - 1.0) : 0.0));
    }
    return frequencies;
}

FilterResponse ComputeResponse(const FilterValues& values, const CurvesAt& curves, int32_t samplerate,
                               std::span<const double> frequencies) {
    FilterResponse response;
    FilterValues hum = values, rumble = values;
    hum.rumble_mode = rumble.hum_mode = FILTER_OFF;
    response.hum = ResponseOf(BuildHumRumbleChain(hum, samplerate), samplerate, frequencies);
    response.rumble = ResponseOf(BuildHumRumbleChain(rumble, samplerate), samplerate, frequencies);
    response.curves = ResponseOf(curves, samplerate, frequencies);
    response.equaliser = ResponseOf(BuildEqualiserChain(values, samplerate), samplerate, frequencies);
    for (int channel : {0, 1}) {
        const int32_t preamp = channel == 0 ? values.preamp_left : values.preamp_right;
        std::vector<double>& sum = response.sum[channel];
        sum.assign(frequencies.size(), values.eq_mode == FILTER_ON ? preamp / 10.0 : 0.0);
        for (const auto* part : {&response.hum, &response.rumble, &response.curves, &response.equaliser}) {
            for (size_t i = 0; i < part->size(); ++i) sum[i] = std::max(kSilence, sum[i] + (*part)[i]);
        }
    }
    return response;
}

FilterResponse ResponseAt(const FileHistoryEntry& entry, int64_t position, std::span<const double> frequencies) {
    return ComputeResponse(GetSettingsAt(entry.FiltersInForce(), position, 0).values,
                           GetCurvesAt(entry.CurvesInForce(), position, 0), entry.SampleRate(), frequencies);
}

}  // namespace Orvane
