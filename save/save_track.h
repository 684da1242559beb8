// Saving one track as an audio file: where it goes, whether what is there is still good, and the writing itself.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "collection/dataobjects.h"
#include "save/fileoptions.h"

namespace Orvane {

// How the check before a save, or a save, came out.
enum SaveTrackStatus : int {
    SAVE_DONE = 0,
    SAVE_ALREADY = 1,  // the file is there and good
    SAVE_NEEDED = 2,
    SAVE_PARTIAL = 3,  // saved as far as the recording goes
    SAVE_FAILED = 4,
    SAVE_SKIPPED = 5,      // the user leaves it out
    SAVE_NO_BREAK = 6,     // no track break yet, or outside the recording
    SAVE_CANNOT_HOLD = 8,  // the format cannot hold the recording
    SAVE_CANCELLED = 9,
};
// "saved", "already saved", "partially saved", "skipped", "failed", "cancelled".
const char* SaveStatusText(SaveTrackStatus status);

// How tracks are saved; the same for all tracks of a job, and not changed while it runs.
struct SaveSettings {
    FileOptions options;
    int32_t samplerate = 0;     // 0: as the options say, which may be the recording's own
    int32_t bit_depth = 0;      // likewise
    std::string output_folder;  // saved tracks go below it
    std::string name_template;  // empty: the album's own by TemplateFor

    int Format() const { return options.file_format; }
    std::string TemplateOf(const AlbumInfo& album) const;  // in force for the album
    // From the settings store: options for saving tracks, "Save Track As File Format", "Output Directory".
    static SaveSettings FromStore();
    // Gives the output folder the collection's name as one more level when "Append Collection Output" is on.
    void AppendCollection(const AlbumSet& set);
};

// The full names of the files of all tracks of each of the albums, in order. Of tracks of one collection that would
// share a name all but the first get " (2)" and so on, so that none overwrites another. First is what was recorded
// first: neither which albums are saved together nor the order of the list decides. Opens the recordings whose lengths
// decide names with sides in them. While one of another album is missing, so that its names are not known, a track that
// might share one of them gets a name under which there is no file, or its own one, still good. Main thread.
std::vector<std::vector<std::string>> TrackFileNames(const std::vector<AlbumInfo*>& albums,
                                                     const SaveSettings& settings);
std::vector<std::string> TrackFileNames(AlbumInfo& album, const SaveSettings& settings);

// The text kept with a saved track, by which a later run sees whether the file is still what a save would write:
// hexadecimal SHA-256 over everything that goes into it.
std::string TrackFileSignature(const AlbumInfo& album, int track, const SaveSettings& settings);

// The check before a save: SAVE_ALREADY, SAVE_NEEDED, SAVE_SKIPPED, SAVE_NO_BREAK, SAVE_CANNOT_HOLD or SAVE_FAILED. For
// the last three `message` says why, in mark-up.
SaveTrackStatus CheckTrack(const AlbumInfo& album, int track, const SaveSettings& settings, const std::string& filename,
                           std::string& message);

// What the red lines and messages say of a name that file systems do not take, and of a file that is a recording.
bool IsTooLong(const std::string& filename);
inline constexpr const char* kFilenameTooLong = "Filename is too long";
inline constexpr const char* kNeverChanged = "File:\n\n<b>%s</b>\n\nis a recording, which is never changed.";

// Called during a save with what has been written and will be, in frames; false cancels.
using SaveProgress = std::function<bool(int64_t done, int64_t total)>;

uint32_t SaveFlags(const FileOptions& options);  // what to read with

// Writes the track to `filename`, through a temporary file beside it, so that at every moment the old file or the new
// one is there, whole; a file that Orvane did not save goes to the Trash. SAVE_DONE, SAVE_PARTIAL, SAVE_NO_BREAK,
// SAVE_FAILED or SAVE_CANCELLED. Any thread; the album must not change meanwhile.
SaveTrackStatus WriteTrack(const AlbumInfo& album, int track, const SaveSettings& settings, const std::string& filename,
                           const SaveProgress& progress, std::string& message);

// Copies what `stream` gives with `flags` to `file`, which is open for writing, in blocks. 0, a StreamError, or 1 when
// `progress` cancelled. `channel_mode` is the album's.
int CopySamples(Tesslib::PCMStream& stream, Tesslib::FileStream& file, uint32_t flags, uint8_t channel_mode,
                const SaveProgress& progress);

// A writer of the format with the options' choices made; null when this build has none: last error.
Foundation::RefPtr<Tesslib::FileStream> MakeWriter(int format, const FileOptions& options);

}  // namespace Orvane
