#include "save/fileoptions.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "foundation/messages.h"
#include "foundation/muldiv.h"
#include "foundation/settings.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

using nlohmann::json;

constexpr int32_t kSampleRates[] = {16000,  22050,  32000,  44100,  48000,  88200,  96000,
                                    176400, 192000, 352800, 384000, 705600, 768000, 1411200};
constexpr int32_t kBitDepths[] = {16, 24, 32, 999, 999, 999, 20, 0};

template <size_t N>
int32_t Entry(const int32_t (&table)[N], int index) {
    return index <= 0 ? 0 : table[std::min<int>(index, N) - 1];
}

template <size_t N>
int IndexOf(const int32_t (&table)[N], int32_t value) {
    const int32_t* found = std::find(table, table + N, value);
    return value && found != table + N ? static_cast<int>(found - table) + 1 : 0;
}

std::string SettingsKey(OptionsContext context, RateFamily family) {
    std::string key;
    switch (context) {
        case OptionsContext::Record:
        case OptionsContext::RecordSetup:
            key = "Record File Options";
            break;
        case OptionsContext::SaveTracks:
        case OptionsContext::SaveTrack:
        case OptionsContext::SaveBatch:
            key = "Save Tracks File Options";
            break;
        case OptionsContext::SaveCopy:
        case OptionsContext::SaveSelection:
        case OptionsContext::ConvertRecordings:
            key = "Save a Copy File Options";
            break;
        case OptionsContext::Import:
            key = "Import File Options";
            break;
    }
    return family == RateFamily::Of48000 ? key + " 48" : key;
}

// What a copy does with corrections depends on why it is made.
struct CorrectionKeys {
    const char* save;
    bool save_default;
    const char* preserve;  // null: never
    bool preserve_default;
    const char* dop;
};
CorrectionKeys KeysFor(OptionsContext context) {
    switch (context) {
        case OptionsContext::ConvertRecordings:
            return {"Convert Recordings Save Corrections", false, "Convert Recordings Preserve Corrections", true,
                    "Convert Recordings Save DSD As DOP"};
        case OptionsContext::SaveCopy:
        case OptionsContext::SaveSelection:
            return {"Save A Copy Save Corrections", true, "Save A Copy Preserve Corrections", false,
                    "Save a Copy Save DSD As DOP"};
        default:
            return {"Save Track Save Corrections", true, nullptr, false, "Save Track Save DSD As DOP"};
    }
}

}  // namespace

RateFamily FamilyOf(int32_t samplerate) {
    return samplerate % (kTicksPerSecond / 4) == 0 ? RateFamily::Of44100 : RateFamily::Of48000;
}
int32_t SampleRateOfIndex(int index) {
    return Entry(kSampleRates, index);
}
int32_t BitDepthOfIndex(int index) {
    return Entry(kBitDepths, index);
}
int IndexOfSampleRate(int32_t samplerate) {
    return IndexOf(kSampleRates, samplerate);
}
int IndexOfBitDepth(int32_t bit_depth) {
    return bit_depth == 999 ? 0 : IndexOf(kBitDepths, bit_depth);
}

FileOptions FileOptions::Load(OptionsContext context, RateFamily family) {
    FileOptions options;
    options.context = context;
    options.family = family;
    bool saving = context != OptionsContext::Record && context != OptionsContext::RecordSetup;
    for (int format = FF_MP3; format < kFileFormats; ++format) {
        options.rows[format].level = GetFileFormatInfo(format).UsualLevel(saving);
    }
    options.file_format = saving ? FF_FLAC : FF_WAV;
    for (const RateFamily kept : {RateFamily::Of44100, family}) {
        FromText(GetStringSetting(SettingsKey(context, kept)), options);
    }
    CorrectionKeys keys = KeysFor(context);
    options.save_corrections = GetSetting(keys.save, keys.save_default) != 0;
    options.preserve_corrections = keys.preserve && GetSetting(keys.preserve, keys.preserve_default) != 0;
    options.save_dsd_as_dop = GetSetting(keys.dop, 0) != 0;
    return options;
}

bool FileOptions::Store() const {
    std::string key = SettingsKey(context, family);
    std::string text = ToText();
    bool changed = GetStringSetting(key) != text;
    if (changed) SetStringSetting(key, text);
    CorrectionKeys keys = KeysFor(context);
    auto StoreFlag = [&](const char* name, bool value, bool usual) {
        if (!name || GetSetting(name, usual) == (value ? 1 : 0)) return;
        SetSetting(name, value);
        changed = true;
    };
    StoreFlag(keys.save, save_corrections, keys.save_default);
    StoreFlag(keys.preserve, preserve_corrections, keys.preserve_default);
    StoreFlag(keys.dop, save_dsd_as_dop, false);
    return changed;
}

void FileOptions::Resolve(int format, int32_t& samplerate, int32_t& bit_depth) {
    constexpr int kLastRate = static_cast<int>(std::size(kSampleRates));
    FormatRow& row = rows[format];
    samplerate = SampleRateOfIndex(row.samplerate);
    bit_depth = BitDepthOfIndex(row.bit_depth);
    bool recording = context == OptionsContext::Record || context == OptionsContext::RecordSetup;
    const uint32_t traits = GetFileFormatInfo(format).traits;
    if ((traits & FORMAT_HOLDS_DSD) && recording) {
        samplerate = row.dsd_multiple * 88200;
        bit_depth = 24;
    }
    if ((traits & FORMAT_CARRIES_DSD) && row.samplerate >= kLastRate) {
        row.dsd_multiple = 1 << std::min(row.samplerate - kLastRate, 30);
    }
}

std::string FileOptions::ToText() const {
    json formats = json::object();
    for (int format = FF_MP3; format < kFileFormats; ++format) {
        const FormatRow& row = rows[format];
        formats[std::to_string(format)] = {row.samplerate, row.bit_depth, row.level, row.dsd_multiple};
    }
    return json{{"format", file_format},
                {"embed_art", embed_album_art},
                {"art_size", art_size_limit},
                {"wav_options", wav_options},
                {"formats", formats}}
        .dump();
}

std::string FileOptions::ChoicesText(int format) const {
    const FormatRow& row = rows[format];
    return fmt::sprintf("%d,%d,%d,%d,%d,%d,%d", format, row.samplerate, row.bit_depth, row.level, row.dsd_multiple,
                        save_corrections, format == FF_WAV ? wav_options : 0);
}

bool FileOptions::FromText(std::string_view text, FileOptions& options) {
    json record = json::parse(text, nullptr, false);
    if (!record.is_object()) return false;
    auto Take = [&](const char* name, auto& field) {
        using Field = std::remove_reference_t<decltype(field)>;
        auto found = record.find(name);
        if (found == record.end() || !(found->is_number_integer() || found->is_boolean())) return;
        field =
            found->is_boolean() ? static_cast<Field>(found->get<bool>()) : static_cast<Field>(found->get<int64_t>());
    };
    int32_t format = options.file_format;
    Take("format", format);
    if (format > FF_NONE && format < kFileFormats) options.file_format = format;
    Take("embed_art", options.embed_album_art);
    Take("art_size", options.art_size_limit);
    Take("wav_options", options.wav_options);
    auto formats = record.find("formats");
    if (formats == record.end() || !formats->is_object()) return true;
    for (int i = FF_MP3; i < kFileFormats; ++i) {
        auto row = formats->find(std::to_string(i));
        if (row == formats->end() || !row->is_array() || row->size() != 4) continue;
        if (!std::all_of(row->begin(), row->end(), [](const json& v) { return v.is_number_integer(); })) continue;
        FormatRow& target = options.rows[i];
        target = {(*row)[0].get<int32_t>(), (*row)[1].get<int32_t>(), (*row)[2].get<int32_t>(),
                  (*row)[3].get<int32_t>()};
    }
    return true;
}

}  // namespace Orvane
