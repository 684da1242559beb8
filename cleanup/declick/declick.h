// The click scan of one channel: which stretches of a block are repaired, and which are left alone because
// they are probably a drum beat (PP) or a pulsing horn (BP). All positions and lengths are samples at 44100 Hz.
#pragma once

#include <cstdint>
#include <span>

#include "cleanup/declick/clickdetector.h"
#include "cleanup/repair/repairresult.h"

namespace Orvane {

// A click, and so a repair or a marker, is never longer.
inline constexpr int kLongestClick = 412;
inline constexpr int kMarkerBP = 11;
inline constexpr int kMarkerPP = 12;

// The sliders of a scan; -1 means the default.
struct DetectorSettings {
    int sensitivity = 3;            // 0 (off) to 7
    int percussion_protection = 2;  // 0 (off) to 5
    int brass_protection = 1;       // 0 or 1
};

// What the sliders mean.
struct DetectorTables {
    explicit DetectorTables(const DetectorSettings& settings);

    double gain, gain_limited;  // 0 with the sensitivity off: nothing is scanned
    double trigger, release;    // roughness over its mean at which a click begins and ends
    int wiggle_limit, min_test_width;
    double swing_factor;
    int pp_energy, pp_quiet;
    bool brass_protection;
};

// One channel of one block. `samples` carries EXTRA_DATA_WING samples before and at least 5758 behind what is
// scanned; `position` is the place in the recording of samples[EXTRA_DATA_WING].
struct ChannelBlock {
    std::span<const float> samples;
    int64_t position;
    int64_t first_sample, last_sample;  // only these are scanned, both included
    int64_t total_samples;              // of the recording
};

// Receives the candidates of a scan, latest in the recording first, on the thread of the scan.
class ClickSink {
public:
    virtual ~ClickSink() = default;
    // Repairs `start` to `end` inclusive with fades of `pad` samples. May be called again, wider, for the same
    // click after Overshoot or Singular. `score`: see ScanChannel.
    virtual RepairResult Repair(int64_t start, int64_t end, int pad, int score, bool big_pop) = 0;
    // A candidate left alone, `end` exclusive: kMarkerBP with the pattern's count or kMarkerPP with the
    // score as `value`. Returns whether the marker was kept.
    virtual bool Marker(int type, int64_t start, int64_t end, int value) = 0;
    // Called once in 4096 samples. False ends the scan.
    virtual bool Tick(int64_t position) = 0;
};

struct ScanCounts {
    int repaired = 0, not_repaired = 0, pp = 0, bp = 0;
};

// Scans one block; false if `sink` ended it. `detector` runs over the block, just ahead of the scan, so
// that the sink may ask it about the samples around a repair. The score of a repair says why it was made: 0 not
// tested for percussion, 1 to 127 not enough like it, below 0 too loud for it (or, from -1 to -100 in proportion
// to the music's roughness, in a very quiet passage). Adds to `counts`. A gain of 0 scans nothing.
bool ScanChannel(const ChannelBlock& block, const DetectorTables& tables, ClickDetector& detector, ClickSink& sink,
                 ScanCounts& counts);

}  // namespace Orvane
