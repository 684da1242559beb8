#include "tesslib/resample.h"

#include <algorithm>
#include <cstring>

#include "foundation/assert.h"

namespace Tesslib {
namespace {

constexpr int kBlock = 4096;  // input frames worked on at a time: what stays in the fastest cache
constexpr int kLanes = 8;
constexpr int64_t kNoEnd = INT64_MAX;

using Lanes = float __attribute__((vector_size(kLanes * sizeof(float))));
using HalfLanes = float __attribute__((vector_size(kLanes / 2 * sizeof(float))));

// The outputs of one run: the first one's coefficients and input frames, and how far each next one lies.
struct Run {
    const float* row;    // of the first output's phase; the rows of the other phases lie around it
    int64_t row_length;  // a whole number of vectors
    const float* left;
    const float* right;
    int64_t phase;
    int64_t whole_step;
    int64_t phase_step;
    int64_t n_phases;
};

// The sums are kept in eight lanes, added up in one order, whatever vectors the processor has.
void InterpolatePairs(const Run& run, int n, float* output) {
    const float* row = run.row;
    const float* left = run.left;
    const float* right = run.right;
    int64_t phase = run.phase;
    for (int i = 0; i < n; ++i) {
        Lanes left_sums = {};
        Lanes right_sums = {};
        for (int64_t tap = 0; tap < run.row_length; tap += kLanes) {
            Lanes coefficients, left_frames, right_frames;
            std::memcpy(&coefficients, row + tap, sizeof(Lanes));
            std::memcpy(&left_frames, left + tap, sizeof(Lanes));
            std::memcpy(&right_frames, right + tap, sizeof(Lanes));
            left_sums += coefficients * left_frames;
            right_sums += coefficients * right_frames;
        }
        const Lanes fours = __builtin_shufflevector(left_sums, right_sums, 0, 8, 1, 9, 2, 10, 3, 11) +
                            __builtin_shufflevector(left_sums, right_sums, 4, 12, 5, 13, 6, 14, 7, 15);
        const HalfLanes twos =
            __builtin_shufflevector(fours, fours, 0, 1, 2, 3) + __builtin_shufflevector(fours, fours, 4, 5, 6, 7);
        output[2 * i] = twos[0] + twos[2];
        output[2 * i + 1] = twos[1] + twos[3];

        int64_t frames = run.whole_step;
        int64_t phases = run.phase_step;
        if (phase + phases >= run.n_phases) {
            phases -= run.n_phases;
            ++frames;
        }
        phase += phases;
        row += phases * run.row_length;
        left += frames;
        right += frames;
    }
}

}  // namespace

void Resampler::resample_open(int Nmult, int n_per_crossing, double lowest, double highest) {
    quality = Nmult;
    Npc = n_per_crossing;
    minFactor = lowest;
    maxFactor = highest;
    ORVANE_ASSERT(minFactor >= 0 && maxFactor >= 0 && maxFactor >= minFactor);
    ORVANE_ASSERT(quality > 1);
    ORVANE_ASSERT(minFactor > 0);  // no filter is long enough for 0
    width = RatioFilter::FilterWidth(quality, minFactor);
    row.resize(2 * width);
    left.resize(3 * width + kBlock);
    right.resize(left.size());
    factor = 0.0;
    SetFactor(maxFactor);
    Reset(width, 0);
    n_buffered = width;
    std::fill_n(left.begin(), width, 0.0f);
    std::fill_n(right.begin(), width, 0.0f);
}

void Resampler::resample_close() {
    *this = Resampler();
}

bool Resampler::SetFactor(double wanted) {
    if (wanted == factor) return true;
    if (!(wanted >= minFactor && wanted <= maxFactor)) return false;
    const RateRatio next = RatioOfFactor(wanted);
    phase = factor == 0.0 ? 0 : phase * next.outputs / ratio.outputs;
    ratio = next;
    factor = wanted;
    const auto storage = minFactor == maxFactor ? RowStorage::Kept : RowStorage::OnDemand;
    filter = std::make_unique<RatioFilter>(quality, Npc, ratio, width, storage);
    return true;
}

void Resampler::Reset(int64_t whole_frames, int64_t at_phase) {
    time = whole_frames;
    phase = at_phase;
    n_buffered = 0;
    end = kNoEnd;
}

int64_t Resampler::resample_seek(double wanted, int64_t position) {
    const bool is_held = SetFactor(wanted);
    ORVANE_ASSERT(is_held);
    const int64_t remainder = position % ratio.outputs * ratio.inputs;
    Reset(width, remainder % ratio.outputs);
    return position / ratio.outputs * ratio.inputs + remainder / ratio.outputs - width;
}

int64_t Resampler::GetInputWanted(double wanted, int64_t n_out) {
    if (n_out <= 0 || end != kNoEnd || !SetFactor(wanted)) return 0;
    const int64_t last_time = time + (phase + (n_out - 1) * ratio.inputs) / ratio.outputs;
    return std::max<int64_t>(0, last_time + width + 1 - n_buffered);
}

int Resampler::resample_process(double wanted, const float* input, int n, bool last, int& used, float* output,
                                int n_out) {
    used = 0;
    if (!SetFactor(wanted)) return -1;
    int total = 0;
    for (;;) {
        const int taken = Take(input + 2 * static_cast<int64_t>(used), n - used);
        used += taken;
        if (last && used == n && end == kNoEnd) {
            end = n_buffered;
            std::fill_n(left.begin() + n_buffered, width, 0.0f);
            std::fill_n(right.begin() + n_buffered, width, 0.0f);
            n_buffered += width;
        }
        const int made = Make(output + 2 * static_cast<int64_t>(total), n_out - total);
        total += made;
        if (taken == 0 && made == 0) return total;
    }
}

// Fills the buffer up to the room that the silence at the end may need. Returns the frames taken.
int Resampler::Take(const float* input, int n) {
    if (n <= 0 || end != kNoEnd) return 0;
    const auto most = static_cast<int64_t>(left.size()) - width;
    const int64_t done_with = std::min(time - width + 1, n_buffered);
    if (n_buffered + n > most && done_with > 0) {
        std::copy(left.begin() + done_with, left.begin() + n_buffered, left.begin());
        std::copy(right.begin() + done_with, right.begin() + n_buffered, right.begin());
        n_buffered -= done_with;
        time -= done_with;
    }
    const auto taken = static_cast<int>(std::min<int64_t>(n, most - n_buffered));
    for (int i = 0; i < taken; ++i) {
        left[n_buffered + i] = input[2 * i];
        right[n_buffered + i] = input[2 * i + 1];
    }
    n_buffered += taken;
    return taken;
}

// Makes every frame whose input is all there, or as many as are wanted.
int Resampler::Make(float* output, int n_out) {
    const int64_t limit = std::min(n_buffered - width, end);
    if (time >= limit || n_out <= 0) return 0;
    const int64_t possible = ((limit - time) * ratio.outputs - phase + ratio.inputs - 1) / ratio.inputs;
    const auto n = static_cast<int>(std::min<int64_t>(n_out, possible));
    const auto run_from = [&](const float* first_row) {
        return Run{.row = first_row,
                   .row_length = 2 * width,
                   .left = left.data() + time - (width - 1),
                   .right = right.data() + time - (width - 1),
                   .phase = phase,
                   .whole_step = ratio.inputs / ratio.outputs,
                   .phase_step = ratio.inputs % ratio.outputs,
                   .n_phases = ratio.outputs};
    };
    if (!filter->Rows().empty()) {
        InterpolatePairs(run_from(filter->Rows().data() + phase * 2 * width), n, output);
        Advance(n);
        return n;
    }
    for (int i = 0; i < n; ++i) {
        filter->ComputeRow(phase, row);
        InterpolatePairs(run_from(row.data()), 1, output + 2 * static_cast<int64_t>(i));
        Advance(1);
    }
    return n;
}

void Resampler::Advance(int64_t n_out) {
    const int64_t passed = phase + n_out * ratio.inputs;
    time += passed / ratio.outputs;
    phase = passed % ratio.outputs;
}

}  // namespace Tesslib
