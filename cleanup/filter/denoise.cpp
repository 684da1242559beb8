#include "cleanup/filter/denoise.h"

#include <algorithm>

#include "cleanup/filter/orvanefft.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr double kHighPassFrequency = 20.0, kHighPassWidth = 2.0;

FilterChain MakeHighPass(int32_t samplerate) {
    BiQuadFilter section;
    ComputeBiQuad(section, kHighPass, 0.0, kHighPassFrequency, samplerate, kHighPassWidth);
    FilterChain chain;
    chain.Append(section);
    return chain;
}

}  // namespace

Denoise::Denoise(PCMFilter* input_filter, FileHistoryEntry* recording, CriticalSection& stack_lock, int32_t rate)
    : PCMFilter(rate),
      ListWatcher(stack_lock),
      input(input_filter),
      entry(recording),
      lock(stack_lock),
      noise(rate),
      curve_gains(rate, FFTBlockSize(rate)),
      frame_filter(FFTBlockSize(rate)) {}

bool Denoise::Watches(const void* list) const {
    return list == &entry->filters || list == &entry->fft_eqs || list == &entry->cuts;
}

void Denoise::ListChanged() {
    settings_memo.Forget();
    curves_memo.Forget();
    curves_stale = true;
    next_position = -1;
}

const SettingsAt& Denoise::SettingsFor(int64_t position, uint32_t flags) {
    return settings_memo.At(position, flags, [&](int64_t at) { return GetSettingsAt(entry->filters, at, flags); });
}

const CurvesAt& Denoise::CurvesFor(int64_t position, uint32_t flags) {
    return curves_memo.At(position, flags, [&](int64_t at) { return GetCurvesAt(entry->fft_eqs, at, flags); });
}

Denoise::Wanted Denoise::WantedAt(int64_t position, uint32_t flags) {
    const SettingsAt& settings = SettingsFor(position, flags);
    const CurvesAt& curves = CurvesFor(position, flags);
    return {settings.values.hiss_mode == FILTER_ON && !(flags & (PCM_RAW_DOP | PCM_NO_FILTERS | PCM_NO_DENOISE)),
            !curves.curves.empty() && !(flags & (PCM_RAW_DOP | PCM_NO_FILTERS | PCM_DENOISE_OFF)),
            std::min(settings.next_change, curves.next_change)};
}

bool Denoise::AltersAudio(int64_t position, int64_t /*n_samples*/, uint32_t flags) {
    const Locked guard(lock);
    return WantedAt(position, flags).Any();
}

bool Denoise::PassesThrough(int64_t position, int64_t n_samples, uint32_t flags) {
    const Locked guard(lock);
    const Wanted here = WantedAt(position, flags);
    return !here.Any() && n_samples <= here.next_change - position && input->PassesThrough(position, n_samples, flags);
}

NoiseSample Denoise::GetNoiseSpectrum() const {
    const Locked guard(lock);
    return noise;
}

int32_t Denoise::Read(int64_t position, float* left, float* right, int32_t n_samples, uint32_t flags) {
    const Locked guard(lock);
    int32_t total = 0;
    while (total < n_samples) {
        const int64_t at = position + total;
        if (at != next_position || at >= wanted.next_change || flags != last_flags) {
            next_position = -1;
            const int32_t error = FetchSettings(at, flags);
            if (error < 0) return error;
        }
        const auto chunk = static_cast<int32_t>(std::min<int64_t>(n_samples - total, wanted.next_change - at));
        const int32_t n = wanted.Any() ? ReadFrames(at, left + total, right + total, chunk, flags)
                                       : input->Read(at, left + total, right + total, chunk, flags);
        next_position = n < 0 ? -1 : at + n;
        if (n < 0) return n;
        if (n == 0) break;
        total += n;
    }
    return total;
}

int32_t Denoise::FetchSettings(int64_t position, uint32_t flags) {
    wanted = WantedAt(position, flags);
    last_flags = flags;
    if (wanted.hiss) {
        const SettingsAt& settings = SettingsFor(position, flags);
        hiss_settings = MakeHissSettings(settings.values.hiss_reduction, settings.values.hiss_quality);
        NoiseSource source{settings.noise_file, -1, -1};
        if (source.file.empty()) source.start = entry->view_position[0], source.end = entry->view_position[1];
        const int32_t error = UpdateNoise(source, flags);
        if (error < 0) return error;
        wanted.hiss = frame_filter.HasNoise();
    }
    if (wanted.curves) {
        const CurvesAt& curves = CurvesFor(position, flags);
        if (curves_stale || curves.curves != curves_in_gains) {
            std::vector<const FFTCurve*> list;
            for (const FFTEq* eq : curves.curves) list.push_back(&eq->curve);
            curve_gains.SetCurves(list, curves.Level());
            curves_in_gains = curves.curves;
            curves_stale = false;
        }
    }
    return wanted.Any() ? FillFrom(position, flags) : 0;
}

int32_t Denoise::UpdateNoise(const NoiseSource& source, uint32_t flags) {
    if (!entry->noise_sample_changed && source == noise_source) return 0;
    int32_t error = 0;
    if (source.file.empty()) {
        error = MeasureRecording(source, flags);
    } else {
        error = ReadNoiseFile(source.file, noise);
    }
    if (error < 0) return error;
    for (int channel = 0; channel < 2; channel++) frame_filter.SetNoise(channel, noise.power[channel]);
    noise_source = source;
    entry->noise_sample_changed = false;
    return 0;
}

int32_t Denoise::MeasureRecording(const NoiseSource& source, uint32_t flags) {
    const uint32_t file_flags = flags | PCM_NO_CUTS;  // the stretch is a place in the file
    const auto read = [&](int64_t position, float* left, float* right, int32_t n) {
        return input->Read(position, left, right, n, file_flags);
    };
    return MeasureNoise(source.start, source.end, input->GetTotalSamples(file_flags), read, noise);
}

// Makes the frame that `position` lies in. Two blocks before it are run over silently, so that the overlap and the hiss
// filter's memory are those of a continuous run; the first frame of a recording overlaps with one that is half before
// its start.
int32_t Denoise::FillFrom(int64_t position, uint32_t flags) {
    const int64_t hop = frame_filter.Hop(), block = frame_filter.Block();
    for (int channel = 0; channel < 2; channel++) {
        frame[channel].resize(static_cast<size_t>(block));
        output[channel].resize(static_cast<size_t>(hop));
    }
    frame_filter.Reset();
    high_pass = MakeHighPass(samplerate);
    input_end = kNoChange;
    const int64_t target = position / hop * hop;
    const int64_t first = std::max(target - 2 * block, -hop);
    frame_start = first - hop;
    int32_t error = LoadHop(first, flags);
    while (error == 0 && frame_start < target) error = NextFrame(flags);
    return error;
}

int32_t Denoise::NextFrame(uint32_t flags) {
    const int32_t hop = frame_filter.Hop();
    for (std::vector<float>& channel : frame) std::copy(channel.begin() + hop, channel.end(), channel.begin());
    frame_start += hop;
    const int32_t error = LoadHop(frame_start + hop, flags);
    if (error < 0) return error;
    const FrameWork work{wanted.hiss ? &hiss_settings : nullptr, wanted.curves ? &curve_gains : nullptr};
    for (int channel = 0; channel < 2; channel++) frame_filter.Process(channel, frame[channel], work, output[channel]);
    return 0;
}

// Fills the second half of the frame from `position`, with zeros before the start and past the end of the input.
int32_t Denoise::LoadHop(int64_t position, uint32_t flags) {
    const int32_t hop = frame_filter.Hop();
    float* const left = frame[0].data() + hop;
    float* const right = frame[1].data() + hop;
    int32_t n = 0;
    if (position >= 0 && position < input_end) {
        n = input->Read(position, left, right, hop, flags);
        if (n < 0) return n;
        if (n < hop) input_end = position + n;
        if (wanted.curves) high_pass.Process({left, static_cast<size_t>(n)}, {right, static_cast<size_t>(n)});
    }
    std::fill(left + n, left + hop, 0.f);
    std::fill(right + n, right + hop, 0.f);
    return 0;
}

// Hands out from the frame that lies at `position`, and makes the next when it is used up. Fewer than asked come at a
// frame's end, none at the end of the input.
int32_t Denoise::ReadFrames(int64_t position, float* left, float* right, int32_t n_samples, uint32_t flags) {
    const int32_t hop = frame_filter.Hop();
    if (position >= frame_start + hop) {
        const int32_t error = NextFrame(flags);
        if (error < 0) return error;
    }
    const int64_t available = std::min(frame_start + hop, input_end) - position;
    if (available <= 0) return 0;
    const auto n = static_cast<int32_t>(std::min<int64_t>(n_samples, available));
    const auto offset = static_cast<ptrdiff_t>(position - frame_start);
    std::copy_n(output[0].begin() + offset, n, left);
    std::copy_n(output[1].begin() + offset, n, right);
    return n;
}

}  // namespace Orvane
