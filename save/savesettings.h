// How tracks are saved.
#pragma once

#include <array>
#include <string>

#include "collection/dataobjects.h"
#include "save/fileoptions.h"

namespace Orvane {

// The same for all tracks of a job, and not changed while it runs.
struct SaveSettings {
    FileOptions options;  // for recordings of the 44.1 kHz family
    std::array<FormatRow, Tesslib::kFileFormats>
        rows_48000{};           // what the formats' choices are for those of the 48 kHz family
    int32_t samplerate = 0;     // 0: as the options say, which may be the recording's own
    int32_t bit_depth = 0;      // likewise
    std::string output_folder;  // saved tracks go below it
    std::string name_template;  // empty: the album's own by TemplateFor

    int Format() const { return options.file_format; }
    FileOptions OptionsOf(const AlbumInfo& album) const;   // in force for the album, by its recordings' rate
    std::string TemplateOf(const AlbumInfo& album) const;  // likewise
    // From the settings store: options for saving tracks, "Save Track As File Format", "Output Directory".
    static SaveSettings FromStore();
    // Gives the output folder the collection's name as one more level when "Append Collection Output" is on.
    void AppendCollection(const AlbumSet& set);
};

uint32_t SaveFlags(const FileOptions& options);  // what to read with

// A writer of the format with the options' choices made; null when this build has none: last error.
Foundation::RefPtr<Tesslib::FileStream> MakeWriter(int format, const FileOptions& options);

// The format a track is written in: what the user chose, bent to what the class can hold.
struct TrackFormat {
    int32_t samplerate;
    int32_t bit_depth;
    int32_t n_channels;
};
TrackFormat OutputFormat(const AlbumInfo& album, const SaveSettings& settings, const Tesslib::FileStream& writer);

}  // namespace Orvane
