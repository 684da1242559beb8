#include "cleanup/filter/denoise.h"

#include <algorithm>

#include "cleanup/filter/orvanefft.h"
#include "foundation/muldiv.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr double kHighPassFrequency = 20.0, kHighPassWidth = 2.0;

}  // namespace

FilterChain BuildCurveHighPass(int32_t samplerate) {
    BiQuadFilter section;
    ComputeBiQuad(section, kHighPass, 0.0, kHighPassFrequency, samplerate, kHighPassWidth);
    FilterChain chain;
    chain.Append(section);
    return chain;
}

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
    return list == &entry->decided.filters || list == &entry->decided.fft_eqs || list == &entry->decided.cuts ||
           list == &entry->click_repairs[0] || list == &entry->click_repairs[1];
}

void Denoise::ListChanged() {
    settings_memo.Forget();
    curves_memo.Forget();
    lists_changed = true;
}

const SettingsAt& Denoise::SettingsFor(int64_t position, uint32_t flags) {
    return settings_memo.At(position, flags,
                            [&](int64_t at) { return GetSettingsAt(entry->FiltersInForce(), at, flags); });
}

const CurvesAt& Denoise::CurvesFor(int64_t position, uint32_t flags) {
    return curves_memo.At(position, flags, [&](int64_t at) { return GetCurvesAt(entry->CurvesInForce(), at, flags); });
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
        if (at != next_position || at >= wanted.next_change || flags != last_flags || lists_changed) {
            const int32_t error = FetchSettings(at, flags);
            if (error < 0) {
                next_position = -1;
                return error;
            }
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

// Looks up what is in force from `position` on. Where a straight run goes on as before, the frames do too.
int32_t Denoise::FetchSettings(int64_t position, uint32_t flags) {
    const bool goes_on = position == next_position && flags == last_flags;
    const Wanted before = wanted;
    wanted = WantedAt(position, flags);
    last_flags = flags;
    lists_changed = false;
    bool other_frames = !goes_on || input_end != kNoChange;
    if (wanted.hiss) {
        const SettingsAt& settings = SettingsFor(position, flags);
        const HissSettings hiss = MakeHissSettings(settings.values.hiss_reduction, settings.values.hiss_quality);
        const NoiseSource source = FindNoiseSource(*entry, settings);
        other_frames = other_frames || hiss != hiss_settings || source != noise_source;
        hiss_settings = hiss;
        const int32_t error = UpdateNoise(source);
        if (error < 0) return error;
        wanted.hiss = frame_filter.HasNoise();
    }
    if (wanted.curves && UpdateCurves(CurvesFor(position, flags))) other_frames = true;
    if (wanted.hiss != before.hiss || wanted.curves != before.curves) other_frames = true;
    if (!other_frames || !(wanted.Any() || before.Any())) return 0;
    for (int channel = 0; channel < 2; channel++) {
        frame[channel].resize(static_cast<size_t>(frame_filter.Block()));
        output[channel].resize(static_cast<size_t>(frame_filter.Hop()));
    }
    const int32_t error = goes_on ? SettleInput(wanted.Any() ? FirstFrame(position) : position, flags) : 0;
    return error < 0 || !wanted.Any() ? error : FillFrom(position, flags);
}

// True when the gains have become others.
bool Denoise::UpdateCurves(const CurvesAt& curves) {
    const auto same = [](const FFTEq* eq, const FFTCurve& curve) {
        return std::equal(eq->curve.points.begin(), eq->curve.points.end(), curve.points.begin(), curve.points.end());
    };
    const double level = curves.Level();
    if (level == level_in_gains &&
        std::equal(curves.curves.begin(), curves.curves.end(), curves_in_gains.begin(), curves_in_gains.end(), same)) {
        return false;
    }
    std::vector<const FFTCurve*> list;
    curves_in_gains.clear();
    for (const FFTEq* eq : curves.curves) {
        list.push_back(&eq->curve);
        curves_in_gains.push_back(eq->curve);
    }
    level_in_gains = level;
    curve_gains.SetCurves(list, level);
    return true;
}

int32_t Denoise::UpdateNoise(const NoiseSource& source) {
    if (source == noise_source) return 0;
    const int32_t error = source.file.empty() ? MeasureRecording(source) : ReadNoiseFile(source.file, noise);
    if (error < 0) {
        noise_source = {};
        return error;
    }
    for (int channel = 0; channel < 2; channel++) frame_filter.SetNoise(channel, noise.power[channel]);
    noise_source = source;
    return 0;
}

// The same whatever the flags of the Read that needs it: with repairs, and at places of the file.
int32_t Denoise::MeasureRecording(const NoiseSource& source) {
    const auto read = [&](int64_t position, float* left, float* right, int32_t n) {
        return input->Read(position, left, right, n, PCM_NO_CUTS);
    };
    return MeasureNoise(source.start, source.end, input->GetTotalSamples(PCM_NO_CUTS), read, noise);
}

// Where the frames begin that are run over silently before `position`.
int64_t Denoise::FirstFrame(int64_t position) const {
    const int64_t hop = frame_filter.Hop();
    return std::max(position / hop * hop - 2 * frame_filter.Block(), -hop);
}

// Frames lie ahead of what is handed out, so where they begin or end in a straight run the filters below are sent back.
// They first hear what lies before `end`, from where they go on.
int32_t Denoise::SettleInput(int64_t end, uint32_t flags) {
    int64_t at = std::max<int64_t>(0, end - MulDiv64(kSettlingMs, samplerate, 1000));
    if (end <= at || input->PassesThrough(at, end - at, flags)) return 0;
    while (at < end) {
        const auto wanted_now = static_cast<int32_t>(std::min<int64_t>(end - at, frame_filter.Block()));
        const int32_t n = input->Read(at, frame[0].data(), frame[1].data(), wanted_now, flags);
        if (n <= 0) return n;
        at += n;
    }
    return 0;
}

// Makes the frame that `position` lies in. Two blocks before it are run over silently, so that the overlap and the hiss
// filter's memory are those of a continuous run; the first frame of a recording overlaps with one that is half before
// its start.
int32_t Denoise::FillFrom(int64_t position, uint32_t flags) {
    const int64_t hop = frame_filter.Hop();
    frame_filter.Reset();
    high_pass = BuildCurveHighPass(samplerate);
    input_end = kNoChange;
    const int64_t target = position / hop * hop;
    const int64_t first = FirstFrame(position);
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
