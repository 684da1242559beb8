// Saving the tracks of albums as audio files, as a job.
#pragma once

#include <string>
#include <vector>

#include "app/jobs/job.h"
#include "save/save_albums.h"

namespace Orvane {

// What the user chooses for one save; an empty text or 0 leaves it to the settings.
struct SaveChoices {
    int file_format = 0;     // FileFormat
    int32_t samplerate = 0;  // Hz
    int32_t bit_depth = 0;
    std::string output_folder;
    std::string name_template;
    int threads = 0;
};
// The settings for a save, of any collection. Kind::WrongOptions for what the format cannot hold and for a template
// that cannot be used.
Foundation::Result<SaveSettings> MakeSaveSettings(const SaveChoices& choices);

struct SaveTracksOptions {
    std::vector<AlbumInfo*> albums;  // of one collection
    SaveSettings settings;
    int threads = 0;  // 0: MaxThreads
};

struct SaveTracksResult {
    Foundation::Outcome outcome;  // a track that failed makes the job fail; the others are saved
    SaveResult saved;             // tells of albums by their pointers
    double seconds = 0;
};

SaveTracksResult SaveTracks(const SaveTracksOptions& options);
SaveTracksResult SaveTracks(const Job& job, const SaveTracksOptions& options);  // as a part of another job

// Why a track was not saved, in mark-up; empty where it was.
std::string NotSavedText(const SavedTrack& saved);

}  // namespace Orvane
