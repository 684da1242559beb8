// The audio of a click scan, block by block: what the detector needs before and behind each scanned stretch is
// there too, mirrored at the recording's ends. All positions are samples at 44100 Hz. One thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "cleanup/declick/declick.h"
#include "cleanup/filter/biquadfilter.h"

namespace Orvane {

// Reads `start` to `end` inclusive of both channels. Returns how many samples were read from `start` on (fewer
// than asked is allowed), 0 at the end of the audio, or a negative failure code.
using SampleReader = std::function<int(int64_t start, int64_t end, float* left, float* right)>;

enum class Equalisation { None, Riaa };

class ScanBlocks {
public:
    // Scans from `first_sample` to before `last_sample`; the recording's first and last 20 samples stay out.
    // A recording must be longer than EXTRA_DATA_WING. With Riaa, for a recording that was made flat, the
    // detector's samples are what the replay curve makes of the recording.
    ScanBlocks(int64_t first_sample, int64_t last_sample, int64_t total_samples, Equalisation equalisation);

    // Assembles the next block: 1, or 0 when the scan is through or the audio ended, or the reader's failure code.
    // What the functions below gave for the block before is then no longer valid.
    int Next(const SampleReader& read);

    // The block as the detector sees it. `channel`: 0 left, 1 right.
    ChannelBlock Channel(int channel) const;
    // The block as it stands in the recording, for repairs: the place p lies at offset0() + p - read_start().
    // Only read_start() to read_end() is filled.
    std::span<const float> Recording(int channel) const;
    int offset0() const { return n_before; }
    int64_t read_start() const { return real_start; }
    int64_t read_end() const { return real_start + n_real - 1; }

    // What is scanned, both included.
    int64_t first_place() const { return first; }
    int64_t last_place() const { return last; }

private:
    using Buffers = std::array<std::vector<float>, 2>;

    int Fill(const SampleReader& read, int64_t end);
    void Equalise(int index, int n);
    void MirrorEnds(int end_pad);
    const Buffers& recording() const { return equalised ? unfiltered : buffers; }

    int64_t first, last, total;
    int length, step;
    bool equalised;
    Buffers buffers, unfiltered;
    std::array<std::array<BiQuadFilter, 2>, 2> sections;

    int64_t pos = 0, real_start = 0;
    bool started = false;
    // The block is n_before mirrored samples, n_real from the recording, and mirrored ones up to n_samples.
    int n_before = 0, n_real = 0, n_samples = 0;
};

}  // namespace Orvane
