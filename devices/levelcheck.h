// What can be told of an input by listening to it: levels, noise, hum, channels, and what to do about them.
//
// Pure functions over spans of pairs, left and right interleaved, full scale 1.0. Decibels are of full scale: a sine of
// amplitude 1.0 has a peak of 0 dB and a power of -3 dB. Any thread.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "foundation/outcome.h"

namespace Tesslib {

inline constexpr double kNothingDb = -200;  // what digital silence measures

// 0: left, 1: right.
struct StereoLevels {
    std::array<float, 2> peak{};     // greatest magnitude
    std::array<double, 2> rms_db{};  // without the offset
    std::array<double, 2> offset{};  // mean value
    std::array<int, 2> clipped{};    // stretches of samples at or beyond 0.99
};
StereoLevels MeasureLevels(std::span<const float> pairs);

// The greatest peaks and the number of clips since the last Reset.
struct LevelHold {
    std::array<float, 2> peak{};
    int clips = 0;

    void Add(const StereoLevels& levels);
    void Reset() { *this = {}; }
};

// The mains' frequency and its harmonics in one channel.
struct HumLine {
    int frequency = 0;    // Hz
    double level_db = 0;  // amplitude
    double above_db = 0;  // over the noise beside it
};
// The lines of a `mains` of 50 or 60 Hz, up to the sixth. `channel` is a second or more, of one channel, of silence or
// of the noise with the needle up; mains that are 0.3 Hz off lose 1 dB.
std::vector<HumLine> MeasureHum(std::span<const float> channel, int32_t rate, int mains);
// The strongest line of either mains that stands 10 dB out of the noise and above -80 dB; frequency 0 when there is
// none.
HumLine WorstHum(std::span<const float> channel, int32_t rate);

// What the two channels are to each other.
enum class Channels {
    Silent,  // both
    Stereo,
    Mono,      // both carry the same
    LeftDead,  // one carries nothing
    RightDead,
    Inverted,  // one is upside down: the basses, which a record has in the middle, cancel
    Swapped,   // a known signal came out on the other side
};
// What is known to be playing: music, or a test record's signal for one side.
enum class Playing { Music, LeftOnly, RightOnly };
Channels CheckChannels(std::span<const float> pairs, int32_t rate, Playing playing = Playing::Music);

// All that a level check knows.
struct LevelReport {
    LevelHold hold;      // while music played
    StereoLevels music;  // of the last seconds of it
    Channels channels = Channels::Silent;
    double noise_floor_db = 0;  // the louder channel, with the needle up; 0: not measured
    HumLine hum;                // frequency 0: none, or not measured
};
// The one sentence about what matters most.
std::string Advice(const LevelReport& report);

}  // namespace Tesslib
