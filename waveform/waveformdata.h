// The level overview of recordings: one byte a block of samples, coarse enough to be kept in memory as a whole.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "foundation/outcome.h"
#include "tesslib/audiostream.h"

namespace Orvane {

class FileHistoryEntry;

// What overviews and the drawing of a recording are made from: the file as it is, without any correction.
inline constexpr uint32_t kWaveformFlags =
    Tesslib::PCM_NO_FADERS | Tesslib::PCM_NO_CLICK_REPAIR | Tesslib::PCM_NO_PREAMP | Tesslib::PCM_NO_SWAP;

// Samples a byte: the MPEG frame size of the rate, and for a rate that has none that of the next higher one.
int32_t OverviewBlock(int32_t samplerate);

// Makes the overview's bytes: the largest magnitude of either channel in a block, 0 to 254 for silence to full scale
// and beyond. The audio may come in any chunks.
class OverviewPeaks {
public:
    explicit OverviewPeaks(int32_t block) : block(block), remaining(block) {}

    // Appends a byte for every block that is complete.
    void Add(const float* pairs, int32_t n_samples, std::vector<uint8_t>& bytes);
    // Appends the byte of a block that has only begun.
    void Flush(std::vector<uint8_t>& bytes);

private:
    const int32_t block;
    int32_t remaining;
    int32_t magnitude = 0;  // the largest so far, as the bits of a float
};

// The overview of an album's recordings, end to end.
struct WaveformOverview {
    struct Recording {
        int64_t n_samples;
        int64_t first_byte;
        int64_t n_bytes;
    };

    // Adds a recording that is silent until the bytes returned are filled. Their number is that of its blocks, a last
    // partial one counting from half a block on. They are valid until the next call.
    std::span<uint8_t> AddRecording(int64_t n_samples, int32_t samplerate);
    // Reads a recording from its file's stream and adds it. After a failure nothing has been added.
    Foundation::Outcome AddRecording(Tesslib::PCMStream& file);

    std::vector<uint8_t> bytes;         // total_bytes, and some slack behind them
    std::vector<Recording> recordings;  // in the order of the bytes
    int64_t total_samples = 0;          // of all recordings, at their own rate
    int64_t total_bytes = 0;
    int32_t samplerate = 0;  // of the last recording; an album's all have the same
    int32_t block = 0;       // samples a byte
    bool loaded = false;     // false: to be read again before it is used
};

enum OverviewFlags : int {
    OVERVIEW_GENERATE = 1,    // recordings without a fresh file have it made
    OVERVIEW_READ_AGAIN = 4,  // leaves `loaded` false, so that the next call reads again
};
// Fills the overview, unless it is loaded, from the waveform files of an album's recordings. One whose file is missing
// or stale is silent, and so is one whose file cannot be read: the first of those is the outcome. A recording that has
// not been open before is opened for a moment. Main thread.
Foundation::Outcome ReadSideOverview(WaveformOverview& overview, std::span<FileHistoryEntry* const> recordings,
                                     int flags);

// The overview of a single recording.
Foundation::Result<WaveformOverview> BuildOverview(Tesslib::PCMStream& file);

}  // namespace Orvane
