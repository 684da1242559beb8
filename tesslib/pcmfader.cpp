#include <algorithm>
#include <cmath>

#include "tesslib/stages.h"

namespace Tesslib {

float FaderGain(int64_t distance, int32_t length, bool linear) {
    const double x = distance > 0 ? length / static_cast<double>(distance) : 1e15;
    return static_cast<float>(linear ? 1.0 / x : 1.0 / (std::exp(x) - 1.718));
}

PCMFader::PCMFader(PCMStream* source, uint32_t flags) : PCMStream(source, source->GetSampleRate(flags)) {}

void PCMFader::SetFaders(const FADERS* new_faders) {
    faders = new_faders ? *new_faders : FADERS();
    cached_position = -1;
}

bool PCMFader::AltersAudio(int64_t position, int64_t n_samples, uint32_t) {
    // Answered by position alone, whatever length was asked for when the answer was stored.
    if (position == cached_position) return cached_region != None;

    cached_position = position;
    if (faders.fade_out_length != 0 && n_samples >= faders.fade_out_end - faders.fade_out_length - position) {
        cached_region = FadeOut;
    } else if (faders.fade_in_length != 0 && position < faders.fade_in_start + faders.fade_in_length) {
        cached_region = FadeIn;
    } else {
        cached_region = None;
    }
    return cached_region != None;
}

float PCMFader::GainAt(int64_t position, Region region) const {
    if (region == FadeIn) return FaderGain(position - faders.fade_in_start, faders.fade_in_length, faders.linear);
    return FaderGain(faders.fade_out_end - position, faders.fade_out_length, faders.linear);
}

void PCMFader::Fade(float* pairs, int64_t first, int64_t end, Region region) const {
    for (int64_t position = first; position < end; ++position, pairs += 2) {
        float gain = GainAt(position, region);
        pairs[0] *= gain;
        pairs[1] *= gain;
    }
}

int32_t PCMFader::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    int32_t n = source->Read(position, buffer, n_samples, flags);
    if (n <= 0 || (flags & (PCM_NO_FADERS | PCM_RAW_DOP))) return n;

    // The region is a matter of each single position. The first may be answered from the cache; behind it the regions
    // are known as stretches, and the one in the middle is left alone.
    if (AltersAudio(position, 1, 0)) Fade(buffer, position, position + 1, cached_region);
    if (n == 1) return n;
    int64_t first = position + 1;
    int64_t end = position + n;
    int64_t fade_out = faders.fade_out_length != 0 ? faders.fade_out_end - faders.fade_out_length - 1 : end;
    int64_t fade_in_end = faders.fade_in_length != 0 ? faders.fade_in_start + faders.fade_in_length : first;
    fade_out = std::clamp(fade_out, first, end);
    Fade(buffer + 2, first, std::min(fade_in_end, fade_out), FadeIn);
    Fade(buffer + 2 * (fade_out - position), fade_out, end, FadeOut);
    AltersAudio(end - 1, 1, 0);
    return n;
}

}  // namespace Tesslib
