// The high-quality change of sample rate, at the very end of a chain.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "tesslib/audiostream.h"
#include "tesslib/resample.h"

namespace Tesslib {

// Filter lengths of a conversion: zero crossings + 1, and table entries to a crossing.
struct ResampleQuality {
    int Nmult;
    int Npc;
};

// True where the larger of the two ratios of the rates is as good as whole: a short filter will do.
bool IsSimpleRatio(double factor);
ResampleQuality QualityFor(uint32_t flags, bool simple_ratio);

// Delivers `source` at `output_frequency` (Hz). PCM_BEST_QUALITY in a read's flags picks the filter. The samples at a
// position are the same whether they are reached by reading on or by a jump, and whatever was read before.
// A negative result of the source is passed on.
class JOSConvert : public PCMStream {
public:
    // The source's rate with `flags` must differ from `output_frequency`.
    JOSConvert(PCMStream* source, int32_t output_frequency, uint32_t flags = 0);

    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override;
    int32_t GetSampleRate(uint32_t /*flags*/) override { return output_frequency; }

private:
    void SetInputRate(int32_t rate);
    Resampler& ResamplerFor(uint32_t read_flags);
    int32_t ReadBlock(Resampler& resampler, float* buffer, int32_t n_samples);

    int32_t output_frequency;
    int32_t input_rate = 0;
    double factor = 0.0;  // output rate / input rate
    bool simple_ratio = false;
    std::array<Resampler, 2> resamplers;  // for listening, for saving; opened when first wanted
    std::vector<float> input_pairs;
    int64_t next_position = -1;  // -1: the next read starts anew
    int64_t input_position = 0;  // the source's frame that goes into the resampler next; below 0 that is silence
    uint32_t flags = 0;          // of the last read
};

}  // namespace Tesslib
