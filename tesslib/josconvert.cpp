#include "tesslib/josconvert.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/assert.h"
#include "foundation/muldiv.h"

using namespace Foundation;

namespace Tesslib {
namespace {

constexpr int32_t kInputBlock = 16384;
constexpr int32_t kSmallestBlock = 512;
constexpr int32_t kSmallestSimpleBlock = 256;

}  // namespace

bool IsSimpleRatio(double factor) {
    const double larger = std::max(factor, 1.0 / factor);
    return std::abs(larger - std::round(larger)) < 1e-5;
}

ResampleQuality QualityFor(uint32_t flags, bool simple_ratio) {
    if (flags & PCM_BEST_QUALITY) return simple_ratio ? ResampleQuality{11, 4096} : ResampleQuality{30, 16384};
    return simple_ratio ? ResampleQuality{5, 4096} : ResampleQuality{11, 4096};
}

JOSConvert::JOSConvert(PCMStream* source, int32_t output_frequency, uint32_t flags)
    : PCMStream(source, output_frequency), output_frequency(output_frequency) {
    const int32_t input_samplerate = source->GetSampleRate(flags);
    ORVANE_ASSERT(input_samplerate);
    ORVANE_ASSERT(output_frequency);
    ORVANE_ASSERT(output_frequency != input_samplerate);
    SetInputRate(input_samplerate);
}

void JOSConvert::SetInputRate(int32_t rate) {
    input_rate = rate;
    factor = static_cast<double>(output_frequency) / rate;
    simple_ratio = IsSimpleRatio(factor);
    for (Resampler& resampler : resamplers) resampler.resample_close();
    next_position = -1;
}

Resampler& JOSConvert::ResamplerFor(uint32_t read_flags) {
    Resampler& resampler = resamplers[read_flags & PCM_BEST_QUALITY ? 1 : 0];
    if (!resampler.IsOpen()) {
        const auto [Nmult, Npc] = QualityFor(read_flags, simple_ratio);
        resampler.resample_open(Nmult, Npc, factor, factor);
    }
    return resampler;
}

int32_t JOSConvert::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t read_flags) {
    const int32_t rate = source->GetSampleRate(read_flags);
    if (rate != input_rate) SetInputRate(rate);
    const int64_t n_left = GetTotalSamples(read_flags) - position;
    if (n_left <= 0) return 0;
    const auto n_wanted = static_cast<int32_t>(std::min<int64_t>(n_samples, n_left));
    Resampler& resampler = ResamplerFor(read_flags);
    // Any flag may change the source's samples, of which some would still be buffered.
    if (position != next_position || read_flags != flags) {
        input_position = resampler.resample_seek(factor, position);
    }
    flags = read_flags;
    next_position = -1;  // unless all goes well

    const int32_t block = std::max(MulDiv(kInputBlock, output_frequency, input_rate),
                                   simple_ratio ? kSmallestSimpleBlock : kSmallestBlock);
    int32_t n_done = 0;
    while (n_done < n_wanted) {
        const int32_t n = std::min(block, n_wanted - n_done);
        const int32_t result = ReadBlock(resampler, buffer + 2 * static_cast<int64_t>(n_done), n);
        if (result < 0) return result;
        n_done += result;
        if (result < n) return n_done;
    }
    next_position = position + n_done;
    return n_done;
}

// Returns the frames made, fewer than asked at the end of the source only, or the source's error.
int32_t JOSConvert::ReadBlock(Resampler& resampler, float* buffer, int32_t n_samples) {
    const auto n_input = static_cast<int32_t>(resampler.GetInputWanted(factor, n_samples));
    if (std::cmp_less(input_pairs.size(), 2 * static_cast<int64_t>(n_input))) {
        input_pairs.resize(2 * static_cast<size_t>(n_input));
    }
    int32_t n_read = static_cast<int32_t>(std::clamp<int64_t>(-input_position, 0, n_input));
    std::fill_n(input_pairs.begin(), 2 * static_cast<int64_t>(n_read), 0.0f);
    bool at_end = false;
    if (n_read < n_input) {
        const int32_t result = source->Read(input_position + n_read, &input_pairs[2 * static_cast<size_t>(n_read)],
                                            n_input - n_read, flags);
        if (result < 0) return result;
        n_read += result;
        at_end = n_read < n_input;
    }
    input_position += n_read;
    int used = 0;
    const int samples_out =
        resampler.resample_process(factor, input_pairs.data(), n_read, at_end, used, buffer, n_samples);
    ORVANE_ASSERT(samples_out >= 0);
    ORVANE_ASSERT(used == n_read);
    return samples_out;
}

int64_t JOSConvert::GetTotalSamples(uint32_t read_flags) {
    const int64_t total = source->GetTotalSamples(read_flags);
    return total == kEndless ? kEndless : MulDiv64(total, output_frequency, source->GetSampleRate(read_flags));
}

}  // namespace Tesslib
