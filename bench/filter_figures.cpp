// Measures what the cleanup filters do, through the chain as recordings are heard, and prints the tables of
// docs/filters.md.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "analog_biquad.h"
#include "cleanup/filter/eqcurves.h"
#include "cleanup/filter/equaliser.h"
#include "cleanup/filter/recordeq.h"
#include "filtered_recording.h"

namespace Orvane {
namespace {

using Recording = Testing::FilteredRecording;
using Formula = std::function<double(double frequency)>;  // dB

constexpr int kRate = 44100;
constexpr int64_t kLength = 300000;

// 200 frequencies from 10 Hz to 20 kHz in equal ratios.
std::vector<double> Frequencies() {
    std::vector<double> frequencies;
    for (int i = 0; i < 200; i++) frequencies.push_back(10.0 * std::pow(2000.0, i / 199.0));
    return frequencies;
}

// Below -100 dB a response in floats has nothing left to compare.
void PrintResponse(const std::string& name, const std::function<void(Recording&)>& set, const Formula& formula) {
    std::vector<float> pairs(2 * kLength);
    pairs[0] = pairs[1] = 1.f;
    Recording recording(pairs);
    set(recording);
    const std::vector<float> output = recording.ReadAll();
    std::vector<float> response;
    for (size_t i = 0; i < output.size(); i += 2) response.push_back(output[i]);
    double worst = 0;
    for (double f : Frequencies()) {
        const double expected = formula(f);
        if (expected < -100) continue;
        worst = std::max(worst, std::abs(Oracle::ImpulseResponseDb<float>(response, f, kRate) - expected));
    }
    std::printf("| %s | %.6f |\n", name.c_str(), worst);
}

Formula Sections(int type, double db, std::vector<double> frequencies, double bandwidth) {
    return [=](double f) {
        double sum = 0;
        for (double centre : frequencies) sum += Oracle::AnalogBiQuadDb(type, db, centre, kRate, bandwidth, f);
        return sum;
    };
}

void PrintFilters() {
    std::printf("| filter | worst deviation, dB |\n|---|---|\n");
    for (int mains : {50, 60}) {
        const double f = mains;
        PrintResponse(
            "hum " + std::to_string(mains) + " Hz",
            [&](Recording& r) {
                FilterValues& v = r.AddFilter();
                v.hum_mode = FILTER_ON, v.mains_frequency = mains, v.filter_harmonics = 0;
            },
            Sections(kNotch, 0, {f, f}, 0.05));
        PrintResponse(
            "hum " + std::to_string(mains) + " Hz with harmonics",
            [&](Recording& r) {
                FilterValues& v = r.AddFilter();
                v.hum_mode = FILTER_ON, v.mains_frequency = mains, v.filter_harmonics = 1;
            },
            Sections(kNotch, 0, {f, f, 2 * f, 4 * f, 6 * f}, 0.05));
    }
    for (int dc : {0, 1}) {
        PrintResponse(
            dc ? "rumble, DC offset only" : "rumble",
            [&](Recording& r) {
                FilterValues& v = r.AddFilter();
                v.rumble_mode = FILTER_ON, v.dc_offset_only = dc;
            },
            Sections(kHighPass, 0, std::vector<double>(dc ? 1 : 5, 16.0), dc ? 2.0 : 1.5));
    }
    for (int band = 0; band < kEqBands; band++) {
        const int type = band == 0 ? kLowShelf : band == kEqBands - 1 ? kHighShelf : kPeaking;
        for (int steps : {12, -12}) {
            PrintResponse(
                "band " + std::to_string(kEqFrequencies[band]) + " Hz, " + (steps > 0 ? "+" : "") +
                    std::to_string(steps) + " steps",
                [&](Recording& r) {
                    FilterValues& v = r.AddFilter();
                    v.eq_mode = FILTER_ON, v.bands[band] = steps;
                },
                Sections(type, steps * (type == kPeaking ? 11.0 : 14.0) / 12.0, {double(kEqFrequencies[band])}, 1.4));
        }
    }
    for (int tenths : {-300, -25, 120}) {
        char name[40];
        std::snprintf(name, sizeof name, "preamp %+.1f dB", tenths / 10.0);
        PrintResponse(
            name,
            [&](Recording& r) {
                FilterValues& v = r.AddFilter();
                v.eq_mode = FILTER_ON, v.preamp_left = v.preamp_right = tenths;
            },
            [&](double) { return tenths / 10.0; });
    }
}

// A steady tone through a curve, on the frequency of a bin.
double CurveToneDb(const FFTCurve& curve, int bin) {
    std::vector<float> pairs(2 * 120000);
    for (size_t i = 0; i < pairs.size(); i++) {
        pairs[i] = 0.1f * float(std::sin(2 * std::numbers::pi * bin * double(i / 2) / 8192));
    }
    Recording recording(pairs);
    recording.AddCurve(curve.points);
    const std::vector<float> output = recording.ReadAll();
    double in = 0, out = 0;
    for (size_t i = 2 * 40960; i < 2 * (40960 + 8 * 8192); i++) {
        in += double(pairs[i]) * pairs[i], out += double(output[i]) * output[i];
    }
    return 10 * std::log10(out / in);
}

void PrintCurves() {
    std::printf(
        "\n| curve | tone, Hz | heard, dB | gain table and high pass, dB | formula alone, dB "
        "|\n|---|---|---|---|---|\n");
    for (int use_time_constants : {1, 0}) {
        RecordEq eq;
        eq.use_time_constants = use_time_constants;
        const auto curve = BuildCurve(eq, 33, 33, SpeedMode::Same);
        CurveGains gains(kRate, 8192);
        const FFTCurve* curves[] = {curve.get()};
        gains.SetCurves(curves, 0);
        for (int bin : {6, 9, 19, 37, 93, 186, 394, 743, 1858, 2787, 3529}) {
            const double f = double(bin) * kRate / 8192;
            std::printf(
                "| RIAA, %s | %.0f | %.3f | %.3f | %.3f |\n", use_time_constants ? "time constants" : "turnover", f,
                CurveToneDb(*curve, bin),
                20 * std::log10(gains.GetGains()[bin]) + Oracle::AnalogBiQuadDb(kHighPass, 0, 20, kRate, 2.0, f),
                RecordEqDb(eq, f));
        }
    }
}

// Two seconds of noise alone, then notes or syllables with pauses. `seconds` in all.
struct Programme {
    std::vector<float> clean;    // interleaved, both channels alike
    std::vector<bool> sounding;  // by frame
};

Programme Music(int seconds) {
    Programme p;
    p.clean.resize(size_t(seconds) * kRate * 2), p.sounding.resize(size_t(seconds) * kRate);
    std::mt19937 generator(11);
    for (int note = 0; 2 * kRate + note * kRate / 2 + kRate / 2 <= seconds * kRate; note++) {
        const double f = 110 * std::pow(2.0, double(generator() % 36) / 12);
        const int64_t start = 2 * kRate + int64_t(note) * kRate / 2;
        for (int64_t i = 0; note % 4 != 3 && i < kRate / 2; i++) {
            double x = 0;
            for (int h = 1; h <= 12; h++) {
                x += std::sin(2 * std::numbers::pi * f * h * double(i) / kRate) * std::exp(-double(i) * h / kRate * 2) /
                     h;
            }
            x *= 0.15 * std::min(1.0, double(i) / 200) * std::min(1.0, double(kRate / 2 - i) / 2000);
            p.clean[2 * (start + i)] += float(x), p.clean[2 * (start + i) + 1] += float(x);
            p.sounding[start + i] = true;
        }
    }
    return p;
}

Programme Speech(int seconds) {
    Programme p;
    p.clean.resize(size_t(seconds) * kRate * 2), p.sounding.resize(size_t(seconds) * kRate);
    std::mt19937 generator(12);
    double phase = 0;
    BiQuadFilter formants[3];
    const int syllable = kRate / 5;
    for (int64_t i = 2 * kRate; i < int64_t(seconds) * kRate; i++) {
        const int64_t n = (i - 2 * kRate) / syllable, at = (i - 2 * kRate) % syllable;
        if (at == 0) {
            const double f1 = 300 + double(generator() % 500), f2 = 900 + double(generator() % 1400),
                         f3 = 2400 + double(generator() % 800);
            ComputeBiQuad(formants[0], kBandPass, 0, f1, kRate, 0.3);
            ComputeBiQuad(formants[1], kBandPass, 0, f2, kRate, 0.2);
            ComputeBiQuad(formants[2], kBandPass, 0, f3, kRate, 0.2);
        }
        if (n % 6 >= 4) continue;
        phase += (110 + 20 * std::sin(double(i) / 9000)) / kRate;
        double pulse = 0;
        if (phase >= 1) phase -= 1, pulse = 1;
        double x = 0;
        for (BiQuadFilter& formant : formants) x += formant.Process(pulse);
        x *= 0.8 * std::sin(std::numbers::pi * double(at) / syllable);
        p.clean[2 * i] += float(x), p.clean[2 * i + 1] += float(x);
        p.sounding[i] = true;
    }
    return p;
}

void PrintHiss() {
    std::printf(
        "\n| programme | noise | reduction | quality | noise in pauses | signal kept | error to the clean signal |\n"
        "|---|---|---|---|---|---|---|\n");
    for (bool music : {true, false}) {
        const Programme p = music ? Music(20) : Speech(20);
        for (float noise_level : {0.001f, 0.005f}) {
            std::mt19937 generator(13);
            std::normal_distribution<float> normal(0.f, noise_level);
            std::vector<float> noisy = p.clean;
            for (float& x : noisy) x += normal(generator);
            for (auto [reduction, quality] : {std::pair{0, 2}, {4, 0}, {4, 2}, {4, 4}, {8, 2}}) {
                Recording recording(noisy);
                recording.entry.decided.noise_stretch.end = 2 * kRate;
                FilterValues& values = recording.AddFilter();
                values.hiss_mode = FILTER_ON, values.hiss_reduction = reduction, values.hiss_quality = quality;
                const std::vector<float> output = recording.ReadAll();
                // The part of the output that follows the clean signal, and what is left of noise and damage.
                double pause_in = 0, pause_out = 0, follows = 0, clean = 0, error_in = 0, error_out = 0;
                for (size_t i = 2 * size_t(kRate); i < noisy.size(); i++) {
                    const double c = p.clean[i], x = noisy[i], y = output[i];
                    if (p.sounding[i / 2]) {
                        follows += c * y, clean += c * c;
                        error_in += (x - c) * (x - c), error_out += (y - c) * (y - c);
                    } else {
                        pause_in += x * x, pause_out += y * y;
                    }
                }
                std::printf("| %s | %.0f dB | %d | %d | %.1f dB | %.2f dB | %.1f dB |\n", music ? "music" : "speech",
                            20 * std::log10(noise_level), reduction, quality, 10 * std::log10(pause_out / pause_in),
                            20 * std::log10(follows / clean), 10 * std::log10(error_out / error_in));
            }
        }
    }
}

}  // namespace
}  // namespace Orvane

int main() {
    Orvane::PrintFilters();
    Orvane::PrintCurves();
    Orvane::PrintHiss();
}
