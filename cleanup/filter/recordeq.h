// The equalisation that records were cut with, as formula, as curve, and by name.
#pragma once

#include <array>
#include <memory>
#include <span>
#include <string_view>

#include "collection/corrections.h"

namespace Orvane {

// Frequencies of the points of a computed curve, hertz.
inline constexpr std::array<float, 34> kCurveFrequencies = {
    20,   25,   31,   40,   50,   63,   80,   100,  125,  160,  200,   250,   315,   400,   500,   630,   800,
    1000, 1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000, 25000, 31500, 48000};

// The replay gain in dB at `frequency` (hertz): a rise of 6 dB an octave below the turnover that levels out below the
// shelf, and a fall of 6 dB an octave above the corner that makes the response at 10 kHz equal to `rolloff`. From the
// time constants when use_time_constants is set; a shelf, turnover or constant of 0 leaves its part out. A negative
// turnover (frequency or constant) gives the inverse, the curve that the record was cut with. A drawn curve is
// not looked at.
double RecordEqDb(const RecordEq& eq, double frequency);

enum class SpeedMode { Same = 0, ToOverFrom = 1, FromOverTo = 2 };

// The curve for a record that should turn at `to_rpm` and was played at `from_rpm`: the drawn one if there is one,
// otherwise the formula at kCurveFrequencies times the speed factor. The preamp level_a, tenths of a dB, is added to
// every point.
std::unique_ptr<FFTCurve> BuildCurve(const RecordEq& eq, int from_rpm, int to_rpm, SpeedMode speed_mode);

// Microseconds and hertz. The customary pairs 3180 / 50 and 318 / 500 are kept exact.
double TimeConstantToFrequency(int32_t microseconds);
int32_t FrequencyToTimeConstant(int32_t hertz);

// The curves of well-known makers and standards.
struct NamedRecordEq {
    const char* key;     // for the command line: lower case, no blanks
    const char* title;   // for people
    int32_t turnover;    // Hz; 0: none
    float rolloff;       // dB at 10 kHz; 0: none
    int32_t shelf;       // Hz; 0: none
    int32_t t1, t2, t3;  // microseconds where a standard names them, otherwise 0
};
std::span<const NamedRecordEq> GetNamedRecordEqs();

// By key or title, without regard to case. False when there is none of that name.
[[nodiscard]] bool FindRecordEq(std::string_view name, RecordEq& eq);

}  // namespace Orvane
