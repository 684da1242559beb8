#include "cleanup/repair/patchaudio.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "cleanup/declick/scanreader.h"
#include "cleanup/repair/repairsamples.h"
#include "foundation/muldiv.h"
#include "tesslib/josconvert.h"
#include "tesslib/stages.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int32_t kHighestRate = 48000;  // above it the methods work on converted audio
constexpr int64_t kLeastContext = 4;
// How far the converter's filter spreads the damage into its surroundings, at the lower rate: that much more is
// patched.
constexpr int64_t kFilterWing = 16;

// The rate at which a patch for a recording of `samplerate` is made.
int32_t WorkingRate(int32_t samplerate) {
    if (samplerate <= kHighestRate) return samplerate;
    const int32_t convert_to = samplerate % kTicksPerSecond == 0 ? kTicksPerSecond : kHighestRate;
    ORVANE_ASSERT(samplerate > convert_to);
    return convert_to;
}

// Full preamp in the middle, rising from none over the first tenth and back over the last, so that the joins stay.
void Amplify(std::span<float> stretch, int preamp) {
    if (preamp == 0) return;
    const double gain = std::pow(10.0, preamp / 200.0) - 1.0;
    const double fade = std::max(1.0, static_cast<double>(stretch.size()) / 10.0);
    for (size_t i = 0; i < stretch.size(); ++i) {
        const double from_edge = static_cast<double>(std::min(i, stretch.size() - 1 - i));
        const double v = stretch[i] * (1.0 + gain * std::min(1.0, from_edge / fade));
        stretch[i] = static_cast<float>(std::clamp(v, -1.0, 1.0));
    }
}

// Reads until `n` pairs are there or the stream ends; a StreamError, or the count.
int32_t ReadPairs(PCMStream& stream, int64_t position, std::vector<float>& pairs, int64_t n, uint32_t flags) {
    pairs.resize(2 * static_cast<size_t>(n));
    int64_t total = 0;
    while (total < n) {
        const int32_t read =
            stream.Read(position + total, pairs.data() + 2 * total, static_cast<int32_t>(n - total), flags);
        if (read < 0) return read;
        if (read == 0) break;
        total += read;
    }
    pairs.resize(2 * static_cast<size_t>(total));
    return static_cast<int32_t>(total);
}

Outcome NoRoom() {
    return Outcome::Fail(Kind::Refused, Msg::NoRoomForRepair);
}

}  // namespace

Result<PatchAudio> MakePatch(PCMStream& stream, int channels, const PatchJob& job) {
    PatchAudio patch;
    const int32_t rate = stream.GetSampleRate(kScanFlags);
    const int32_t working_rate = WorkingRate(rate);
    RefPtr<PCMStream> converter;
    if (working_rate != rate) converter = MakeRef<JOSConvert>(&stream, working_rate, kScanFlags);
    PCMStream& source = converter ? *converter : stream;

    const int64_t total = MulDiv64(stream.GetTotalSamples(kScanFlags), working_rate, rate);
    int64_t first = MulDiv64(job.start, working_rate, rate);
    int64_t last = std::max(first, MulDiv64(job.end, working_rate, rate) - 1);
    if (converter) {
        first = std::max<int64_t>(0, first - kFilterWing);
        last = std::min(total - 1, last + kFilterWing);
    }
    const int64_t context = PatchContext(static_cast<int>(last - first + 1));
    // Where samples of both rates fall on the same instant.
    const int64_t step = working_rate / std::gcd(rate, working_rate);
    const int64_t from = std::max<int64_t>(0, first - context) / step * step;
    const int64_t wanted = std::min(total, last + 1 + context) - from;
    std::vector<float> pairs;
    const int32_t n = ReadPairs(source, from, pairs, wanted, kScanFlags | PCM_BEST_QUALITY);
    if (n < 0) return Outcome::OfLastError(n);
    if (n <= last - from || n - (last - first + 1) < kLeastContext) return NoRoom();

    std::optional<PatchMethod> method = job.method;
    std::vector<float> signal(static_cast<size_t>(n));
    const int i_first = static_cast<int>(first - from), i_last = static_cast<int>(last - from);
    for (size_t channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        for (size_t i = 0; i < signal.size(); ++i) signal[i] = pairs[2 * i + channel];
        if (method) {
            Patch(*method, signal, i_first, i_last);
        } else {
            method = PatchBest(signal, i_first, i_last);
        }
        for (size_t i = 0; i < signal.size(); ++i) pairs[2 * i + channel] = signal[i];
    }
    patch.used = *method;

    // The converted length is rounded. Where it ends up to a frame short of the recording, the last one goes on for
    // that part of it.
    if (converter && from + n == total) pairs.insert(pairs.end(), {pairs.end()[-2], pairs.end()[-1]});
    std::vector<float> result;
    const int64_t length = job.end - job.start;
    const RefPtr<PCMStream> made = MakeRef<MemoryPCMStream>(std::move(pairs), working_rate);
    const RefPtr<PCMStream> back =
        working_rate == rate ? made : RefPtr<PCMStream>(MakeRef<JOSConvert>(made.get(), rate));
    const int64_t begin = job.start - MulDiv64(from, rate, working_rate);
    if (ReadPairs(*back, begin, result, length, PCM_BEST_QUALITY) < length) return NoRoom();
    std::vector<float> one(static_cast<size_t>(length));
    for (size_t channel = 0; channel < 2; ++channel) {
        if (!(channels & (1 << channel))) continue;
        for (size_t i = 0; i < one.size(); ++i) one[i] = result[2 * i + channel];
        Amplify(one, job.preamp);
        patch.samples[channel].resize(one.size());
        RepairTo16Bit(one, patch.samples[channel]);
    }
    return patch;
}

}  // namespace Orvane
