#include "cli/cleanup_values.h"

#include <algorithm>

#include "cleanup/filter/curvefile.h"
#include "cleanup/filter/noisesample.h"
#include "cleanup/filter/presets.h"
#include "cleanup/filter/recordeq.h"
#include "cli/texts.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {

const char* const kFilterKeys =
    "hum=50|60|off, harmonics=0|1, rumble=on|dc|off, hiss=0..8|off, quality=0..4, noise=START,END|FILE.vns, "
    "eq=B1,...,B10|off (steps of -12 to 12), preamp=LEFT,RIGHT (tenths of a dB)";

namespace {

// A whole number within limits, or false.
bool ReadNumber(std::string_view text, int low, int high, int32_t& value) {
    if (text.empty() || text.find_first_not_of("0123456789", text[0] == '-') != text.npos) return false;
    const int64_t number = ParseInt(text[0] == '-' ? text.substr(1) : text) * (text[0] == '-' ? -1 : 1);
    if (number < low || number > high) return false;
    value = static_cast<int32_t>(number);
    return true;
}

// False when it is no stretch. One behind the end of the recording comes out empty.
bool ReadNoiseStretch(const std::vector<std::string_view>& parts, const FileHistoryEntry* entry, NoiseStretch* noise) {
    int64_t start = 0, end = 0;
    if (!entry || parts.size() != 2 || !ParseTypedTime(parts[0], start) || !ParseTypedTime(parts[1], end) ||
        start >= end) {
        return false;
    }
    noise->start = entry->decided.cuts.ToAbsolute(to_samples(entry->SampleRate(), start));
    noise->end = std::min(entry->decided.cuts.ToAbsolute(to_samples(entry->SampleRate(), end)), entry->TotalSamples());
    return true;
}

// False when it is no setting.
bool SetFilterValue(std::string_view key, std::string_view value, FilterSetting& setting, const FileHistoryEntry* entry,
                    NoiseStretch* noise) {
    FilterValues& v = setting.values;
    const bool off = value == "off";
    if (key == "hum") {
        v.hum_mode = off ? FILTER_OFF : FILTER_ON;
        return off || (ReadNumber(value, 50, 60, v.mains_frequency) && (value == "50" || value == "60"));
    }
    if (key == "harmonics") return ReadNumber(value, 0, 1, v.filter_harmonics);
    if (key == "rumble") {
        v.rumble_mode = off ? FILTER_OFF : FILTER_ON;
        v.dc_offset_only = value == "dc" ? 1 : 0;
        return off || value == "on" || value == "dc";
    }
    if (key == "hiss") {
        v.hiss_mode = off ? FILTER_OFF : FILTER_ON;
        return off || ReadNumber(value, 0, 8, v.hiss_reduction);
    }
    if (key == "quality") return ReadNumber(value, 0, 4, v.hiss_quality);
    const std::vector<std::string_view> parts = Split(value, ',');
    if (key == "noise") {
        const bool from_file = ExtensionOf(value) == ".vns";
        setting.extra = from_file ? AbsolutePath(value) : "";
        if (!from_file) return ReadNoiseStretch(parts, entry, noise);
        return true;
    }
    if (key == "eq") {
        v.eq_mode = off ? FILTER_OFF : FILTER_ON;
        if (off) return true;
        if (parts.size() != v.bands.size()) return false;
        for (size_t i = 0; i < parts.size(); ++i) {
            if (!ReadNumber(Trim(parts[i]), -12, 12, v.bands[i])) return false;
        }
        return true;
    }
    if (key == "preamp") {
        v.eq_mode = FILTER_ON;
        return parts.size() == 2 && ReadNumber(Trim(parts[0]), -300, 300, v.preamp_left) &&
               ReadNumber(Trim(parts[1]), -300, 300, v.preamp_right);
    }
    return false;
}

std::string ModeText(int32_t mode, const std::string& on) {
    return mode == FILTER_ON ? on : mode == FILTER_OFF ? "off" : "";
}

}  // namespace

int SetFilterValues(CommandContext& context, const std::vector<std::string>& values, FilterSetting& setting,
                    const FileHistoryEntry* entry, NoiseStretch* noise) {
    for (const std::string& assignment : values) {
        const std::string_view text = assignment;
        const size_t equals = text.find('=');
        if (equals == text.npos ||
            !SetFilterValue(text.substr(0, equals), text.substr(equals + 1), setting, entry, noise)) {
            return context.Usage(fmt::format("\"{}\" is no filter setting; there are {}", assignment, kFilterKeys));
        }
    }
    if (noise && noise->start > 0 && noise->start >= noise->end) {
        const int64_t end = to_ticks(entry->SampleRate(), entry->decided.cuts.ToEdited(entry->TotalSamples()));
        return context.Usage(fmt::format("The noise sample is empty: the side ends at {}", ClockText(end)));
    }
    if (!entry || setting.extra.empty()) return CLI_DONE;
    NoiseSample in_file(entry->SampleRate());
    return ReadNoiseFile(setting.extra, in_file) < 0 ? context.FailLastError() : CLI_DONE;
}

std::string FilterText(const FilterSetting& setting) {
    const FilterValues& v = setting.values;
    std::string text;
    auto Add = [&](const char* key, const std::string& value) {
        if (!value.empty()) text += (text.empty() ? "" : " ") + std::string(key) + "=" + value;
    };
    Add("hum", ModeText(v.hum_mode, v.mains_frequency > 0 ? std::to_string(v.mains_frequency) : "on"));
    if (v.hum_mode == FILTER_ON && v.filter_harmonics >= 0) Add("harmonics", std::to_string(v.filter_harmonics));
    Add("rumble", ModeText(v.rumble_mode, v.dc_offset_only > 0 ? "dc" : "on"));
    Add("hiss", ModeText(v.hiss_mode, std::to_string(v.hiss_reduction)));
    if (v.hiss_mode == FILTER_ON) Add("quality", std::to_string(v.hiss_quality));
    Add("noise", setting.extra);
    std::string bands;
    for (int32_t band : v.bands) bands += (bands.empty() ? "" : ",") + std::to_string(band);
    Add("eq", ModeText(v.eq_mode, bands));
    if (v.preamp_left || v.preamp_right) Add("preamp", fmt::format("{},{}", v.preamp_left, v.preamp_right));
    return text;
}

int FindCurve(CommandContext& context, const std::string& source, FFTEq& eq) {
    RecordEq named;
    if (FindRecordEq(source, named)) {
        eq.curve = *BuildCurve(named, 1, 1, SpeedMode::Same);
        eq.name = named.name;
        return CLI_DONE;
    }
    if (FindPreset(source, eq)) return CLI_DONE;
    if (!FileExists(source)) {
        return context.Usage(
            fmt::format("\"{}\" is neither a file nor the name of a curve (see \"preset list curve\")", source));
    }
    std::vector<FFTCurve> curves = ReadCurveFile(source);
    if (curves.empty()) return context.FailLastError();
    eq.curve = std::move(curves.front());
    eq.name = eq.curve.name;
    return CLI_DONE;
}

}  // namespace Orvane
