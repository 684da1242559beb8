// Synthesises the side of a record as a sound card would hear it: plucked and struck music in several tracks, groove
// noise, hum, rumble and clicks. What `scripts/run` works on when it is given no recording.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <random>
#include <vector>

#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "tesslib/wavfile.h"

namespace {

constexpr int kRate = 44100;
constexpr double kLeadIn = 6.0;  // seconds of groove before the first track
constexpr double kGap = 3.0;     // between tracks
constexpr double kLeadOut = 4.0;

using Random = std::mt19937;

struct Side {
    std::vector<float> left, right;
    void Add(size_t i, double value, double pan) {
        if (i >= left.size()) return;
        left[i] += static_cast<float>(value * (1 - pan));
        right[i] += static_cast<float>(value * pan);
    }
};

double Seconds(double seconds) {
    return seconds * kRate;
}
double Uniform(Random& random) {
    return std::uniform_real_distribution<double>(-1, 1)(random);
}

// A string that is plucked once: noise in a delay line that loses its highest notes at every turn (Karplus, Strong
// 1983).
void Pluck(Side& side, double at, double length, double hertz, double level, double pan, Random& random) {
    std::vector<double> string(static_cast<size_t>(kRate / hertz));
    for (double& x : string) x = Uniform(random);
    size_t start = static_cast<size_t>(Seconds(at)), n = static_cast<size_t>(Seconds(length));
    size_t k = 0;
    for (size_t i = 0; i < n; ++i) {
        size_t next = (k + 1) % string.size();
        double out = string[k];
        string[k] = 0.4985 * (string[k] + string[next]);
        k = next;
        double release = std::min(1.0, static_cast<double>(n - i) / Seconds(0.05));
        side.Add(start + i, out * level * release, pan);
    }
}

// A drum: a falling tone and a burst of noise.
void Strike(Side& side, double at, double hertz, double noise, double level, Random& random) {
    size_t start = static_cast<size_t>(Seconds(at)), n = static_cast<size_t>(Seconds(0.25));
    double phase = 0;
    for (size_t i = 0; i < n; ++i) {
        double t = static_cast<double>(i) / kRate;
        phase += 2 * std::numbers::pi * hertz * (1 + 2 * std::exp(-t * 40)) / kRate;
        double out = (1 - noise) * std::sin(phase) * std::exp(-t * 14) + noise * Uniform(random) * std::exp(-t * 30);
        side.Add(start + i, out * level, 0.5);
    }
}

struct Piece {
    double length;            // seconds
    double beat;              // seconds
    std::vector<int> chords;  // semitones above A2, one a bar of four beats
    bool drums;
};

void Play(Side& side, double at, const Piece& piece, Random& random) {
    auto Hertz = [](int semitones) { return 110.0 * std::pow(2.0, semitones / 12.0); };
    int beats = static_cast<int>(piece.length / piece.beat);
    for (int i = 0; i < beats; ++i) {
        double now = at + i * piece.beat;
        double left = piece.length - i * piece.beat;
        double level = 0.28 * std::min(1.0, left / 2.0);
        int root = piece.chords[(i / 4) % piece.chords.size()];
        if (i % 4 == 0) Pluck(side, now, std::min(left, 4 * piece.beat), Hertz(root - 12), level * 1.3, 0.5, random);
        const int steps[] = {0, 7, 12, 16, 12, 7, 4, 12};
        Pluck(side, now, std::min(left, 2 * piece.beat), Hertz(root + steps[i % 8]), level, 0.3 + 0.05 * (i % 8),
              random);
        if (i % 2)
            Pluck(side, now + piece.beat / 2, std::min(left, piece.beat), Hertz(root + 24), level * 0.6, 0.7, random);
        if (piece.drums && left > 2) Strike(side, now, i % 2 ? 190 : 70, i % 2 ? 0.6 : 0.1, 0.35, random);
    }
}

// The record itself: hiss of the groove, rumble of the motor, mains hum, dust.
void AddSurface(Side& side, Random& random) {
    double rumble[2] = {0, 0};
    for (size_t i = 0; i < side.left.size(); ++i) {
        double hum = 0.0008 * std::sin(2 * std::numbers::pi * 50 * static_cast<double>(i) / kRate);
        for (int channel = 0; channel < 2; ++channel) {
            rumble[channel] += 0.002 * (Uniform(random) - rumble[channel]);
            float& sample = (channel ? side.right : side.left)[i];
            sample += static_cast<float>(0.0014 * Uniform(random) + 0.04 * rumble[channel] + hum);
        }
    }
    std::uniform_real_distribution<double> where(0, static_cast<double>(side.left.size()));
    std::exponential_distribution<double> loud(6);
    const int n_clicks = static_cast<int>(side.left.size() / kRate) * 3 / 2;
    for (int n = 0; n < n_clicks; ++n) {
        size_t at = static_cast<size_t>(where(random));
        double level = std::min(0.9, 0.05 + loud(random)), pan = 0.5 + 0.5 * Uniform(random);
        for (size_t i = 0; i < 24; ++i) {
            side.Add(at + i, level * std::exp(-static_cast<double>(i) / 5) * std::cos(static_cast<double>(i) * 1.3),
                     pan);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: orvane-demo-side OUT.wav\n");
        return 2;
    }
    const Piece pieces[] = {
        {34, 0.42, {0, 5, 7, 0}, true}, {36, 0.6, {-3, 4, 2, -3}, false}, {38, 0.35, {2, 2, 7, 9}, true}};
    double length = kLeadIn + kLeadOut;
    for (const Piece& piece : pieces) length += piece.length + kGap;
    Side side;
    side.left.resize(static_cast<size_t>(Seconds(length)));
    side.right.resize(side.left.size());
    Random random(1977);
    double at = kLeadIn;
    for (const Piece& piece : pieces) {
        Play(side, at, piece, random);
        at += piece.length + kGap;
    }
    AddSurface(side, random);

    std::vector<float> pairs(side.left.size() * 2);
    for (size_t i = 0; i < side.left.size(); ++i) {
        pairs[2 * i] = side.left[i];
        pairs[2 * i + 1] = side.right[i];
    }
    Tesslib::WAVFile file;
    bool good = file.SetSBC(kRate, 16, 2) == 0 && file.Open(argv[1], Tesslib::OM_CREATE) == 0;
    if (good) {
        good = file.Write(pairs.data(), static_cast<int32_t>(side.left.size())) >= 0;
        good = file.Close(good ? Tesslib::CLOSE_FINISH : Tesslib::CLOSE_FAILED_AND_DELETE) && good;
    }
    if (!good) std::fprintf(stderr, "%s\n", Foundation::PlainText(Foundation::GetLastError().text).c_str());
    return good ? 0 : 1;
}
