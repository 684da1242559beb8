#include "cleanup/filter/measurenoise.h"

#include "cleanup/chain/audiofilter.h"
#include "cleanup/filter/orvanefft.h"
#include "collection/recordinguse.h"
#include "foundation/lasterror.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// The chain up to where the hiss filter listens.
constexpr uint32_t kBeforeHiss =
    PCM_NO_CUTS | PCM_NO_DENOISE | PCM_DENOISE_OFF | PCM_NO_EQUALISER | PCM_NO_FADERS | PCM_NO_SWAP;

}  // namespace

int MeasureRecordingNoise(FileHistoryEntry& entry, int64_t start, int64_t end, NoiseSample& noise) {
    noise = NoiseSample(entry.SampleRate());
    if (end - start < FFTBlockSize(noise.samplerate)) {
        SetLastErrorText("A noise sample must be longer: at least " +
                         std::to_string(FFTBlockSize(noise.samplerate) * 1000 / noise.samplerate + 1) + " ms");
        return ERR_LIMIT;
    }
    const Result<BusyRecording> busy = BusyRecording::Begin(entry, RecordingUse::Read);
    const Result<RefPtr<FileToPCM>> chain = busy ? GetFileToPCM(entry) : Result<RefPtr<FileToPCM>>(busy.GetOutcome());
    if (!chain) return chain.GetOutcome().ToStreamError();
    FileToPCM* const stream = chain->get();
    std::vector<float> pairs;
    const auto read = [&](int64_t position, float* left, float* right, int32_t n) {
        pairs.resize(static_cast<size_t>(n) * 2);
        const int32_t n_read = stream->Read(position, pairs.data(), n, kBeforeHiss);
        for (int32_t i = 0; i < n_read; ++i) {
            left[i] = pairs[2 * static_cast<size_t>(i)];
            right[i] = pairs[2 * static_cast<size_t>(i) + 1];
        }
        return n_read;
    };
    return MeasureNoise(start, end, stream->GetTotalSamples(kBeforeHiss), read, noise);
}

}  // namespace Orvane
