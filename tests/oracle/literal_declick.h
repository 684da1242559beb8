// The click scan of one channel written down plainly, one step after another, with rings and without any
// short cut: the shipped scan must find the same clicks, entry for entry.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "cleanup/declick/declick.h"
#include "cleanup/filter/biquadfilter.h"

namespace Orvane::Literal {

class Detector {
public:
    // One step at buffer index `i`, going downward. The result is the roughness of the sample EXTRA_DATA_WING
    // above, `mean` that around it.
    double Detect(std::span<const float> x, int64_t i, double& mean, int64_t crackle_limit, double gain_limited) {
        long double before = i > 0 ? x[Index(i - 1)] : 0.0F;
        long double d = before - 2.0L * x[Index(i)] + x[Index(i + 1)];
        double square = static_cast<double>(d * d);
        diff_sum -= diff_sq[diff_index];
        diff_sum += square;
        diff_sq[diff_index] = square;
        diff_index = (diff_index + 1) % diff_sq.size();

        current = i;
        ring_index = ring_index == 0 ? kRing - 1 : ring_index - 1;
        double e = diff_sum > 0.0 ? std::sqrt(diff_sum / 11.0) : 0.0;
        roughness[Index(ring_index)] = e;
        roughness_sum += e - At(roughness, 1501);
        local_mean[Index(ring_index)] = roughness_sum * 0.0006662225183211193;
        if (i <= crackle_limit) Crackle(i, gain_limited);
        mean = At(local_mean, 5000);
        return At(roughness, 5750);
    }

    // As of an index of a sample in the buffer; 0 where the rings do not reach.
    double RoughnessOf(int64_t sample) const { return AsOf(roughness, sample - EXTRA_DATA_WING + 5750); }
    double MeanOf(int64_t sample) const { return AsOf(local_mean, sample - EXTRA_DATA_WING + 5000); }

    int BrassPattern(int64_t i, double& avg_interval, double& avg_peak) const {
        std::vector<int32_t> bucket_ranges(100, 0);
        double range = 40.0;
        int n_buckets = 0;
        do {
            bucket_ranges[Index(++n_buckets)] = static_cast<int32_t>(range);
            range *= 1.05;
        } while (bucket_ranges[Index(n_buckets)] <= 1000);
        bucket_ranges[Index(n_buckets + 1)] = 0x7FFFFFFF;

        std::vector<int> hist(100, 0);
        int entry = crackle_index;
        int64_t position = crackle_positions[Index(entry)];
        if (position == 0 || position >= i + 10001) return 0;
        if (crackle_positions[Index((entry + 1023) % 1024)] == 0) return 0;
        int found = 0, found_count = 0, count = 0;
        int64_t p = 0, sum_d = 0;
        double sum_peak = 0.0;
        while (count < 1023) {
            int older = (entry + 1023) % 1024;
            int64_t older_position = crackle_positions[Index(older)];
            if (older_position == 0 || older_position > i + 10000) break;
            int64_t d = older_position - position;
            sum_d += d;
            sum_peak += crackle_peaks[Index(entry)];
            count += 1;
            if (found == 0) {
                int j = 1;
                while (bucket_ranges[Index(j)] <= d) ++j;
                hist[Index(j)] += 1;
                if (j <= n_buckets && hist[Index(j - 1)] + hist[Index(j)] >= 7) found = j, found_count = count;
                if (j < n_buckets - 1 && hist[Index(j + 1)] + hist[Index(j)] >= 7) found = j, found_count = count;
                if (p != 0) {
                    while (bucket_ranges[Index(j)] <= p + d) ++j;
                    hist[Index(j)] += 1;
                    if (j <= n_buckets && hist[Index(j - 1)] + hist[Index(j)] >= 6) found = j, found_count = count;
                    if (j < n_buckets - 1 && hist[Index(j + 1)] + hist[Index(j)] >= 6) found = j, found_count = count;
                }
                p = d;
            }
            entry = older;
            position = older_position;
        }
        if (found == 0 || found_count >= 14) return 0;
        if (found_count >= 11) {
            int largest = 0;
            for (int j = 1; bucket_ranges[Index(j)] <= 99999 && j < 99; ++j) {
                if (j >= found - 2 && j <= found + 2) continue;
                largest = std::max(largest, hist[Index(j - 1)] + hist[Index(j)]);
            }
            if (largest < 5) return 0;
        }
        avg_interval = static_cast<double>(sum_d) / count;
        avg_peak = sum_peak / count;
        return found_count;
    }

private:
    static constexpr int kRing = 10001;
    using Ring = std::array<double, kRing>;
    static size_t Index(int64_t i) { return static_cast<size_t>(i); }

    double At(const Ring& ring, int places) const { return ring[Index((ring_index + places) % kRing)]; }
    double AsOf(const Ring& ring, int64_t step) const {
        int64_t places = step - current;
        return places < 0 || places >= kRing ? 0.0 : At(ring, static_cast<int>(places));
    }

    void Crackle(int64_t i, double gain_limited) {
        double e7 = At(roughness, 750), m7 = At(local_mean, 750);
        if (e7 > 2.85 * m7) {
            if (crackle_state < 1) {
                crackle_state = 1;
                crackle_index = (crackle_index + 1) % 1024;
                crackle_peak = e7;
                crackle_positions[Index(crackle_index)] = static_cast<int32_t>(i);
            }
            crackle_peak = std::max(crackle_peak, e7);
            if (gain_limited * e7 > 14.0 * m7 && crackle_state != 2) {
                crackle_positions[Index(crackle_index)] = 0;
                crackle_state = 2;
                crackle_index = (crackle_index + 1023) % 1024;
            }
        } else if (crackle_state == -1) {
            return;
        }
        if (e7 < 0.65 * m7) {
            crackle_peaks[Index(crackle_index)] = crackle_peak;
            crackle_state = -1;
        }
    }

    std::array<double, 13> diff_sq{};
    size_t diff_index = 0;
    double diff_sum = 0.0, roughness_sum = 0.0;
    Ring roughness{}, local_mean{};
    int ring_index = 0;
    int64_t current = 0;
    int crackle_state = 0, crackle_index = 0;
    double crackle_peak = 0.0;
    std::array<int32_t, 1024> crackle_positions{};
    std::array<double, 1024> crackle_peaks{};
};

inline void RemoveNeighbours(std::span<double> data, int gap_first, int gap_last, int step, const Detector& detector,
                             int first_sample) {
    int n = static_cast<int>(data.size());
    int run_end = -1, bad_end = -1;
    for (int index = n * step - 1; index >= 0; --index) {
        bool in_gap = index >= gap_first * step - 3 && index < gap_last * step + 3;
        double e = detector.RoughnessOf(first_sample + index), m = detector.MeanOf(first_sample + index);
        if (!in_gap && e > 3.0 * m) {
            if (run_end < 0) run_end = index;
            if (e > 10.0 * m) bad_end = run_end;
            continue;
        }
        if (bad_end >= 0) {
            int low = index / step, high = bad_end / step;
            double from = data[static_cast<size_t>(low)], to = data[static_cast<size_t>(high)];
            for (int k = low + 1; k < high; ++k)
                data[static_cast<size_t>(k)] = from + (to - from) * (k - low) / (high - low);
        }
        run_end = bad_end = -1;
    }
}

inline double Swing(std::span<const float> samples, int start, int end) {
    double largest = -2.0, smallest = 2.0;
    for (int k = start; k <= end; ++k) {
        largest = std::max(largest, static_cast<double>(samples[static_cast<size_t>(k)]));
        smallest = std::min(smallest, static_cast<double>(samples[static_cast<size_t>(k)]));
    }
    return largest - smallest;
}

inline int CountSwings(std::span<const float> samples, int start, int end, int limit, double factor) {
    int width = end - start + 1, capped = std::min(width, 70);
    const double swing = Swing(samples, start, start + capped - 1);
    int count = 0;
    for (int pass = 1; pass <= 2; ++pass) {
        double f = pass == 1 ? std::max(swing, 0.02) : std::max(std::max(swing, 0.05), 0.02);
        double delta = 2.0 * f * factor;
        if (width > 35) delta = delta * 35 / capped;
        int dir = 0, last_turn = -50;
        double high = 2.0, low = -2.0;
        count = 0;
        for (int k = start - 50; k <= std::min(end + 100, static_cast<int>(samples.size()) - 1); ++k) {
            double v = static_cast<double>(samples[static_cast<size_t>(k)]);
            int o = k - start;
            if (dir < 1 && v > low + delta) {
                if (o - last_turn < 17) count += 1;
                high = -2.0, low = 2.0, dir = 1, last_turn = o;
            }
            if (dir >= 0 && v < high - delta) {
                if (o - last_turn < 17) count += 1;
                high = -2.0, low = 2.0, dir = -1, last_turn = o;
            }
            high = std::max(high, v);
            low = std::min(low, v);
        }
        if (pass == 1 && count > 2 * limit) return count;
    }
    return count;
}

inline int EnergyRatio(std::span<const float> samples, int start, int end, int limit, const Detector& detector) {
    auto energy = [&](int first, int n) {
        std::vector<double> data;
        for (int k = first; k < first + n; ++k) data.push_back(static_cast<double>(samples[static_cast<size_t>(k)]));
        RemoveNeighbours(data, n + 3, n + 3, 1, detector, first);
        std::vector<BiQuadFilter> cascade(4);
        ComputeBiQuad(cascade[0], 0, 0.0, 250.0, 44100.0, 2.0);
        for (size_t k = 1; k < 4; ++k) ComputeBiQuad(cascade[k], 1, 0.0, 32.0, 44100.0, 2.0);
        double sum = 0.0;
        for (double x : data) {
            for (BiQuadFilter& f : cascade) {
                double y = f.b0 * x + f.b1 * f.x1 + f.b2 * f.x2 - f.a1 * f.y1 - f.a2 * f.y2;
                f.x2 = f.x1, f.x1 = x, f.y2 = f.y1, f.y1 = y;
                x = y;
            }
            sum += x * x;
        }
        return sum;
    };
    auto loud = [&](int k) { return std::fabs(static_cast<double>(samples[static_cast<size_t>(k)])) > 0.01; };
    int after = end + 1;
    while (loud(after) && after < end + 201) ++after;
    double a = energy(after, 1200);
    if (limit * 3 > a * 15) return 0;
    int before = start - 500;
    while (loud(before) && before > start - 700) --before;
    double b = energy(before, 500);
    double ratio = b > 0.0 ? a * 500 * 60 / (b * 1200 * limit) : 1e9;
    return static_cast<int>(std::min(ratio, 1e9));
}

inline bool BigPop(std::span<const float> samples, int start, int& end) {
    int last = static_cast<int>(samples.size()) - 1;
    if (Swing(samples, start, std::min(end, last)) < 0.5) return false;
    double sum = 0.0;
    int count = 0;
    for (int k = end + 1; k <= std::min(end + 2000, last); ++k) {
        sum += std::fabs(static_cast<double>(samples[static_cast<size_t>(k)]));
        count += 1;
    }
    if (sum > 0.05 * count) return false;
    end = std::min(end + 50, last);
    return true;
}

inline bool ScanChannel(const ChannelBlock& block, const DetectorTables& t, Detector& detector, ClickSink& sink,
                        ScanCounts& counts) {
    detector = Detector();
    const std::span<const float> x = block.samples;
    const int64_t N = static_cast<int64_t>(x.size()), pos = block.position;
    int64_t pending = -1, click_end = 0, prev_start = std::numeric_limits<int64_t>::max(), prev_end = -1;
    bool in_click = false;
    int brass_count = 0;
    double avg_interval = 0.0, avg_peak = 0.0, level = 0.0;
    const int64_t crackle_limit = t.brass_protection ? N - 1515 : -1, top = N - 11515;
    auto index_of = [&](int64_t place) { return static_cast<int>(place - pos) + EXTRA_DATA_WING; };
    for (int64_t i = N - 3; i >= 0; --i) {
        double mean = 0.0;
        const double e = detector.Detect(x, i, mean, crackle_limit, t.gain_limited);
        if (i > top) continue;
        const int64_t abs = pos + i;
        if (abs < block.first_sample || abs > block.last_sample) continue;
        if (abs % 4096 == 0 && !sink.Tick(abs)) return false;

        if (!in_click) {
            if (e <= t.release * mean) {
                pending = -1;
                continue;
            }
            if (pending == -1) pending = abs;
            if (e <= t.trigger * mean) continue;
            if (e < 1e-15) {
                pending = -1;
                continue;
            }
            click_end = pending;
            pending = -1;
            in_click = true;
            level = e;
            brass_count = t.brass_protection ? detector.BrassPattern(i, avg_interval, avg_peak) : 0;
            continue;
        }

        level = std::max(level, e);
        int64_t width = click_end - abs + 1;
        if (e > t.release * mean && width < 412) continue;
        in_click = false;
        if (e < 1e-15) continue;
        if (brass_count > 0 && level * t.gain_limited < 14.0 * mean &&
            14.0 * mean * static_cast<double>(width) > 1.2 * t.gain_limited * level && 2.5 * avg_peak >= level) {
            if (sink.Marker(11, abs, std::min(click_end + 1, abs + 412), brass_count)) ++counts.bp;
            continue;
        }
        if (width >= 412) {
            click_end = abs + 411;
            width = 412;
        }
        int score = 0;
        if (width >= t.min_test_width) {
            int swings = CountSwings(x, index_of(abs), index_of(click_end), t.wiggle_limit, t.swing_factor);
            int energy = EnergyRatio(x, index_of(abs), index_of(click_end), t.wiggle_limit, detector);
            int w = (swings + energy) / 2;
            score = std::min(w, 127);
            if (w >= t.wiggle_limit) {
                double width_d = static_cast<double>(width);
                double r = std::max(static_cast<double>(w) / t.wiggle_limit, 1.0);
                double y = level * level;
                double z1 = r * width_d * t.pp_energy * 0.0025;
                double px = mean * t.pp_energy * r;
                double z2 = px * px * 15.0 * r * width_d;
                if (y > z1 && y > z2) {
                    if (z1 > z2) {
                        score = -50 - static_cast<int>(std::min(48.0, std::trunc(10.0 * y / z1)));
                    } else {
                        score = -100 - static_cast<int>(std::min(48.0, std::trunc(10.0 * y / z2)));
                    }
                } else if (level > t.pp_energy * 1.2 * mean * r) {
                    score = -127;
                } else if (t.pp_quiet <= mean * 20000.0) {
                    if (sink.Marker(12, abs, click_end + 1, score)) ++counts.pp;
                    continue;
                } else {
                    score = static_cast<int>(std::trunc(-100.0 * mean * 20000.0 / t.pp_quiet));
                }
            }
        }
        bool big_pop = false;
        if (14.0 * mean < level) {
            int end = index_of(click_end);
            big_pop = BigPop(x, index_of(abs), end);
            click_end = pos + end - EXTRA_DATA_WING;
        }
        int pad = click_end - abs + 1 > 60 ? 6 : 0;
        click_end += pad;
        if (click_end + 10 > prev_start && click_end < prev_end) {
            pad = prev_end - abs + 1 > 60 ? 6 : 0;
            click_end = prev_end + pad;
        }
        int64_t start = abs - pad;
        if (click_end - start + 1 >= 412) click_end = start + 411;
        prev_start = start;
        prev_end = click_end;

        auto repair = [&] { return static_cast<int>(sink.Repair(start, click_end, pad, score, big_pop)); };
        int result = repair();
        for (int by : {20, 5}) {
            if (result != (by == 20 ? 2 : 5)) continue;
            int64_t wide_start = start - by, wide_end = click_end + by;
            if (wide_end - wide_start + 1 >= 412) continue;
            start = std::max<int64_t>(wide_start, 0);
            click_end = std::min(wide_end, block.total_samples - 1);
            result = repair();
        }
        if (result == 0 || result == 2) {
            ++counts.repaired;
        } else {
            ++counts.not_repaired;
        }
    }
    if (in_click) ++counts.not_repaired;
    return true;
}

}  // namespace Orvane::Literal
