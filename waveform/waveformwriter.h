// The four waveform files of a recording: one envelope in four resolutions, made once so that any stretch of hours of
// audio can be drawn without decoding it. They have no header; docs/waveform-format.md describes them.
#pragma once

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "foundation/outcome.h"
#include "foundation/platform.h"
#include "waveform/waveformdata.h"

namespace Orvane {

// What the three finer files hold of a block: the extremes of its samples, -32767 to 32767.
struct WaveformRecord {
    int16_t min_left, max_left, min_right, max_right;

    bool operator==(const WaveformRecord&) const = default;
};

// Widens a range by another.
inline void Widen(WaveformRecord& range, const WaveformRecord& other) {
    range.min_left = std::min(range.min_left, other.min_left);
    range.max_left = std::max(range.max_left, other.max_left);
    range.min_right = std::min(range.min_right, other.min_right);
    range.max_right = std::max(range.max_right, other.max_right);
}

// Frames a record.
inline constexpr int32_t kWfsBlock = 8192;
inline constexpr int32_t kWfoBlock = 1024;
inline constexpr int32_t kWfdBlock = 64;

// The record of `n` frames, at least one. Samples are rounded; those beyond full scale are held to it, and what is not
// a number counts as the negative extreme.
WaveformRecord ExtremesOf(const float* pairs, int32_t n);

// One of the three finer files in the making.
class WaveformBlockState {
public:
    explicit WaveformBlockState(int32_t block_size) : block_size(block_size), remaining(block_size) {}

    // Appends the record of every block that is complete.
    void Add(const float* pairs, int32_t n_samples, std::vector<uint8_t>& bytes);
    // Appends the record of a block that has only begun.
    void Flush(std::vector<uint8_t>& bytes);

private:
    void Put(std::vector<uint8_t>& bytes);

    int32_t min_left = 32767, max_left = -32767, min_right = 32767, max_right = -32767;
    const int32_t block_size;
    int32_t remaining;
};

// Writes the four files in one run over a recording, and is done with it then. They are made under temporary names and
// take their own at Close, so that a run that was cut off leaves nothing that could be taken for a waveform. Any
// thread, one at a time.
class WaveformWriter {
public:
    explicit WaveformWriter(int32_t samplerate);
    ~WaveformWriter();
    WaveformWriter(const WaveformWriter&) = delete;
    WaveformWriter& operator=(const WaveformWriter&) = delete;

    // Makes the folder and the files, or none.
    Foundation::Outcome Open(const std::string& recording_path);
    // After a failure nothing that was written will be kept.
    Foundation::Outcome Write(const float* pairs, int32_t n_samples);
    // Gives the files their names, and with `ok` first what is left of the last blocks, and the time `file_time` (0:
    // that of now). Done if all four stand.
    Foundation::Outcome Close(bool ok, Foundation::FileTime file_time = 0);

private:
    struct WaveformFile {
        bool operator==(std::nullptr_t) const { return file == nullptr; }
        std::string name;
        FILE* file = nullptr;
    };

    std::array<WaveformFile*, 4> Files() { return {&wft_file, &wfs_file, &wfo_file, &wfd_file}; }
    Foundation::Outcome WriteBytes(WaveformFile& out);
    Foundation::Outcome Finish(WaveformFile& out, bool ok, Foundation::FileTime file_time);
    void Discard();

    WaveformFile wft_file, wfs_file, wfo_file, wfd_file;
    OverviewPeaks wft_peaks;
    WaveformBlockState wfs{kWfsBlock}, wfo{kWfoBlock}, wfd{kWfdBlock};
    std::vector<uint8_t> bytes;
    Foundation::Outcome so_far;  // the first failure
};

}  // namespace Orvane
