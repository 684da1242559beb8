#include "devices/levelcheck.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "foundation/messages.h"

namespace Tesslib {

using Foundation::FormatMsg;
using Foundation::Msg;

namespace {

constexpr float kClip = 0.99f;
constexpr double kSilentDb = -75;  // of a channel that carries nothing
constexpr double kDeadDb = 40;     // that a dead channel is below the other
constexpr double kBassHz = 200;
constexpr int kHarmonics = 6;

double Db(double amplitude) {
    return std::max(kNothingDb, 20 * std::log10(std::max(amplitude, 1e-30)));
}

// Amplitude of a sine of `hertz`, with a window whose lobes are low and 4 bins wide.
double LineAmplitude(std::span<const float> channel, int32_t rate, double hertz) {
    const auto n = static_cast<double>(channel.size());
    const std::complex<double> step = std::polar(1.0, -2 * std::numbers::pi * hertz / rate);
    const std::complex<double> window_step = std::polar(1.0, 2 * std::numbers::pi / n);
    std::complex<double> turn = 1, window_turn = 1, sum = 0;
    double weights = 0;
    for (float value : channel) {
        const double weight = 0.5 - 0.5 * window_turn.real();
        sum += weight * value * turn;
        weights += weight;
        turn *= step;
        window_turn *= window_step;
    }
    return weights == 0 ? 0 : 2 * std::abs(sum) / weights;
}

// One-pole low pass, twice.
class Bass {
public:
    explicit Bass(int32_t rate) : a(1 - std::exp(-2 * std::numbers::pi * kBassHz / rate)) {}
    double operator()(double x) {
        first += a * (x - first);
        return second += a * (first - second);
    }

private:
    const double a;
    double first = 0, second = 0;
};

}  // namespace

StereoLevels MeasureLevels(std::span<const float> pairs) {
    StereoLevels levels;
    const auto n = static_cast<double>(pairs.size() / 2);
    for (int channel = 0; channel < 2; ++channel) {
        double sum = 0, squares = 0;
        bool clipping = false;
        for (size_t i = static_cast<size_t>(channel); i < pairs.size(); i += 2) {
            const float magnitude = std::abs(pairs[i]);
            levels.peak[channel] = std::max(levels.peak[channel], magnitude);
            sum += pairs[i];
            squares += static_cast<double>(pairs[i]) * pairs[i];
            const bool clips = magnitude >= kClip;
            if (clips && !clipping) ++levels.clipped[channel];
            clipping = clips;
        }
        const double mean = n > 0 ? sum / n : 0;
        levels.offset[channel] = mean;
        levels.rms_db[channel] = n > 0 ? Db(std::sqrt(std::max(0.0, squares / n - mean * mean))) : kNothingDb;
    }
    return levels;
}

void LevelHold::Add(const StereoLevels& levels) {
    for (int channel = 0; channel < 2; ++channel) peak[channel] = std::max(peak[channel], levels.peak[channel]);
    clips += std::max(levels.clipped[0], levels.clipped[1]);
}

std::vector<HumLine> MeasureHum(std::span<const float> channel, int32_t rate, int mains) {
    std::vector<HumLine> lines;
    for (int harmonic = 1; harmonic <= kHarmonics; ++harmonic) {
        const int hertz = mains * harmonic;
        // So far beside a line of 50 Hz there is none of 60 Hz, and the other way round.
        const double beside =
            std::max({LineAmplitude(channel, rate, hertz - 13.5), LineAmplitude(channel, rate, hertz + 13.5), 1e-10});
        const double level = LineAmplitude(channel, rate, hertz);
        lines.push_back({hertz, Db(level), Db(level) - Db(beside)});
    }
    return lines;
}

HumLine WorstHum(std::span<const float> channel, int32_t rate) {
    constexpr double kHeardDb = -80, kStandsOutDb = 10;
    HumLine worst{0, kHeardDb, kStandsOutDb};
    for (int mains : {50, 60}) {
        for (const HumLine& line : MeasureHum(channel, rate, mains)) {
            if (line.above_db >= kStandsOutDb && line.level_db > worst.level_db) worst = line;
        }
    }
    return worst.frequency ? worst : HumLine();
}

Channels CheckChannels(std::span<const float> pairs, int32_t rate, Playing playing) {
    const StereoLevels levels = MeasureLevels(pairs);
    const double left = levels.rms_db[0], right = levels.rms_db[1];
    if (std::max(left, right) < kSilentDb) return Channels::Silent;
    if (playing != Playing::Music) {
        const bool on_left = left > right;
        if (std::abs(left - right) > 10)
            return on_left == (playing == Playing::LeftOnly) ? Channels::Stereo : Channels::Swapped;
    } else {
        if (right - left > kDeadDb) return Channels::LeftDead;
        if (left - right > kDeadDb) return Channels::RightDead;
    }

    Bass left_bass(rate), right_bass(rate);
    double both = 0, bass_both = 0, squares[2] = {0, 0}, bass_squares[2] = {0, 0};
    for (size_t i = 0; i + 1 < pairs.size(); i += 2) {
        const double l = pairs[i] - levels.offset[0], r = pairs[i + 1] - levels.offset[1];
        const double lb = left_bass(l), rb = right_bass(r);
        both += l * r;
        squares[0] += l * l;
        squares[1] += r * r;
        bass_both += lb * rb;
        bass_squares[0] += lb * lb;
        bass_squares[1] += rb * rb;
    }
    const double alike = both / std::sqrt(std::max(1e-30, squares[0] * squares[1]));
    const double bass_alike = bass_both / std::sqrt(std::max(1e-30, bass_squares[0] * bass_squares[1]));
    constexpr double kSame = 0.999, kOpposite = -0.5;
    if (bass_alike < kOpposite) return Channels::Inverted;
    return alike > kSame ? Channels::Mono : Channels::Stereo;
}

std::string Advice(const LevelReport& report) {
    constexpr double kMostOffset = 0.005, kMostUnequalDb = 4, kLowestPeakDb = -12, kHighestPeakDb = -3;
    const auto side = [](bool right) { return FormatMsg(right ? Msg::SideRight : Msg::SideLeft); };
    switch (report.channels) {
        case Channels::Silent:
            return FormatMsg(Msg::LevelNoSound);
        case Channels::LeftDead:
        case Channels::RightDead:
            return FormatMsg(Msg::LevelChannelDead, side(report.channels == Channels::RightDead));
        default:
            break;
    }
    if (report.hold.clips > 0) return FormatMsg(Msg::LevelClipped);
    if (report.channels == Channels::Inverted) return FormatMsg(Msg::LevelInverted);
    if (report.channels == Channels::Swapped) return FormatMsg(Msg::LevelSwapped);
    const double peak_db = Db(std::max(report.hold.peak[0], report.hold.peak[1]));
    if (peak_db > kHighestPeakDb) return FormatMsg(Msg::LevelTooHigh);
    if (peak_db < kLowestPeakDb) return FormatMsg(Msg::LevelTooLow);
    const double unequal_db = report.music.rms_db[1] - report.music.rms_db[0];
    if (std::abs(unequal_db) > kMostUnequalDb) {
        return FormatMsg(Msg::LevelUnequal, side(unequal_db > 0), std::abs(unequal_db));
    }
    if (report.hum.frequency) return FormatMsg(Msg::LevelHum, report.hum.frequency, report.hum.level_db);
    const double offset = std::max(std::abs(report.music.offset[0]), std::abs(report.music.offset[1]));
    if (offset > kMostOffset) return FormatMsg(Msg::LevelOffset, Db(offset));
    return FormatMsg(report.channels == Channels::Mono ? Msg::LevelMono : Msg::LevelGood);
}

}  // namespace Tesslib
