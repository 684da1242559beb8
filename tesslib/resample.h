// Sample-rate conversion by band-limited interpolation, as a stream of frames in and a stream of frames out.
//
// An instance converts both channels of interleaved pairs at once, so that the two share their filter and cannot
// drift apart. Time is a whole number of input frames and a phase, kept as exact fractions: the samples that come
// out do not depend on the sizes of the pieces put in, nor on where conversion started. The same bits on every
// processor. An instance belongs to one thread at a time; several instances share their filter tables.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "tesslib/resample_filter.h"

namespace Tesslib {

class Resampler {
public:
    // `Nmult` (> 1) is the number of zero crossings of the filter + 1, `n_per_crossing` its table entries to each.
    // `factor` of the calls below is output rate / input rate, from `lowest` (> 0) to `highest`; where these are
    // equal the coefficients are worked out here, otherwise frame by frame. The stream starts at input frame 0.
    void resample_open(int Nmult, int n_per_crossing, double lowest, double highest);
    void resample_close();
    bool IsOpen() const { return width != 0; }

    // Input frames that an output frame depends on, on either side of it.
    int resample_get_filter_width() const { return width; }

    // Starts anew at output frame `position`, forgetting all input. Returns the number of the input frame that has
    // to come in first; it is negative near the start, where silence stands for the frames before the recording.
    int64_t resample_seek(double factor, int64_t position);

    // Input frames still to be put in before `n_out` frames can come out; none after the last ones.
    int64_t GetInputWanted(double factor, int64_t n_out);

    // Takes up to `n` pairs of `input` and makes up to `n_out` pairs of `output`; `used` tells how many were taken,
    // all of them if `n_out` does not set the limit. `last` says that nothing comes after `input`: silence stands
    // for it, and frames come out up to the end of the input. Returns the pairs made, or -1 for a factor that the
    // instance was not opened for. Allocates only when the factor has changed.
    int resample_process(double factor, const float* input, int n, bool last, int& used, float* output, int n_out);

private:
    bool SetFactor(double factor);
    void Reset(int64_t whole_frames, int64_t at_phase);
    int Take(const float* input, int n);
    int Make(float* output, int n_out);
    void Advance(int64_t n_out);

    int quality = 0;
    int Npc = 0;
    double minFactor = 0.0;
    double maxFactor = 0.0;
    int width = 0;
    double factor = 0.0;  // of `ratio` and `filter`
    RateRatio ratio;
    std::unique_ptr<const RatioFilter> filter;
    std::vector<float> row;          // of the present output, where the filter has no rows at hand
    std::vector<float> left, right;  // input frames not yet done with
    int64_t n_buffered = 0;
    int64_t time = 0;   // the next output's place in the buffer: whole input frames ...
    int64_t phase = 0;  // ... and a fraction of ratio.outputs
    int64_t end = 0;    // outputs stop before this place in the buffer
};

}  // namespace Tesslib
