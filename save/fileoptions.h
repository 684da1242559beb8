// The user's choices for each file format, kept wherever audio files are made.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "tesslib/fileformats.h"

namespace Orvane {

// Where files are made; decides the settings key under which the choices are kept.
enum class OptionsContext : int {
    Record = 1,
    RecordSetup = 2,
    SaveTracks = 3,
    SaveTrack = 4,
    SaveCopy = 5,
    SaveSelection = 6,
    SaveBatch = 7,
    ConvertRecordings = 8,
    Import = 9,
};

// Which set of choices: targets of the 44.1 kHz family and of the 48 kHz family are kept apart.
enum class RateFamily { Of44100, Of48000 };
RateFamily FamilyOf(int32_t samplerate);

// One format's choices. Indices into the tables below; 0 leaves the recording's own value.
struct FormatRow {
    int32_t samplerate = 0;
    int32_t bit_depth = 0;
    int32_t level = 0;  // FLAC compression level, Ogg quality; what the format has
    int32_t dsd_multiple = 1;

    bool operator==(const FormatRow&) const = default;
};

// The n-th entry of the tables, from 1; an index above the last counts as the last, 0 gives 0.
int32_t SampleRateOfIndex(int index);  // 16000 to 1411200
int32_t BitDepthOfIndex(int index);    // 16, 24, 32, 999 (unused) x 3, 20, 0
// The index of a rate or depth; 0 when the table lacks it.
int IndexOfSampleRate(int32_t samplerate);
int IndexOfBitDepth(int32_t bit_depth);

struct FileOptions {
    // The stored choices for `context`, or their defaults. Until choices are stored for the 48 kHz family, those of the
    // other count.
    static FileOptions Load(OptionsContext context, RateFamily family = RateFamily::Of44100);
    // Stores them; true if anything changed.
    bool Store() const;

    // The rate and depth that the format asks for; 0 is the recording's own. For DSD in a recording context the rate is
    // dsd_multiple * 88200 at 24 bits; for WAV, AIFF and CAF a rate index of 14 or more sets the row's dsd_multiple.
    void Resolve(int format, int32_t& samplerate, int32_t& bit_depth);

    FormatRow& Row(int format) { return rows[format]; }
    const FormatRow& Row(int format) const { return rows[format]; }

    std::string ToText() const;
    // The choices that show in files of one format.
    std::string ChoicesText(int format) const;
    static bool FromText(std::string_view text, FileOptions& options);

    OptionsContext context = OptionsContext::SaveTracks;
    RateFamily family = RateFamily::Of44100;
    int32_t file_format = Tesslib::FF_FLAC;
    bool save_corrections = true;       // false: the file's own samples, without cleanup
    bool preserve_corrections = false;  // the copy keeps its corrections as records
    bool save_dsd_as_dop = false;
    bool embed_album_art = true;
    int32_t art_size_limit = 0;  // pixels, 0: none
    uint32_t wav_options = 1;    // WAVFile's option bits: RF64 where the size needs it
    std::array<FormatRow, Tesslib::kFileFormats> rows{};
};

}  // namespace Orvane
