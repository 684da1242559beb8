// Measures what rate conversion does to tones and prints the tables of docs/rate-conversion.md.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "memorystream.h"
#include "tesslib/josconvert.h"

using namespace Tesslib;

namespace {

constexpr int kFrames = 16384;
constexpr int kTones = 200;  // per band

double Decibels(double ratio) {
    return 20 * std::log10(std::max(ratio, 1e-12));
}

double Rms(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) sum += value * value;
    return std::sqrt(sum / static_cast<double>(values.size()));
}

std::vector<float> TonePairs(double frequency, int32_t samplerate, int n_frames) {
    std::vector<float> pairs(2 * n_frames);
    for (int i = 0; i < n_frames; ++i) {
        const double angle = 2 * std::numbers::pi * frequency * i / samplerate;
        pairs[2 * i] = pairs[2 * i + 1] = static_cast<float>(std::sin(angle));
    }
    return pairs;
}

std::vector<float> Convert(const std::vector<float>& pairs, int32_t input_rate, int32_t output_rate, uint32_t flags) {
    Testing::MemoryStream source(input_rate, pairs);
    JOSConvert convert(&source, output_rate, flags);
    return Testing::ReadAll(convert, flags);
}

// The left channel without its ends, where the silence outside shows.
std::vector<double> Middle(const std::vector<float>& pairs) {
    std::vector<double> channel;
    for (size_t i = pairs.size() / 8; i < pairs.size() * 3 / 8; ++i) channel.push_back(pairs[2 * i]);
    return channel;
}

// Takes the tone of least squares out of `channel` and returns its amplitude.
double TakeOutTone(std::vector<double>& channel, double frequency, int32_t samplerate) {
    const double step = 2 * std::numbers::pi * frequency / samplerate;
    double ss = 0, sc = 0, cc = 0, sx = 0, cx = 0;
    for (size_t i = 0; i < channel.size(); ++i) {
        const double s = std::sin(step * static_cast<double>(i)), c = std::cos(step * static_cast<double>(i));
        ss += s * s, sc += s * c, cc += c * c, sx += s * channel[i], cx += c * channel[i];
    }
    const double determinant = ss * cc - sc * sc;
    const double a = (sx * cc - cx * sc) / determinant, b = (cx * ss - sx * sc) / determinant;
    for (size_t i = 0; i < channel.size(); ++i) {
        channel[i] -= a * std::sin(step * static_cast<double>(i)) + b * std::cos(step * static_cast<double>(i));
    }
    return std::hypot(a, b);
}

struct Conversion {
    int32_t input_rate, output_rate;
    uint32_t flags;

    int32_t LowerRate() const { return std::min(input_rate, output_rate); }

    std::vector<double> OfTone(double frequency) const {
        const int n_frames = std::max<int>(kFrames, static_cast<int>(int64_t{kFrames} * input_rate / output_rate));
        return Middle(Convert(TonePairs(frequency, input_rate, n_frames), input_rate, output_rate, flags));
    }

    double Level(double frequency) const {
        std::vector<double> channel = OfTone(frequency);
        return Decibels(TakeOutTone(channel, frequency, output_rate));
    }

    // Everything beside the tone itself, for the worst of the tones up to `highest`.
    double WorstImage(double highest) const {
        double worst = 0.0;
        for (int i = 1; i <= kTones; ++i) {
            const double frequency = highest * (i - 0.37) / kTones;
            std::vector<double> channel = OfTone(frequency);
            TakeOutTone(channel, frequency, output_rate);
            worst = std::max(worst, Rms(channel) * std::numbers::sqrt2);
        }
        return Decibels(worst);
    }

    // What is left of the strongest tone between `lowest` and the end of the input's band.
    double WorstAlias(double lowest) const {
        double worst = 0.0;
        for (int i = 0; i < kTones; ++i) {
            const double frequency = lowest + (input_rate / 2.0 - lowest) * (i + 0.37) / kTones;
            worst = std::max(worst, Rms(OfTone(frequency)) * std::numbers::sqrt2);
        }
        return Decibels(worst);
    }

    double Ripple(double highest) const {
        double low = 1e9, high = -1e9;
        for (int i = 1; i <= kTones; ++i) {
            const double level = Level(highest * (i - 0.37) / kTones);
            low = std::min(low, level);
            high = std::max(high, level);
        }
        return high - low;
    }

    // Where the level has fallen by 3 dB, as a part of the lower rate.
    double Corner() const {
        double low = 0.2, high = 0.49;
        while (high - low > 1e-4) {
            const double middle = (low + high) / 2;
            (Level(middle * LowerRate()) > -3.0 ? low : high) = middle;
        }
        return low;
    }
};

const char* Use(uint32_t flags) {
    return flags & PCM_BEST_QUALITY ? "saving" : "playing";
}

std::string Alias(const Conversion& conversion, double part) {
    const double lowest = part * conversion.output_rate;
    if (lowest >= conversion.input_rate / 2.0) return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", conversion.WorstAlias(lowest));
    return text;
}

void PrintFilters() {
    std::printf(
        "| Conversion | For | Nmult | Npc | Ripple to 0.36 | -3 dB at | Images to 0.36 | Images to 0.45 | "
        "Aliases from 0.64 | Aliases from 0.5 |\n|---|---|---|---|---|---|---|---|---|---|\n");
    constexpr int32_t kRates[][2] = {{44100, 48000}, {48000, 44100}, {96000, 44100}, {44100, 96000},
                                     {44100, 88200}, {88200, 44100}, {192000, 48000}};
    for (const auto& [input_rate, output_rate] : kRates) {
        for (const uint32_t flags : {uint32_t{PCM_BEST_QUALITY}, uint32_t{0}}) {
            const Conversion conversion{input_rate, output_rate, flags};
            const bool simple_ratio = IsSimpleRatio(static_cast<double>(output_rate) / input_rate);
            const auto [Nmult, Npc] = QualityFor(flags, simple_ratio);
            const int32_t lower = conversion.LowerRate();
            std::printf("| %d to %d | %s | %d | %d | %.3f | %.3f | %.1f | %.1f | %s | %s |\n", input_rate, output_rate,
                        Use(flags), Nmult, Npc, conversion.Ripple(0.36 * lower), conversion.Corner(),
                        conversion.WorstImage(0.36 * lower), conversion.WorstImage(0.45 * lower),
                        Alias(conversion, 0.64).c_str(), Alias(conversion, 0.5).c_str());
        }
    }
}

// Many tones of random phase up to `highest`, at a sum of about a tenth of full scale.
std::vector<float> ManyTones(double highest, int32_t samplerate) {
    std::mt19937 random(17);
    std::uniform_real_distribution<double> turn(0.0, 2 * std::numbers::pi);
    std::vector<double> channel(4 * kFrames);
    for (int tone = 1; tone <= kTones; ++tone) {
        const double phase = turn(random);
        const double step = 2 * std::numbers::pi * highest * tone / kTones / samplerate;
        for (size_t i = 0; i < channel.size(); ++i)
            channel[i] += 0.01 * std::sin(step * static_cast<double>(i) + phase);
    }
    std::vector<float> pairs;
    for (const double value : channel) pairs.insert(pairs.end(), 2, static_cast<float>(value));
    return pairs;
}

void PrintRoundTrips() {
    std::printf("\n| There and back | For | Error, tones to 10 kHz | to 16 kHz | to 20 kHz |\n|---|---|---|---|---|\n");
    constexpr int32_t kRate = 44100;
    for (const int32_t by_way_of : {48000, 88200, 96000}) {
        for (const uint32_t flags : {uint32_t{PCM_BEST_QUALITY}, uint32_t{0}}) {
            std::printf("| %d to %d to %d | %s |", kRate, by_way_of, kRate, Use(flags));
            for (const double highest : {10000.0, 16000.0, 20000.0}) {
                const std::vector<float> there = ManyTones(highest, kRate);
                const std::vector<double> before = Middle(there);
                std::vector<double> error =
                    Middle(Convert(Convert(there, kRate, by_way_of, flags), by_way_of, kRate, flags));
                for (size_t i = 0; i < error.size(); ++i) error[i] -= before[i];
                std::printf(" %.1f |", Decibels(Rms(error) / Rms(before)));
            }
            std::printf("\n");
        }
    }
}

}  // namespace

int main() {
    PrintFilters();
    PrintRoundTrips();
    return 0;
}
