// The noise that the hiss filter takes away: its spectrum, how it is measured, and the files that keep it.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/functionref.h"

namespace Orvane {

// Mean power of bins 0 to N / 2 of Hann-windowed frames, with N = FFTBlockSize(samplerate). Bin 0 is not used.
struct NoiseSample {
    explicit NoiseSample(int32_t rate);

    int32_t samplerate;
    std::vector<float> power[2];  // left, right
};

inline constexpr int kNoiseFrames = 10;

// Where the frames lie that are measured in the stretch `start` to `end` (in samples), which is at least N long.
int64_t NoiseFrameStart(int frame, int64_t start, int64_t end, int32_t block);

// Takes the mean over the frames added. A frame is N samples of one channel.
class NoiseMeter {
public:
    explicit NoiseMeter(int32_t rate);
    void Add(int channel, std::span<const float> frame);
    // The mean of kNoiseFrames frames.
    NoiseSample Finish() const;

private:
    NoiseSample sum;
    std::vector<float> samples, spectrum, power;
};

// `n_samples` samples from `position` of both channels; their count, or below 0 a StreamError.
using NoiseReader = Foundation::FunctionRef<int32_t(int64_t position, float* left, float* right, int32_t n_samples)>;

// Measures the stretch `start` to `end` of a recording of `total` samples, at the rate of `noise`. A stretch that is
// shorter than a block, or not all there, is no noise sample: the spectrum is all 0. 0, or the error of `read`.
[[nodiscard]] int32_t MeasureNoise(int64_t start, int64_t end, int64_t total, NoiseReader read, NoiseSample& noise);

// A noise sample file (".vns") is little-endian: the magic number 0x766E7320, the sample rate in hertz, and N / 2 + 1
// 32-bit floats for the left and then for the right channel. Both return 0 or a StreamError with the reason as the
// thread's last error. A sample for another rate than `noise.samplerate` is refused, and so are powers that are not
// finite or below 0; `noise` then stays as it was.
[[nodiscard]] int ReadNoiseFile(std::string_view path, NoiseSample& noise);
// Replaces a file of that name, at every moment of which the old or the new one is there.
[[nodiscard]] int WriteNoiseFile(std::string_view path, const NoiseSample& noise);

}  // namespace Orvane
