// Patches gaps in music whose missing audio is known and prints the tables of docs/patching.md.
//
//   patch_figures MUSIC.wav...
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "cleanup/filter/orvanefft.h"
#include "cleanup/filter/spectrum.h"
#include "cleanup/repair/patchaudio.h"
#include "foundation/lasterror.h"
#include "foundation/path.h"
#include "memorystream.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace {

using namespace Orvane;

constexpr int kPlaces = 30;                                        // per file and gap
constexpr double kQuietest = 0.01;                                 // rms of the surroundings; silence needs no patch
constexpr std::array kBands = {250, 500, 1000, 2000, 4000, 8000};  // Hz, the middles of octaves
constexpr int kBlock = 32768;

using Stream = Tesslib::Testing::MemoryStream;

std::vector<float> LeftOf(const Stream& music, size_t start, size_t n) {
    std::vector<float> left;
    for (size_t i = start; i < start + n; ++i) left.push_back(music.pairs[2 * i]);
    return left;
}

double Energy(std::span<const float> x) {
    double sum = 0;
    for (const float v : x) sum += double(v) * v;
    return sum;
}

// Levels in octaves, dB.
std::array<double, kBands.size()> BandLevels(std::span<const float> x, int32_t samplerate) {
    std::vector<float> padded(kBlock), spectrum(kBlock + 2), power(kBlock / 2 + 1);
    for (size_t i = 0; i < std::min<size_t>(x.size(), kBlock); ++i) {
        padded[i] = x[i] * float(0.5 - 0.5 * std::cos(2 * M_PI * double(i) / double(x.size())));
    }
    GetFFT().Transform(GetFFT().CreatePlan(kBlock, kFFTForward), FFTDirection::Forward, padded, spectrum);
    PowerSpectrum(spectrum, power);
    std::array<double, kBands.size()> levels{};
    for (size_t band = 0; band < kBands.size(); ++band) {
        const double low = kBands[band] / M_SQRT2, high = kBands[band] * M_SQRT2;
        double sum = 1e-12;
        for (int k = int(low * kBlock / samplerate); k < int(high * kBlock / samplerate); ++k) sum += power[size_t(k)];
        levels[band] = 10 * std::log10(sum);
    }
    return levels;
}

struct Distance {
    double error = 0;  // of the waveform, dB relative to the missing audio: silence has 0
    double bands = 0;  // root mean square of the differences in the octaves' levels, dB
};

Distance DistanceOf(std::span<const float> patch, std::span<const float> original, int32_t samplerate) {
    std::vector<float> difference(patch.size());
    std::transform(patch.begin(), patch.end(), original.begin(), difference.begin(), std::minus<>());
    Distance distance;
    distance.error = 10 * std::log10((Energy(difference) + 1e-12) / (Energy(original) + 1e-12));
    const auto a = BandLevels(patch, samplerate), b = BandLevels(original, samplerate);
    for (size_t i = 0; i < a.size(); ++i) distance.bands += (a[i] - b[i]) * (a[i] - b[i]) / double(a.size());
    distance.bands = std::sqrt(distance.bands);
    return distance;
}

// What stands in the gap before the patch: noise twice as loud as the music, as a deep scratch leaves it.
void Damage(Stream& music, size_t start, size_t n, double rms, std::minstd_rand& random) {
    std::uniform_real_distribution<double> noise(-3.46 * rms, 3.46 * rms);
    for (size_t i = start; i < start + n; ++i) music.pairs[2 * i] = float(std::clamp(noise(random), -1.0, 1.0));
}

constexpr std::array<std::optional<PatchMethod>, 4> kMethods = {PatchMethod::APA, PatchMethod::AR, PatchMethod::FFT,
                                                                std::nullopt};

void Measure(const std::string& name, Stream& music, int gap_ms) {
    const int32_t samplerate = music.GetSampleRate(0);
    const size_t n = size_t(gap_ms) * size_t(samplerate) / 1000, margin = size_t(samplerate);
    const size_t step = (size_t(music.GetTotalSamples(0)) - 3 * margin) / kPlaces;
    std::array<Distance, kMethods.size()> sums{};
    std::array<int, 3> picks{};
    std::minstd_rand random(7);
    int places = 0;
    for (int place = 0; place < kPlaces; ++place) {
        const size_t start = margin + step * size_t(place);
        const std::vector<float> original = LeftOf(music, start, n);
        const double rms = std::sqrt(Energy(LeftOf(music, start - n, 3 * n)) / double(3 * n));
        if (rms < kQuietest) continue;
        ++places;
        Damage(music, start, n, rms, random);
        for (size_t i = 0; i < kMethods.size(); ++i) {
            const PatchAudio patch = MakePatch(music, 1, {int64_t(start), int64_t(start + n), kMethods[i]});
            if (patch.outcome != PatchOutcome::Made) continue;
            std::vector<float> samples;
            for (const int16_t sample : patch.samples[0]) samples.push_back(float(sample) / 32767.f);
            const Distance distance = DistanceOf(samples, original, samplerate);
            sums[i].error += distance.error;
            sums[i].bands += distance.bands;
            if (!kMethods[i]) ++picks[size_t(patch.used)];
        }
        for (size_t i = 0; i < n; ++i) music.pairs[2 * (start + i)] = original[i];
    }
    if (places == 0) return;
    std::printf("| %s | %d ms |", name.c_str(), gap_ms);
    for (const Distance& sum : sums) std::printf(" %+.1f, %.1f |", sum.error / places, sum.bands / places);
    std::printf(" %d, %d, %d |\n", picks[0], picks[1], picks[2]);
}

}  // namespace

int main(int argc, char** argv) {
    std::printf("| music | gap | APA | AR | FFT | best | picked: APA, AR, FFT |\n|---|---|---|---|---|---|---|\n");
    for (int i = 1; i < argc; ++i) {
        int error = 0;
        const RefPtr<FileStream> file = OpenForReading(argv[i], error);
        if (!file || file->GetTotalSamples(0) < 4 * int64_t(file->GetSampleRate(0))) {
            std::fprintf(stderr, "%s: %s\n", argv[i], file ? "shorter than 4 s" : GetLastError().text.c_str());
            return 1;
        }
        Stream music(file->GetSampleRate(0), Tesslib::Testing::ReadAll(*file));
        for (const int gap_ms : {5, 50, 250}) Measure(FileNameOf(FolderOf(argv[i])), music, gap_ms);
    }
}
