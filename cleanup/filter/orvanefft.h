// Real fast Fourier transforms of power-of-two sizes behind a small interface.
#pragma once

#include <cstdint>
#include <span>

namespace Orvane {

enum class FFTDirection { Forward, Inverse };

// The directions that a plan will be used for; making a plan costs about a millisecond a direction.
enum FFTPlanFlags : uint32_t { kFFTForward = 1, kFFTInverse = 2, kFFTBoth = 3 };

// What a transform of one size needs. Made and owned by its factory, never changed.
class FFT_PLAN {
public:
    explicit FFT_PLAN(int32_t n) : size(n) {}
    virtual ~FFT_PLAN() = default;
    FFT_PLAN(const FFT_PLAN&) = delete;
    FFT_PLAN& operator=(const FFT_PLAN&) = delete;

    const int32_t size;  // N, in real samples
};

class OrvaneFFT {
public:
    virtual ~OrvaneFFT() = default;

    // `size` is a power of two from 64 to 65536, `flags` one of FFTPlanFlags. The same plan is returned to
    // everyone who asks for the same size; it lives as long as the factory. Any thread.
    virtual const FFT_PLAN* CreatePlan(int32_t size, uint32_t flags) = 0;

    // Forward: N samples in, N + 2 floats out, pairs of real and imaginary part of bins 0 to N / 2 (the Nyquist
    // value is at index N). Inverse: the same layout back, not scaled, so that a round trip multiplies by N.
    // `in` is left as it is and does not overlap `out`. Any thread, any number at once, any alignment (buffers
    // aligned to 16 bytes spare a copy); allocates nothing after a thread's first call for a size. The same
    // input gives the same bits on every call and in every run on one machine.
    virtual void Transform(const FFT_PLAN* plan, FFTDirection direction, std::span<const float> in,
                           std::span<float> out) const = 0;
};

// The process-wide factory, on FFTW in single precision.
OrvaneFFT& GetFFT();

// Transform size N for audio at `samplerate`: about 0.1 to 0.2 seconds.
constexpr int32_t FFTBlockSize(int32_t samplerate) {
    if (samplerate <= 22050) return 4096;
    if (samplerate <= 48000) return 8192;
    if (samplerate <= 96000) return 16384;
    if (samplerate <= 192000) return 32768;
    return 65536;
}

}  // namespace Orvane
