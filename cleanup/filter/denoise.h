// The stage that works on spectra: hiss suppression against a noise sample, and equalisation curves.
#pragma once

#include <vector>

#include "cleanup/chain/audiofilter.h"
#include "cleanup/chain/listwatcher.h"
#include "cleanup/filter/denoiseframe.h"
#include "cleanup/filter/filterchain.h"
#include "cleanup/filter/filtersettings.h"
#include "cleanup/filter/noisesample.h"
#include "cleanup/filter/noisesource.h"

namespace Orvane {

// What runs below the curves, which would lift what no loudspeaker gives.
FilterChain BuildCurveHighPass(int32_t samplerate);

// The output has no delay and the input's length. Frames lie on multiples of half a block from the recording's start,
// whatever was read before, so that after a jump the same samples come as in a straight run, but for what the
// hiss filter remembers from more than two blocks back. With neither hiss nor curves in force audio passes through
// untouched. A noise sample is measured anew whenever what it was taken from has changed.
class Denoise : public PCMFilter, private ListWatcher {
public:
    // `input` and `entry` outlive the stage; `lock` is the chain's.
    Denoise(PCMFilter* input, FileHistoryEntry* entry, Foundation::CriticalSection& lock, int32_t samplerate);

    // A noise sample file that cannot be used fails the Read, with the reason as the thread's last error.
    int32_t Read(int64_t position, float* left, float* right, int32_t n_samples, uint32_t flags) override;
    int64_t GetTotalSamples(uint32_t flags) override { return input->GetTotalSamples(flags); }
    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) override;
    bool PassesThrough(int64_t position, int64_t n_samples, uint32_t flags) override;

    // The spectrum of the noise sample in use, for a display; all 0 before the first Read with hiss suppression.
    NoiseSample GetNoiseSpectrum() const;

private:
    // What is in force for the flags of a Read.
    struct Wanted {
        bool hiss = false, curves = false;
        int64_t next_change = kNoChange;
        bool Any() const { return hiss || curves; }
    };
    bool Watches(const void* list) const override;
    void ListChanged() override;
    const SettingsAt& SettingsFor(int64_t position, uint32_t flags);
    const CurvesAt& CurvesFor(int64_t position, uint32_t flags);
    Wanted WantedAt(int64_t position, uint32_t flags);

    int32_t FetchSettings(int64_t position, uint32_t flags);
    bool UpdateCurves(const CurvesAt& curves);
    int32_t UpdateNoise(const NoiseSource& source);
    int32_t MeasureRecording(const NoiseSource& source);
    int64_t FirstFrame(int64_t position) const;
    int32_t SettleInput(int64_t end, uint32_t flags);
    int32_t FillFrom(int64_t position, uint32_t flags);
    int32_t NextFrame(uint32_t flags);
    int32_t LoadHop(int64_t position, uint32_t flags);
    int32_t ReadFrames(int64_t position, float* left, float* right, int32_t n_samples, uint32_t flags);

    PCMFilter* input;
    FileHistoryEntry* entry;
    Foundation::CriticalSection& lock;

    StretchMemo<SettingsAt> settings_memo;
    StretchMemo<CurvesAt> curves_memo;
    Wanted wanted;               // in the stretch being read
    int64_t next_position = -1;  // where the last read ended
    uint32_t last_flags = 0;
    bool lists_changed = true;  // since settings were fetched

    HissSettings hiss_settings{2.0, 0.85};
    NoiseSource noise_source;
    NoiseSample noise;
    CurveGains curve_gains;
    std::vector<FFTCurve> curves_in_gains;
    double level_in_gains = 0;

    DenoiseFrame frame_filter;
    FilterChain high_pass;          // below the curves, which would lift what no loudspeaker gives
    int64_t frame_start = 0;        // of the frame last processed
    int64_t input_end = kNoChange;  // the input's length, once a read has come up short
    std::vector<float> frame[2];    // the input from frame_start on, a block long
    std::vector<float> output[2];   // the output from frame_start on, half a block long
};

}  // namespace Orvane
