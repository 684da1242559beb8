// The block-wise filter of hiss and equalisation curves: half-overlapping frames, one after the other. Works on spans
// and plain state, without streams; one thread at a time; processing allocates nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "cleanup/filter/eqcurves.h"
#include "cleanup/filter/hissfilter.h"
#include "cleanup/filter/orvanefft.h"

namespace Orvane {

// What is done to a frame's spectrum; null: not this.
struct FrameWork {
    const HissSettings* hiss = nullptr;
    const CurveGains* curves = nullptr;
};

class DenoiseFrame {
public:
    // `block` is a transform size N.
    explicit DenoiseFrame(int32_t block);

    int32_t Block() const { return block; }
    int32_t Hop() const { return block / 2; }

    // The noise that is suppressed, mean power of bins 0 to N / 2.
    void SetNoise(int channel, std::span<const float> noise) { channels[channel].hiss.SetNoise(noise); }
    // Whether there is any to suppress.
    bool HasNoise() const { return channels[0].hiss.HasNoise() || channels[1].hiss.HasNoise(); }
    // Forgets the frames before: the next one is overlapped with silence.
    void Reset();
    // Takes the next N samples of a channel (0 left, 1 right), which begin N / 2 behind the frame before, and gives
    // what their first N / 2 samples have become.
    void Process(int channel, std::span<const float> frame, const FrameWork& work, std::span<float> output);

private:
    struct Channel {
        explicit Channel(int32_t block);
        HissFilter hiss;
        std::vector<float> tail;  // the second half of the frame before
    };

    int32_t block;
    const FFT_PLAN* plan;
    std::span<const float> window;
    std::vector<float> samples, spectrum;
    Channel channels[2];
};

}  // namespace Orvane
