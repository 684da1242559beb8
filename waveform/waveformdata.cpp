#include "waveform/waveformdata.h"

#include <algorithm>
#include <bit>
#include <cerrno>

#include "foundation/assert.h"
#include "waveform/generatewaveform.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int kSlack = 72;
constexpr int32_t kBlocksPerRead = 64;
constexpr int32_t kFullScale = 0x3f800000;  // 1.0 as the bits of a float

// Truncated to 16 bits first, as the byte is a matter of 16-bit samples.
uint8_t ByteOf(int32_t magnitude) {
    const int peak = magnitude >= kFullScale
                         ? 32767
                         : static_cast<int>(static_cast<double>(std::bit_cast<float>(magnitude)) * 32767.0);
    const int b = peak * 254 / 32767;
    ORVANE_ASSERT(b < 255);
    return static_cast<uint8_t>(b);
}

// From the waveform file; what it does not have stays as it is.
Outcome ReadLevels(FileHistoryEntry& entry, std::span<uint8_t> room, MayRegenerate may_regenerate) {
    Result<FilePtr> wft = OpenWaveformFile(entry, ".wft", may_regenerate);
    if (!wft || !*wft) return wft.GetOutcome();
    const bool whole = std::fread(room.data(), 1, room.size(), wft->get()) == room.size();
    if (whole || !std::ferror(wft->get())) return {};
    return Outcome::OfLastError(FailRead(entry.WaveformPath(".wft"), errno));
}

}  // namespace

int32_t OverviewBlock(int32_t samplerate) {
    int32_t block = 288;
    for (int64_t highest = 12000; samplerate > highest; highest *= 2) block *= 2;
    return block;
}

void OverviewPeaks::Add(const float* pairs, int32_t n_samples, std::vector<uint8_t>& bytes) {
    while (n_samples > 0) {
        const int32_t n = std::min(remaining, n_samples);
        // Without its sign a float is in the order of its bits, so that whole numbers can be compared.
        for (int32_t i = 0; i < 2 * n; ++i) {
            magnitude = std::max(magnitude, std::bit_cast<int32_t>(pairs[i]) & INT32_MAX);
        }
        pairs += 2 * static_cast<size_t>(n);
        n_samples -= n;
        remaining -= n;
        if (remaining == 0) {
            bytes.push_back(ByteOf(magnitude));
            remaining = block;
            magnitude = 0;
        }
    }
}

void OverviewPeaks::Flush(std::vector<uint8_t>& bytes) {
    if (remaining == block) return;
    bytes.push_back(ByteOf(magnitude));
    remaining = block;
    magnitude = 0;
}

std::span<uint8_t> WaveformOverview::AddRecording(int64_t n_samples, int32_t rate) {
    samplerate = rate;
    block = OverviewBlock(rate);
    const Recording recording{n_samples, total_bytes, (n_samples + block / 2) / block};
    recordings.push_back(recording);
    total_samples += n_samples;
    total_bytes += recording.n_bytes;
    bytes.resize(static_cast<size_t>(total_bytes + kSlack));
    return std::span(bytes).subspan(static_cast<size_t>(recording.first_byte), static_cast<size_t>(recording.n_bytes));
}

Outcome WaveformOverview::AddRecording(PCMStream& file) {
    const int32_t rate = file.GetSampleRate(kWaveformFlags);
    const int32_t frames = OverviewBlock(rate);
    const int32_t chunk = frames * kBlocksPerRead;
    std::vector<float> pairs(2 * static_cast<size_t>(chunk));
    std::vector<uint8_t> made;
    OverviewPeaks peaks(frames);
    int64_t position = 0;
    int32_t n;
    while ((n = file.Read(position, pairs.data(), chunk, kWaveformFlags)) > 0) {
        peaks.Add(pairs.data(), n, made);
        position += n;
    }
    if (n < 0) return Outcome::OfLastError(n);
    peaks.Flush(made);
    const std::span<uint8_t> room = AddRecording(position, rate);
    std::copy_n(made.begin(), std::min(made.size(), room.size()), room.begin());
    return {};
}

Outcome ReadSideOverview(WaveformOverview& overview, std::span<FileHistoryEntry* const> recordings, int flags) {
    if (overview.loaded) return {};
    overview = {};
    Outcome outcome;
    const MayRegenerate may_regenerate = flags & OVERVIEW_GENERATE ? MayRegenerate::Yes : MayRegenerate::No;
    for (FileHistoryEntry* entry : recordings) {
        if (entry->TotalSamples() == 0) static_cast<void>(entry->Open(USER_PROBE));  // tells its length
        const std::span<uint8_t> room = overview.AddRecording(entry->TotalSamples(), entry->SampleRate());
        Outcome read = ReadLevels(*entry, room, may_regenerate);
        if (outcome) outcome = std::move(read);
    }
    const bool has_audio = overview.total_samples > 0 || overview.total_bytes > 0;
    overview.loaded = has_audio && !(flags & OVERVIEW_READ_AGAIN);
    return outcome;
}

Result<WaveformOverview> BuildOverview(PCMStream& file) {
    WaveformOverview overview;
    if (Outcome added = overview.AddRecording(file); !added) return added;
    overview.loaded = true;
    return overview;
}

}  // namespace Orvane
