#include <algorithm>

#include "foundation/settings.h"
#include "split/scan.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int kFourDigits = 9999;  // the most that can be typed into the dialog

// Reads a setting in its own unit, with the field's value as the default.
template <class Field>
void Read(const char* key, Field& field, int unit, int least, int most) {
    const int value = GetSetting(key, static_cast<int>(field / unit));
    field = static_cast<Field>(std::clamp(value, least, most)) * unit;
}

}  // namespace

BreakScanSettings BreakScanSettings::Load() {
    constexpr int kTenth = kTicksPerSecond / 10;
    BreakScanSettings s;
    Read("Scan Start Level", s.start_level, 1, 0, kFourDigits);
    Read("Scan End Level", s.end_level, 1, 0, kFourDigits);
    Read("Scan Minimum Gap", s.minimum_gap, kTenth, 0, kFourDigits);
    Read("Scan Leadin", s.leadin, kTenth, 0, kFourDigits);
    Read("Scan Leadout", s.leadout, kTenth, 0, kFourDigits);
    Read("Scan Minimum Track Length", s.minimum_track, kTicksPerSecond, 0, 100);
    Read("Music Indent", s.music_indent, kTicksPerSecond, 0, 30);
    Read("Scan Adjustment Range", s.adjustment_range, kTicksPerSecond, 10, 120);
    return s;
}

void BreakScanSettings::RestoreDefaults() {
    SettingChanges changes;
    for (const char* key : {"Scan Start Level", "Scan End Level", "Scan Minimum Gap", "Scan Leadin", "Scan Leadout",
                            "Scan Minimum Track Length", "Music Indent", "Scan Adjustment Range"}) {
        changes.emplace_back(key, std::nullopt);
    }
    SetSettings(changes);
}

void BreakScanSettings::Migrate() {
    if (HasSetting("Scan Start Level")) return;
    SetSettings({{"Scan Start Level", std::max(5, GetSetting("Scan End Level", 50) * 50 / 60)},
                 {"Scan End Level", 30},
                 {"Scan Minimum Gap", 15},
                 {"Scan End Period", std::nullopt}});
}

}  // namespace Orvane
