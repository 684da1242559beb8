#include "cleanup/declick/scanblocks.h"

#include <algorithm>

#include "foundation/assert.h"

namespace Orvane {
namespace {

constexpr int kUnscanned = 20;      // at each end of the recording
constexpr int kBlockWings = 12026;  // samples of a block that the next one needs again
constexpr int kLongestBlock = 211514;

}  // namespace

ScanBlocks::ScanBlocks(int64_t first_sample, int64_t last_sample, int64_t total_samples, Equalisation equalisation)
    : first(std::max<int64_t>(first_sample, kUnscanned)),
      last(std::min(last_sample - 1, total_samples - kUnscanned)),
      total(total_samples),
      equalised(equalisation == Equalisation::Riaa) {
    ORVANE_ASSERT(first_sample < last_sample && total_samples >= EXTRA_DATA_WING + 1);
    length = static_cast<int>(std::clamp<int64_t>(last - first + kBlockWings + 1, kBlockWings + 1, kLongestBlock));
    step = length - kBlockWings;
    for (auto& buffer : buffers) buffer.resize(static_cast<size_t>(length));
    if (!equalised) return;
    for (auto& buffer : unfiltered) buffer.resize(static_cast<size_t>(length));
    for (auto& [curve, high_pass] : sections) {
        // The replay curve's section is made for 44100 Hz.
        curve.b0 = 0.2381;
        curve.b1 = -0.17188253282;
        curve.b2 = -0.04429899417645;
        curve.a1 = -1.700724;
        curve.a2 = 0.7029381524;
        ComputeBiQuad(high_pass, kHighPass, 0.0, 20.0, 44100.0, 2.0);
    }
}

int ScanBlocks::Next(const SampleReader& read) {
    pos = started ? pos + step : first;
    if (pos >= last) return 0;
    const int64_t start = pos - EXTRA_DATA_WING;
    int64_t end = start + length - 1;
    int end_pad = 0;
    if (end >= total) {
        end_pad = static_cast<int>(std::min<int64_t>(end - total + 1, EXTRA_DATA_WING));
        end = total - 1;
    }
    if (started) {
        // What this block shares with the one before moves to the front.
        const int64_t offset0 = std::max<int64_t>(-start, 0);
        ORVANE_ASSERT(offset0 == 0);
        const int kept = n_before + n_real - step;
        if (kept < 0) return 0;
        for (Buffers* both : {&buffers, &unfiltered}) {
            for (auto& buffer : *both) {
                if (!buffer.empty()) std::copy_n(buffer.begin() + step, kept, buffer.begin());
            }
        }
        n_before = 0;
        n_real = kept;
    } else {
        n_before = static_cast<int>(std::max<int64_t>(-start, 0));
        n_real = 0;
    }
    started = true;
    real_start = std::max<int64_t>(start, 0);
    if (int result = Fill(read, end); result < 1) return result;
    MirrorEnds(end_pad);
    return 1;
}

// Reads on up to the place `end`: 1, or 0 or a failure code if nothing more could be read.
int ScanBlocks::Fill(const SampleReader& read, int64_t end) {
    Buffers& target = equalised ? unfiltered : buffers;
    const int fresh = n_before + n_real;
    int result = 1;
    while (result > 0 && read_end() < end) {
        auto index = static_cast<size_t>(n_before + n_real);
        result = read(read_end() + 1, end, &target[0][index], &target[1][index]);
        if (result > 0) n_real += result;
    }
    if (result < 0) return result;
    const int n_read = n_before + n_real - fresh;
    if (equalised) Equalise(fresh, n_read);
    return result > 0 || n_read > 0 ? 1 : 0;
}

// The sections carry on from block to block, so each sample passes through them once.
void ScanBlocks::Equalise(int index, int n) {
    for (size_t c = 0; c < 2; ++c) {
        BiQuadFilter &curve = sections[c][0], &high_pass = sections[c][1];
        auto from = unfiltered[c].begin() + index;
        std::transform(from, from + n, buffers[c].begin() + index, [&curve = curve, &high_pass = high_pass](float x) {
            return static_cast<float>(high_pass.Process(curve.Process(static_cast<double>(x))));
        });
    }
}

void ScanBlocks::MirrorEnds(int end_pad) {
    const int n = n_before + n_real;
    n_samples = n + std::min(end_pad, n - 1);
    for (auto& buffer : buffers) {
        for (int k = 1; k <= n_before; ++k) {
            buffer[static_cast<size_t>(n_before - k)] = buffer[static_cast<size_t>(n_before + k)];
        }
        for (int k = 0; k < n_samples - n; ++k) {
            buffer[static_cast<size_t>(n + k)] = buffer[static_cast<size_t>(n - 2 - k)];
        }
    }
}

ChannelBlock ScanBlocks::Channel(int channel) const {
    auto samples = std::span(buffers[static_cast<size_t>(channel)]).first(static_cast<size_t>(n_samples));
    return {samples, pos, first, last, total};
}

std::span<const float> ScanBlocks::Recording(int channel) const {
    return std::span(recording()[static_cast<size_t>(channel)]).first(static_cast<size_t>(n_before + n_real));
}

}  // namespace Orvane
