#include "cleanup/filter/denoiseframe.h"

#include <algorithm>

#include "cleanup/filter/flushtozero.h"
#include "cleanup/filter/spectrum.h"
#include "cleanup/filter/vectorised.h"
#include "foundation/assert.h"

namespace Orvane {
namespace {

// Draws the frame's two ends to zero by a ramp over each half, so that adding the halves up makes no step, and overlaps
// the first half with the tail of the frame before. There is no window after the transform.
ORVANE_VECTORISED void Overlap(const float* __restrict frame, float scale, float* __restrict tail,
                               float* __restrict output, int hop) {
    const float per_sample = 1.f / float(hop - 1);
    const float first = frame[0] * scale, last = frame[2 * hop - 1] * scale;
    for (int i = 0; i < hop; i++) {
        output[i] = (frame[i] * scale - float(hop - 1 - i) * per_sample * first) + tail[i];
        tail[i] = frame[hop + i] * scale - float(i + 1) * per_sample * last;
    }
}

}  // namespace

DenoiseFrame::Channel::Channel(int32_t n) : hiss(n), tail(static_cast<size_t>(n / 2)) {}

DenoiseFrame::DenoiseFrame(int32_t n)
    : block(n),
      plan(GetFFT().CreatePlan(n, kFFTBoth)),
      window(GetWindow(WindowType::Hann, n)),
      samples(static_cast<size_t>(n)),
      spectrum(static_cast<size_t>(n + 2)),
      channels{Channel(n), Channel(n)} {}

void DenoiseFrame::Reset() {
    for (Channel& channel : channels) {
        channel.hiss.Reset();
        std::fill(channel.tail.begin(), channel.tail.end(), 0.f);
    }
}

void DenoiseFrame::Process(int channel, std::span<const float> frame, const FrameWork& work, std::span<float> output) {
    ORVANE_ASSERT(output.size() == static_cast<size_t>(Hop()));
    const FlushToZero guard;
    Channel& state = channels[channel];
    MultiplyWindow(frame, window, samples);
    GetFFT().Transform(plan, FFTDirection::Forward, samples, spectrum);
    if (work.hiss) state.hiss.Process(spectrum, *work.hiss);
    if (work.curves) work.curves->ApplyGains(spectrum);
    GetFFT().Transform(plan, FFTDirection::Inverse, spectrum, samples);
    Overlap(samples.data(), 1.f / float(block), state.tail.data(), output.data(), Hop());
}

}  // namespace Orvane
