#include "cleanup/filter/orvanefft.h"

#include <fftw3.h>

#include <algorithm>
#include <array>
#include <bit>
#include <memory>
#include <mutex>

#include "foundation/assert.h"

namespace Orvane {
namespace {

constexpr int32_t kSmallestSize = 64, kLargestSize = 65536;

// FFTW_ESTIMATE chooses the algorithm by counting operations. FFTW_MEASURE makes plans about 1.4 times as fast,
// but it chooses by the clock, so that another run could round differently and save another file from the same
// recording; and next to the rest of the chain the transforms are cheap.
constexpr unsigned kPlanner = FFTW_ESTIMATE;

struct FreeBuffer {
    void operator()(float* p) const { fftwf_free(p); }
};
using AlignedBuffer = std::unique_ptr<float, FreeBuffer>;

AlignedBuffer MakeBuffer(int32_t n_floats) {
    return AlignedBuffer(static_cast<float*>(fftwf_malloc(sizeof(float) * static_cast<size_t>(n_floats))));
}

bool Aligned(const float* p) {
    return fftwf_alignment_of(const_cast<float*>(p)) == 0;
}

// Grows to the largest transform that the thread has run on unaligned buffers.
float* ThreadScratch(int which, int32_t n_floats) {
    struct Scratch {
        AlignedBuffer buffer;
        int32_t n_floats = 0;
    };
    thread_local std::array<Scratch, 2> scratches;
    Scratch& scratch = scratches[which];
    if (scratch.n_floats < n_floats) {
        scratch.buffer = MakeBuffer(n_floats);
        scratch.n_floats = n_floats;
    }
    return scratch.buffer.get();
}

// The transforms' handles are freed by nobody: the plans live as long as the process.
class FFTW_FFT_PLAN : public FFT_PLAN {
public:
    using FFT_PLAN::FFT_PLAN;

    fftwf_plan forward = nullptr, inverse = nullptr;
};

class OrvaneFFT_fftw : public OrvaneFFT {
public:
    const FFT_PLAN* CreatePlan(int32_t size, uint32_t flags) override {
        ORVANE_ASSERT(size >= kSmallestSize && size <= kLargestSize && std::has_single_bit(uint32_t(size)));
        // The planner shares tables without a lock of its own.
        const std::lock_guard guard(lock);
        std::unique_ptr<FFTW_FFT_PLAN>& plan = plans[std::countr_zero(uint32_t(size))];
        if (!plan) plan = std::make_unique<FFTW_FFT_PLAN>(size);
        const AlignedBuffer real = MakeBuffer(size), spectrum = MakeBuffer(size + 2);
        auto* bins = reinterpret_cast<fftwf_complex*>(spectrum.get());
        if ((flags & kFFTForward) && !plan->forward) {
            plan->forward = fftwf_plan_dft_r2c_1d(size, real.get(), bins, kPlanner | FFTW_PRESERVE_INPUT);
            ORVANE_ASSERT(plan->forward);
        }
        if ((flags & kFFTInverse) && !plan->inverse) {
            plan->inverse = fftwf_plan_dft_c2r_1d(size, bins, real.get(), kPlanner | FFTW_PRESERVE_INPUT);
            ORVANE_ASSERT(plan->inverse);
        }
        return plan.get();
    }

    // Unaligned buffers are copied: a plan that may not count on alignment takes twice the time.
    void Transform(const FFT_PLAN* plan, FFTDirection direction, std::span<const float> in,
                   std::span<float> out) const override {
        const bool forward = direction == FFTDirection::Forward;
        const auto n_in = static_cast<size_t>(plan->size + (forward ? 0 : 2));
        const auto n_out = static_cast<size_t>(plan->size + (forward ? 2 : 0));
        ORVANE_ASSERT(in.size() >= n_in && out.size() >= n_out);
        const float* source = in.data();
        if (!Aligned(source)) {
            float* copy = ThreadScratch(0, plan->size + 2);
            std::copy_n(source, n_in, copy);
            source = copy;
        }
        float* target = Aligned(out.data()) ? out.data() : ThreadScratch(1, plan->size + 2);
        Execute(*static_cast<const FFTW_FFT_PLAN*>(plan), forward, const_cast<float*>(source), target);
        if (target != out.data()) std::copy_n(target, n_out, out.data());
    }

private:
    static void Execute(const FFTW_FFT_PLAN& plan, bool forward, float* source, float* target) {
        ORVANE_ASSERT(forward ? plan.forward : plan.inverse);
        if (forward) {
            fftwf_execute_dft_r2c(plan.forward, source, reinterpret_cast<fftwf_complex*>(target));
        } else {
            fftwf_execute_dft_c2r(plan.inverse, reinterpret_cast<fftwf_complex*>(source), target);
        }
    }

    std::mutex lock;
    std::array<std::unique_ptr<FFTW_FFT_PLAN>, 17> plans;  // by the size's logarithm
};

}  // namespace

OrvaneFFT& GetFFT() {
    // Never destroyed: a thread may still be filtering while the process ends.
    static OrvaneFFT& fft = *new OrvaneFFT_fftw;
    return fft;
}

}  // namespace Orvane
