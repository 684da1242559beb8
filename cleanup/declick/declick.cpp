#include "cleanup/declick/declick.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "cleanup/declick/clickdecisions.h"
#include "cleanup/declick/crackle.h"
#include "foundation/assert.h"

namespace Orvane {
namespace {

constexpr double kStrong = 14.0;     // times the mean: too strong to be music's pulse
constexpr double kSilence = 1e-15;   // roughness of digital silence
constexpr int kWide = 60, kPad = 6;  // a repair wider than this is faded in and out over so many samples
constexpr int kTickMask = 4095;

int64_t Length(int64_t start, int64_t end) {
    return end - start + 1;
}
int PadOf(int64_t start, int64_t end) {
    return Length(start, end) > kWide ? kPad : 0;
}

class ChannelScan {
public:
    ChannelScan(const ChannelBlock& source, const DetectorTables& settings, ClickDetector& run, ClickSink& target,
                ScanCounts& statistics)
        : block(source),
          tables(settings),
          detector(run),
          sink(target),
          counts(statistics),
          pulses(run, static_cast<int>(source.samples.size()) - 1515, settings.gain_limited),
          made(static_cast<int>(source.samples.size()) - 2) {}

    bool Run();

private:
    enum class Test { Click, Music };

    void ScanStretch(int from, int to);
    void RunDetector(int from, int to);
    void LookForClick(int i, double e, double mean);
    void FollowClick(int i, double e, double mean);
    void Decide(int64_t start, double mean);
    bool IsBrass(int64_t width, double mean) const;
    Test TestPercussion(int64_t start, int width, double mean, int& score) const;
    void RepairClick(int64_t start, double mean, int score);
    RepairResult RepairWidening(int64_t start, int64_t end, int pad, int score, bool big_pop);
    bool Widen(int64_t& start, int64_t& end, int by) const;
    // Index in the block's samples of a place in the recording.
    int IndexOf(int64_t place) const { return static_cast<int>(place - block.position) + EXTRA_DATA_WING; }

    const ChannelBlock& block;
    const DetectorTables& tables;
    ClickDetector& detector;
    ClickSink& sink;
    ScanCounts& counts;
    PulseTracker pulses;
    int made;  // the detector's lowest step so far

    int64_t pending = -1;  // the latest sample above `release`, while no click has been seen
    bool in_click = false;
    int64_t click_end = 0;
    double level = 0.0;  // the greatest roughness since the click began
    PulsePattern brass;
    int64_t prev_start = std::numeric_limits<int64_t>::max(), prev_end = -1;
};

bool ChannelScan::Run() {
    // Above `top` the detector's values are not yet full.
    const int64_t top = static_cast<int64_t>(block.samples.size()) - 11515;
    const int64_t from = std::min(block.position + top, block.last_sample);
    const int64_t to = std::max(block.position, block.first_sample);
    for (int64_t place = from; place >= to;) {
        if ((place & kTickMask) == 0 && !sink.Tick(place)) return false;
        int64_t next_tick = (place - 1) & ~int64_t{kTickMask};
        int64_t low = std::max(to, next_tick + 1);
        ScanStretch(static_cast<int>(place - block.position), static_cast<int>(low - block.position));
        place = low - 1;
    }
    if (in_click) ++counts.not_repaired;
    return true;
}

// Runs the detector down to step `to`, and takes in the pulses above step `from` before the detector forgets them.
void ChannelScan::RunDetector(int from, int to) {
    while (made > to) {
        made = std::max(made - (kTickMask + 1), to);
        detector.AdvanceTo(made);
        if (tables.brass_protection) pulses.AdvanceTo(std::max(made, from + 1));
    }
}

// Detector steps `from` down to `to`. What is asked of the detector at a step lies less than 10001 steps behind.
void ChannelScan::ScanStretch(int from, int to) {
    RunDetector(from, std::max(to, 1));
    for (int i = from; i >= to; --i) {
        const int mean_step = i + kMeanLag;
        if (!in_click && pending < 0 && !detector.AnyAbove(mean_step)) {
            i -= mean_step % ClickDetector::kGroup;
            continue;
        }
        const double e = detector.roughness(i + kRoughnessLag), mean = detector.local_mean(mean_step);
        if (in_click) {
            FollowClick(i, e, mean);
        } else {
            LookForClick(i, e, mean);
        }
    }
}

void ChannelScan::LookForClick(int i, double e, double mean) {
    if (e <= tables.release * mean) {
        pending = -1;
        return;
    }
    if (pending < 0) pending = block.position + i;
    if (e <= tables.trigger * mean) return;
    if (e >= kSilence) {
        // The scan runs backward, so the first crossing met is the click's end in time.
        click_end = pending;
        in_click = true;
        level = e;
        brass = tables.brass_protection ? pulses.BrassPattern(i) : PulsePattern{};
    }
    pending = -1;
}

void ChannelScan::FollowClick(int i, double e, double mean) {
    const int64_t start = block.position + i;
    level = std::max(level, e);
    if (e > tables.release * mean && Length(start, click_end) < kLongestClick) return;
    in_click = false;
    if (e >= kSilence) Decide(start, mean);
}

void ChannelScan::Decide(int64_t start, double mean) {
    const int64_t full_width = Length(start, click_end);
    const bool is_brass = brass.count > 0 && IsBrass(full_width, mean);
    click_end = std::min(click_end, start + kLongestClick - 1);
    if (is_brass) {
        if (sink.Marker(kMarkerBP, start, click_end + 1, brass.count)) ++counts.bp;
        return;
    }
    const int width = static_cast<int>(Length(start, click_end));
    int score = 0;
    if (width >= tables.min_test_width && TestPercussion(start, width, mean, score) == Test::Music) {
        if (sink.Marker(kMarkerPP, start, click_end + 1, score)) ++counts.pp;
        return;
    }
    RepairClick(start, mean, score);
}

bool ChannelScan::IsBrass(int64_t width, double mean) const {
    return level * tables.gain_limited < kStrong * mean &&
           kStrong * mean * static_cast<double>(width) > 1.2 * tables.gain_limited * level &&
           2.5 * brass.avg_peak >= level;
}

ChannelScan::Test ChannelScan::TestPercussion(int64_t start, int width, double mean, int& score) const {
    static const LowBandEnergy low_band;
    const int first = IndexOf(start), last = IndexOf(click_end);
    const int swings = CountSwings(block.samples, first, last, tables.wiggle_limit, tables.swing_factor);
    const int energy = low_band.EnergyRatio(block.samples, first, last, tables.wiggle_limit, detector);
    const int w = (swings + energy) / 2;
    score = std::min(w, 127);
    if (w < tables.wiggle_limit) return Test::Click;

    // The likelier percussion is, the louder a click must be.
    const double r = std::max(static_cast<double>(w) / tables.wiggle_limit, 1.0);
    const double y = level * level;
    const double z1 = r * width * tables.pp_energy * 0.0025;
    const double x = mean * tables.pp_energy * r;
    const double z2 = x * x * 15.0 * r * width;
    auto excess = [y](double z) { return static_cast<int>(std::min(48.0, 10.0 * y / z)); };
    if (y > z1 && y > z2) {
        score = z1 > z2 ? -50 - excess(z1) : -100 - excess(z2);
        return Test::Click;
    }
    if (level > tables.pp_energy * 1.2 * mean * r) {
        score = -127;
        return Test::Click;
    }
    const double q = tables.pp_quiet, loudness = mean * 20000.0;
    if (q <= loudness) return Test::Music;
    score = static_cast<int>(-100.0 * mean * 20000.0 / q);
    return Test::Click;
}

void ChannelScan::RepairClick(int64_t start, double mean, int score) {
    bool big_pop = false;
    if (kStrong * mean < level) {
        int last = IndexOf(click_end);
        big_pop = BigPop(block.samples, IndexOf(start), last);
        click_end = block.position + last - EXTRA_DATA_WING;
    }
    int pad = PadOf(start, click_end);
    click_end += pad;
    // Joined with the repair before it, which is later in time.
    if (click_end + 10 > prev_start && click_end < prev_end) {
        pad = PadOf(start, prev_end);
        click_end = prev_end + pad;
    }
    start -= pad;
    click_end = std::min(click_end, start + kLongestClick - 1);
    prev_start = start;
    prev_end = click_end;

    const RepairResult result = RepairWidening(start, click_end, pad, score, big_pop);
    ++(result == RepairResult::Repaired || result == RepairResult::Overshoot ? counts.repaired : counts.not_repaired);
}

RepairResult ChannelScan::RepairWidening(int64_t start, int64_t end, int pad, int score, bool big_pop) {
    RepairResult result = sink.Repair(start, end, pad, score, big_pop);
    if (result == RepairResult::Overshoot && Widen(start, end, 20))
        result = sink.Repair(start, end, pad, score, big_pop);
    if (result == RepairResult::Singular && Widen(start, end, 5)) result = sink.Repair(start, end, pad, score, big_pop);
    return result;
}

bool ChannelScan::Widen(int64_t& start, int64_t& end, int by) const {
    if (Length(start, end) + 2 * by >= kLongestClick) return false;
    start = std::max<int64_t>(start - by, 0);
    end = std::min(end + by, block.total_samples - 1);
    return true;
}

template <typename T>
T Pick(const T* table, int value, int standard, int largest) {
    return table[std::clamp(value < 0 ? standard : value, 0, largest)];
}

}  // namespace

DetectorTables::DetectorTables(const DetectorSettings& settings) {
    static constexpr double kGain[] = {0, 0.55, 0.65, 0.8, 0.95, 1.15, 1.35, 1.6};
    static constexpr int kWiggleLimit[] = {9999, 20, 15, 12, 10, 8};
    static constexpr int kMinTestWidth[] = {9999, 25, 20, 20, 20, 20};
    static constexpr double kSwingFactor[] = {1.0, 0.1, 0.08, 0.06, 0.05, 0.04};
    static constexpr int kEnergy[] = {0, 8, 11, 14, 18, 22};
    static constexpr int kQuiet[] = {0, 22, 18, 14, 11, 8};
    const DetectorSettings standard;
    auto by_percussion = [&](const auto* table) {
        return Pick(table, settings.percussion_protection, standard.percussion_protection, 5);
    };
    gain = Pick(kGain, settings.sensitivity, standard.sensitivity, 7);
    gain_limited = std::min(gain, kGain[5]);
    trigger = 3.5 / gain;
    release = 2.2 / gain;
    wiggle_limit = by_percussion(kWiggleLimit);
    min_test_width = by_percussion(kMinTestWidth);
    swing_factor = by_percussion(kSwingFactor);
    pp_energy = by_percussion(kEnergy);
    pp_quiet = by_percussion(kQuiet);
    brass_protection = (settings.brass_protection < 0 ? standard.brass_protection : settings.brass_protection) != 0;
}

bool ScanChannel(const ChannelBlock& block, const DetectorTables& tables, ClickDetector& detector, ClickSink& sink,
                 ScanCounts& counts) {
    if (!(tables.gain > 0.0)) return true;
    detector.Begin(block.samples, static_cast<int>(block.samples.size()) - 3, 1, tables.release);
    return ChannelScan(block, tables, detector, sink, counts).Run();
}

}  // namespace Orvane
