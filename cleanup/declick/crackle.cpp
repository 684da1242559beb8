#include "cleanup/declick/crackle.h"

#include <algorithm>

#include "foundation/assert.h"

namespace Orvane {
namespace {

// A pulse is told from the values this many steps back, where the mean is complete.
constexpr int kPulseLag = 750;
constexpr double kPulseEnd = 0.65;
// Pulses further away than this, in samples, say nothing about a click.
constexpr int kReach = 10000;

// Intervals are counted in buckets that grow by a twentieth: interval d belongs to the first bucket j of
// 1 or above with bucket_ranges[j] > d.
struct Buckets {
    static constexpr int kEntries = 100;
    static constexpr int kLongest = 1000;
    std::array<int32_t, kEntries> bucket_ranges{};
    int n_buckets = 0;
    // The bucket of each interval up to kLongest; all longer ones follow the same two entries.
    std::array<uint8_t, kLongest + 1> bucket_of{};

    Buckets() {
        double range = 40.0;
        int j = 0;
        do {
            ORVANE_ASSERT(j + 1 < kEntries - 1);
            bucket_ranges[static_cast<size_t>(++j)] = static_cast<int32_t>(range);
            range *= 1.05;
        } while (bucket_ranges[static_cast<size_t>(j)] <= kLongest);
        n_buckets = j;
        bucket_ranges[static_cast<size_t>(j + 1)] = INT32_MAX;
        for (int d = 0; d <= kLongest; ++d) {
            auto above = std::upper_bound(bucket_ranges.begin() + 1, bucket_ranges.begin() + n_buckets + 2, d);
            bucket_of[static_cast<size_t>(d)] = static_cast<uint8_t>(above - bucket_ranges.begin());
        }
    }

    int Find(int d) const {
        if (d <= kLongest) return bucket_of[static_cast<size_t>(d)];
        return d < bucket_ranges[static_cast<size_t>(n_buckets)] ? n_buckets : n_buckets + 1;
    }
};

const Buckets& Intervals() {
    static const Buckets buckets;
    return buckets;
}

// Intervals counted so far, and whether one bucket and its neighbour stand out.
struct Histogram {
    std::array<int, Buckets::kEntries> hist{};

    // Counts one interval in bucket `j`; true if j and a bucket beside it now hold `threshold` or more.
    bool Add(int j, int threshold) {
        const int n_buckets = Intervals().n_buckets;
        int here = ++at(j);
        return (j <= n_buckets && at(j - 1) + here >= threshold) ||
               (j < n_buckets - 1 && at(j + 1) + here >= threshold);
    }

    // The fullest pair of neighbouring buckets that is clear of the pattern at `found`.
    int LargestElsewhere(int found) {
        int largest = 0;
        for (int j = 1; j <= Intervals().n_buckets; ++j) {
            if (j < found - 2 || j > found + 2) largest = std::max(largest, at(j - 1) + at(j));
        }
        return largest;
    }

private:
    int& at(int j) { return hist[static_cast<size_t>(j)]; }
};

}  // namespace

PulseTracker::PulseTracker(const ClickDetector& source, int crackle_limit, double gain)
    : detector(source), next_step(crackle_limit), gain_limited(gain) {}

void PulseTracker::Step(int i) {
    const double e = detector.roughness(i + kPulseLag), mean = detector.local_mean(i + kPulseLag);
    auto index = static_cast<size_t>(crackle_index);
    if (e > ClickDetector::kPulseLevel * mean) {
        if (crackle_state == State::Quiet || crackle_state == State::Start) {
            crackle_state = State::Pulse;
            crackle_index = (crackle_index + 1) % kPulses;
            index = static_cast<size_t>(crackle_index);
            crackle_peak = e;
            crackle_positions[index] = i;
        }
        crackle_peak = std::max(crackle_peak, e);
        // What the scan would repair in any case is no pulse.
        if (gain_limited * e > 14.0 * mean && crackle_state != State::TooStrong) {
            crackle_positions[index] = 0;
            crackle_state = State::TooStrong;
            crackle_index = Older(crackle_index);
            index = static_cast<size_t>(crackle_index);
        }
    } else if (crackle_state == State::Quiet) {
        return;
    }
    if (e < kPulseEnd * mean) {
        crackle_peaks[index] = crackle_peak;
        crackle_state = State::Quiet;
    }
}

void PulseTracker::AdvanceTo(int i) {
    while (next_step >= i) {
        int source = next_step + kPulseLag;
        if (crackle_state == State::Quiet && !detector.AnyPulse(source)) {
            next_step -= source % ClickDetector::kGroup + 1;
        } else {
            Step(next_step--);
        }
    }
}

PulsePattern PulseTracker::BrassPattern(int i) {
    AdvanceTo(i);
    int newer = crackle_index;
    int newer_position = crackle_positions[static_cast<size_t>(newer)];
    if (newer_position == 0 || newer_position > i + kReach) return {};

    const Buckets& buckets = Intervals();
    Histogram histogram;
    int found = 0, found_count = 0, count = 0, previous_interval = 0;
    double sum_d = 0.0, sum_peak = 0.0;
    for (int older = Older(newer); count < kPulses - 1; older = Older(older)) {
        int position = crackle_positions[static_cast<size_t>(older)];
        if (position == 0 || position > i + kReach) break;
        int d = position - newer_position;
        sum_d += d;
        sum_peak += crackle_peaks[static_cast<size_t>(newer)];
        ++count;
        if (found == 0) {
            int j = buckets.Find(d);
            if (histogram.Add(j, 7)) found = j;
            if (previous_interval != 0) {
                // A pulse too many between two of the rhythm's.
                int joined = buckets.Find(previous_interval + d);
                if (histogram.Add(joined, 6)) found = joined;
            }
            if (found != 0) found_count = count;
            previous_interval = d;
        }
        newer = older;
        newer_position = position;
    }
    // A pattern that took long to show is none, and one that took a while needs a second one beside it.
    constexpr int kTooLate = 14, kLate = 11, kSecondPattern = 5;
    if (found == 0 || found_count >= kTooLate) return {};
    if (found_count >= kLate && histogram.LargestElsewhere(found) < kSecondPattern) return {};
    return {found_count, sum_d / count, sum_peak / count};
}

}  // namespace Orvane
