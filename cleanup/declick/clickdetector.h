// The click detector: how rough one channel is at every sample, against the mean roughness around it.
//
// It works on the squared second difference of the signal and runs backward in time, from a high sample
// index to a low one, because its two rolling sums are fixed by that order: the same samples always give
// the same bits. All samples are at 44100 Hz. A detector is used by one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Orvane {

// Samples on each side of a stretch that the detector needs before its values there are full.
inline constexpr int EXTRA_DATA_WING = 5757;

// A step of the detector, at sample index `i`, reports on a sample that lies EXTRA_DATA_WING above `i`: its
// roughness was computed 5750 steps ago (the sum reaches six samples to either side of it), and the mean
// of 5000 steps ago is the one centred on it.
inline constexpr int kRoughnessLag = 5750;
inline constexpr int kMeanLag = 5000;
inline constexpr int kDiffWindow = 13;
inline constexpr int kMeanWindow = 1501;

class ClickDetector {
public:
    // A run goes over `samples` from index `from` down to `to`, with all sums at zero before. Needs
    // 1 <= to <= from <= samples.size() - 2. `release`: how many times the mean a sample's roughness must
    // exceed to be worth a look (see AnyAbove). `samples` must stay until the run's last AdvanceTo. Allocates only
    // when a run is longer than all before.
    void Begin(std::span<const float> samples, int from, int to, double release);
    // Makes the run's steps down to `step`.
    void AdvanceTo(int step);

    // What was stored by the step at `step`, which must be one of the run's last kKept.
    static constexpr int kKept = 15360;
    double roughness(int step) const { return roughness_at[Index(step)]; }
    double local_mean(int step) const { return mean_at[Index(step)]; }

    // Roughness of the sample at index `sample` and the mean around it. Where the run does not reach, both are 0: such
    // a sample is never above its mean. Knows the samples whose steps roughness() and local_mean() know.
    struct Level {
        double roughness, mean;
    };
    Level LevelOf(int sample) const {
        int step = sample - EXTRA_DATA_WING;
        if (step + kMeanLag < lowest || step + kRoughnessLag > highest) return {0.0, 0.0};
        return {roughness(step + kRoughnessLag), local_mean(step + kMeanLag)};
    }

    // Steps come in groups of kGroup. A sample is above kNeighbourLevel or `release` times the mean around it only if
    // its mean's step is in a group with AnyAbove; a step's roughness is above kPulseLevel times its own mean
    // only in a group with AnyPulse.
    static constexpr int kGroup = 64;
    static constexpr double kNeighbourLevel = 3.0;
    static constexpr double kPulseLevel = 2.85;
    bool AnyAbove(int mean_step) const {
        return mean_step >= lowest && mean_step <= highest && above_groups[static_cast<size_t>(mean_step / kGroup)];
    }
    bool AnyPulse(int step) const { return pulse_groups[static_cast<size_t>(step / kGroup)]; }

private:
    // Steps made in one go: short enough for the first cache level, a whole number of groups.
    static constexpr int kTile = 1024;
    // The values stand in rings, small enough for the second cache level. A tile reads the roughness of up to two tiles
    // above it in one piece, so the first two of a ring stand once more behind its end.
    static constexpr int kRing = kKept + kTile, kOverlap = 2 * kTile;
    static_assert(kTile % kGroup == 0 && kMeanWindow < kOverlap && (kRing & (kRing - 1)) == 0);

    static size_t Index(int step) { return static_cast<size_t>(step) & (kRing - 1); }
    void RunTile(int from, int to);
    void MarkGroups(int from, int to);

    std::span<const float> samples;
    double level = 0.0;  // what AnyAbove asks for
    int lowest = 0, highest = -1, next = -1;
    double diff_sum = 0.0, roughness_sum = 0.0;
    // The squared differences of a tile's steps, and above them the last ones of the tile before.
    std::array<double, kTile + kDiffWindow> diff_sq{};
    std::vector<double> roughness_at = std::vector<double>(kRing + kOverlap), mean_at = std::vector<double>(kRing);
    std::vector<uint8_t> above_groups, pulse_groups;
};

// For a repair that is made again outside a scan: runs the detector over the samples around it. `first` is
// the index of the repair's first sample in `samples`.
void PrimeDetector(ClickDetector& detector, std::span<const float> samples, int first);

// Cleans `data` of other clicks, so that a model or an energy taken from it is of the music alone: each
// disturbance that rises above ten times the mean is replaced, over the whole run above three times it, by a
// straight line. `data` holds every `step`-th sample, the first being the detector's sample `first_sample`.
// Samples from three before data[gap_first] to three after data[gap_last] are the click under repair and end
// a run; a gap at or beyond data.size() + 3 means there is none.
void RemoveNeighbours(std::span<double> data, int gap_first, int gap_last, int step, const ClickDetector& detector,
                      int first_sample);

}  // namespace Orvane
