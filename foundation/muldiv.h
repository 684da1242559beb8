// Rounded multiply-and-divide: every scaling of a position or a length in Orvane goes through these.
#pragma once

#include <cstdint>

namespace Foundation {

// value * multiplier / divisor, rounded to nearest with halves away from zero; -1 for a zero divisor.
// The product is held in 128 bits, so that no position of a recording can overflow it.
constexpr int64_t MulDiv64(int64_t value, int64_t multiplier, int64_t divisor) {
    if (divisor == 0) return -1;
    __extension__ using Wide = __int128;
    Wide product = static_cast<Wide>(value) * multiplier;
    product += product < 0 ? -(divisor / 2) : divisor / 2;
    return static_cast<int64_t>(product / divisor);
}

// The same for 32-bit values; a result that does not fit is -1.
constexpr int32_t MulDiv(int32_t value, int32_t multiplier, int32_t divisor) {
    int64_t result = MulDiv64(value, multiplier, divisor);
    return result > INT32_MAX || result < INT32_MIN ? -1 : static_cast<int32_t>(result);
}

// Track time: ticks of 1/44100 second, whatever the recording's rate. Recording time: frames at `samplerate`.
constexpr int32_t kTicksPerSecond = 44100;

constexpr int64_t to_samples(int32_t samplerate, int64_t ticks) {
    return samplerate == kTicksPerSecond ? ticks : MulDiv64(ticks, samplerate, kTicksPerSecond);
}

constexpr int64_t to_ticks(int32_t samplerate, int64_t frames) {
    return samplerate == kTicksPerSecond ? frames : MulDiv64(frames, kTicksPerSecond, samplerate);
}

}  // namespace Foundation
