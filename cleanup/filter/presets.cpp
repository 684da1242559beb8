#include "cleanup/filter/presets.h"

#include <fmt/printf.h>

#include <algorithm>

#include "cleanup/filter/recordeq.h"
#include "collection/steering_records.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/settings.h"
#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {
namespace {

template <class T>
constexpr const char* kKey = nullptr;
template <>
constexpr const char* kKey<ScanSettings> = "Scan Preset";
template <>
constexpr const char* kKey<FilterSetting> = "Filter Preset";
template <>
constexpr const char* kKey<FFTEq> = "Eq Curve Preset";

// A record whose fields are parted by commas, with tabs in their place.
std::string WithTabs(std::string_view line) {
    line = Trim(line);
    if (line.ends_with(',')) line.remove_suffix(1);
    return Replace(line, "\",\"", "\"\t\"");
}

std::string WithCommas(const std::string& record) {
    return Replace(record, "\"\t\"", "\",\"") + ",\n";
}

bool ReadRecord(const Fields& fields, Preset<ScanSettings>& preset) {
    preset.name = NameFromFile(fields[0]);
    const auto Number = [&](int field, int low, int high) {
        return static_cast<int8_t>(std::clamp(fields.Int<int32_t>(field, -1), low, high));
    };
    ScanSettings& s = preset.settings;
    s.sensitivity = Number(1, -1, 7);
    s.percussion_protection = Number(2, -1, 5);
    s.brass_protection = Number(3, -1, 1);
    s.passes = Number(4, -1, 9);
    s.channels = static_cast<uint8_t>(std::clamp(fields.Int<int32_t>(5, 3), 0, 3));
    s.options = static_cast<uint8_t>((fields.Bool(6, true) ? SCAN_KEEP_MANUAL : 0) |
                                     (fields.Bool(7) ? SCAN_KEEP_PREVIOUS : 0) | (fields.Bool(8) ? SCAN_EQUALISE : 0));
    return true;
}

bool ReadRecord(const Fields& fields, Preset<FilterSetting>& preset) {
    ReadFilterSetting(fields, 0, preset.settings);
    preset.name = preset.settings.name;
    return true;
}

bool ReadRecord(const Fields& fields, Preset<FFTEq>& preset) {
    ReadFFTEq(fields, 0, preset.settings);
    preset.name = preset.settings.name;
    return !preset.settings.curve.points.empty();
}

void WriteRecord(LineBuilder& line, std::string_view name, const ScanSettings& settings) {
    line.Name(name);
    for (const int value :
         {int{settings.sensitivity}, int{settings.percussion_protection}, int{settings.brass_protection},
          int{settings.passes}, int{settings.channels}, settings.options & SCAN_KEEP_MANUAL ? 1 : 0,
          settings.options & SCAN_KEEP_PREVIOUS ? 1 : 0, settings.options & SCAN_EQUALISE ? 1 : 0}) {
        line.Int(value);
    }
}

// A preset is for no stretch in particular.
template <class T>
T ForAnyStretch(std::string_view name, const T& settings) {
    T copy = settings;
    copy.name = name;
    copy.preset.clear();
    copy.absolute_start_time = copy.absolute_end_time = copy.start_time = copy.end_time = 0;
    return copy;
}

void WriteRecord(LineBuilder& line, std::string_view name, const FilterSetting& settings) {
    WriteFilterSetting(line, ForAnyStretch(name, settings));
}

void WriteRecord(LineBuilder& line, std::string_view name, const FFTEq& settings) {
    WriteFFTEq(line, ForAnyStretch(name, settings));
}

std::string KeyOf(KeptCurves kind, int number) {
    return fmt::sprintf(kind == KeptCurves::Batch ? "Batch Eq Curve #%d" : "Default Eq Curve #%d", number);
}

// False for a line that holds no preset.
template <class T>
bool ParseLine(std::string_view line, Preset<T>& preset) {
    const std::string record = WithTabs(line);
    Fields fields;
    fields.Cut(record);
    return ReadRecord(fields, preset) && !preset.name.empty();
}

template <class T>
bool IsLineOf(std::string_view line, std::string_view name) {
    Preset<T> preset;
    return ParseLine(line, preset) && EqualNoCaseAscii(preset.name, name);
}

// "Custom settings" is a reserved name and not among them: it says of settings in use that they are no preset, and has
// none of its own.
void AppendFixed(std::vector<Preset<ScanSettings>>& presets) {
    presets.push_back({FormatMsg(Msg::DefaultSettings), ScanSettings().WithDefaults(), true});
}

void AppendFixed(std::vector<Preset<FilterSetting>>&) {}

void AppendFixed(std::vector<Preset<FFTEq>>& presets) {
    for (const NamedRecordEq& named : GetNamedRecordEqs()) {
        Preset<FFTEq> preset{named.title, {}, true};
        RecordEq eq;
        if (!FindRecordEq(named.key, eq)) continue;
        preset.settings.curve = *BuildCurve(eq, 1, 1, SpeedMode::Same);
        preset.settings.name = named.title;
        presets.push_back(std::move(preset));
    }
}

bool IsFixedName(std::string_view name, const ScanSettings*) {
    return EqualNoCaseAscii(name, FormatMsg(Msg::DefaultSettings)) ||
           EqualNoCaseAscii(name, FormatMsg(Msg::CustomSettings));
}

bool IsFixedName(std::string_view, const FilterSetting*) {
    return false;
}

bool IsFixedName(std::string_view name, const FFTEq*) {
    RecordEq eq;
    return FindRecordEq(name, eq);
}

void TakeOver(const Preset<ScanSettings>& preset, ScanSettings& settings) {
    const int32_t total_clicks = settings.total_clicks;
    settings = preset.settings;
    settings.total_clicks = total_clicks;
}

void TakeOver(const Preset<FilterSetting>& preset, FilterSetting& setting) {
    setting.values = preset.settings.values;
    setting.extra = preset.settings.extra;
    setting.preset = preset.name;
}

void TakeOver(const Preset<FFTEq>& preset, FFTEq& eq) {
    eq.curve = preset.settings.curve;
    eq.gain = preset.settings.gain;
    eq.name = eq.preset = preset.name;
}

bool FailPreset(const char* format, std::string_view name) {
    SetLastErrorText(fmt::sprintf(format, std::string(name)));
    return false;
}

// Writes all lines but those of `name`, and behind them `line`.
template <class T>
bool ReplaceLine(std::string_view name, const std::string& line) {
    const std::string text = GetStringSetting(kKey<T>);
    std::string changed;
    for (const std::string_view old : Split(text, '\n')) {
        if (!Trim(old).empty() && !IsLineOf<T>(old, name)) changed.append(old).append("\n");
    }
    return WriteSettings({{kKey<T>, changed + line}}).ToStreamError() == 0;
}

}  // namespace

template <class T>
std::vector<Preset<T>> ParsePresets(std::string_view text) {
    std::vector<Preset<T>> presets;
    for (const std::string_view line : Split(text, '\n')) {
        Preset<T> preset;
        if (ParseLine(line, preset)) presets.push_back(std::move(preset));
    }
    return presets;
}

template <class T>
std::string PresetLine(std::string_view name, const T& settings) {
    LineBuilder line;
    WriteRecord(line, name, settings);
    return WithCommas(line.text);
}

template <class T>
std::vector<Preset<T>> ListPresets() {
    std::vector<Preset<T>> presets;
    AppendFixed(presets);
    for (Preset<T>& preset : ParsePresets<T>(GetStringSetting(kKey<T>))) presets.push_back(std::move(preset));
    return presets;
}

template <class T>
bool FindPreset(std::string_view name, T& settings) {
    for (const Preset<T>& preset : ListPresets<T>()) {
        if (!EqualNoCaseAscii(preset.name, name)) continue;
        TakeOver(preset, settings);
        return true;
    }
    return false;
}

template <class T>
bool SavePreset(std::string_view name, const T& settings) {
    if (IsFixedName(name, &settings)) return FailPreset("The preset \"%s\" cannot be changed", name);
    const bool printable = std::all_of(name.begin(), name.end(), [](char c) { return static_cast<uint8_t>(c) >= ' '; });
    if (Trim(name).empty() || !printable || name.find('"') != name.npos) {
        return FailPreset("\"%s\" cannot be the name of a preset", name);
    }
    return ReplaceLine<T>(name, PresetLine(name, settings));
}

template <class T>
bool RemovePreset(std::string_view name) {
    if (IsFixedName(name, static_cast<const T*>(nullptr))) {
        return FailPreset("The preset \"%s\" cannot be changed", name);
    }
    T settings;
    return FindPreset(name, settings) ? ReplaceLine<T>(name, "") : FailPreset("There is no preset \"%s\"", name);
}

std::vector<FFTEq> ReadKeptCurves(KeptCurves kind) {
    std::vector<FFTEq> curves;
    for (int i = 1; HasSetting(KeyOf(kind, i)); ++i) {
        const std::string record = WithTabs(GetStringSetting(KeyOf(kind, i)));
        Fields fields;
        fields.Cut(record);
        FFTEq eq;
        ReadFFTEq(fields, 0, eq);
        if (!eq.curve.points.empty()) curves.push_back(std::move(eq));
    }
    return curves;
}

bool KeepCurves(KeptCurves kind, const LinkedList<FFTEq>& curves) {
    SettingChanges changes;
    int i = 1;
    for (const FFTEq& eq : curves) {
        std::string line = PresetLine(eq.name, eq);
        line.pop_back();
        changes.emplace_back(KeyOf(kind, i++), line);
    }
    for (; HasSetting(KeyOf(kind, i)); ++i) changes.emplace_back(KeyOf(kind, i), std::nullopt);
    return WriteSettings(changes).ToStreamError() == 0;
}

#define ORVANE_PRESETS_OF(T)                                           \
    template std::vector<Preset<T>> ParsePresets<T>(std::string_view); \
    template std::string PresetLine<T>(std::string_view, const T&);    \
    template std::vector<Preset<T>> ListPresets<T>();                  \
    template bool FindPreset<T>(std::string_view, T&);                 \
    template bool SavePreset<T>(std::string_view, const T&);           \
    template bool RemovePreset<T>(std::string_view);
ORVANE_PRESETS_OF(ScanSettings)
ORVANE_PRESETS_OF(FilterSetting)
ORVANE_PRESETS_OF(FFTEq)

}  // namespace Orvane
