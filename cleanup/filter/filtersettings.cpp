#include "cleanup/filter/filtersettings.h"

#include <algorithm>

#include "cleanup/filter/orvanefft.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Whether the setting covers `position`; draws `next_change` in to its next edge behind the position.
bool Covers(const BaseGenericFilterSetting& setting, int64_t position, uint32_t flags, int64_t& next_change) {
    if (setting.CoversAll()) return true;
    const bool in_file = (flags & PCM_NO_CUTS) != 0;
    const int64_t start = in_file ? setting.absolute_start_time : setting.start_time;
    const int64_t end = in_file ? setting.absolute_end_time : setting.end_time;
    for (const int64_t edge : {start, end}) {
        if (edge > position) next_change = std::min(next_change, edge);
    }
    return start <= position && position < end;
}

void PutOver(const FilterSetting& setting, SettingsAt& merged) {
    const FilterValues& from = setting.values;
    FilterValues& to = merged.values;
    if (from.hiss_mode != FILTER_NO_CHANGE) {
        to.hiss_mode = from.hiss_mode;
        to.hiss_reduction = from.hiss_reduction;
        to.hiss_quality = from.hiss_quality;
        merged.noise_file = setting.extra;
    }
    if (from.hum_mode != FILTER_NO_CHANGE) {
        to.hum_mode = from.hum_mode;
        to.mains_frequency = from.mains_frequency;
        to.filter_harmonics = from.filter_harmonics;
    }
    if (from.rumble_mode != FILTER_NO_CHANGE) {
        to.rumble_mode = from.rumble_mode;
        to.dc_offset_only = from.dc_offset_only;
    }
    if (from.eq_mode != FILTER_NO_CHANGE) {
        to.eq_mode = from.eq_mode;
        to.preamp_left = from.preamp_left;
        to.preamp_right = from.preamp_right;
        to.bands = from.bands;
    }
}

}  // namespace

SettingsAt GetSettingsAt(const LinkedList<FilterSetting>& settings, int64_t position, uint32_t flags) {
    SettingsAt merged;
    for (const FilterSetting& setting : settings) {
        if (Covers(setting, position, flags, merged.next_change)) PutOver(setting, merged);
    }
    return merged;
}

CurvesAt GetCurvesAt(const LinkedList<FFTEq>& curves, int64_t position, uint32_t flags) {
    CurvesAt merged;
    for (const FFTEq& curve : curves) {
        if (!Covers(curve, position, flags, merged.next_change)) continue;
        if (curve.enable == CURVE_ON || curve.enable == CURVE_OFF) merged.curves.clear();
        if (curve.enable == CURVE_ON || curve.enable == CURVE_ADD) merged.curves.push_back(&curve);
    }
    return merged;
}

double CurvesAt::Level() const {
    double level = 0.0;
    for (const FFTEq* curve : curves) level += curve->gain * (10.0 / 24.0);
    return level;
}

bool LacksNoiseSample(const FileHistoryEntry& entry) {
    if (entry.decided.noise_stretch.end - entry.decided.noise_stretch.start >= FFTBlockSize(entry.SampleRate()))
        return false;
    for (const FilterSetting& setting : entry.decided.filters) {
        if (setting.values.hiss_mode == FILTER_ON && setting.extra.empty()) return true;
    }
    return false;
}

}  // namespace Orvane
