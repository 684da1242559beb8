// From the interpolator's floats at 44100 Hz to the stored samples of a repair at the recording's rate, and the
// lengths that go with it. Pure functions.
#pragma once

#include <cstdint>
#include <span>

namespace Orvane {

// Samples of context that a repair of n samples needs on each side, at 44100 Hz: 300 to 1236.
int RepairContext(int n, bool big_pop);

// Samples that a repair of n samples at 44100 Hz holds at `rate`.
int RepairStoredLength(int n, int rate);

// Converts a repair from 44100 Hz to `rate` (not 44100), filling `out`. Upward each interval between two inputs
// becomes a straight line, downward each output is the mean of the inputs it stands for; the number of outputs or
// inputs varies by one so that the rates are kept. What the inputs do not reach gets the last of them.
void ConvertRepairUp(std::span<const float> in, int rate, std::span<float> out);
void ConvertRepairDown(std::span<const float> in, int rate, std::span<float> out);

// As the first of these, for outputs at given places: in[i] stands at sample `in_start` + i of 44100 Hz and out[j] at
// frame `out_start` + j of `rate`, on the straight line between its neighbours. The ends are held.
void PlaceRepair(std::span<const float> in, int64_t in_start, int rate, int64_t out_start, std::span<float> out);

// The stored form: times 32767, cut toward zero. Samples beyond full scale are held; what is not a number is 0.
void RepairTo16Bit(std::span<const float> in, std::span<int16_t> out);

}  // namespace Orvane
