// Saving all tracks of albums with several threads.
#pragma once

#include <string>
#include <vector>

#include "foundation/outcome.h"
#include "save/save_track.h"
#include "save/savedfiles.h"

namespace Orvane {

struct SavedTrack {
    AlbumInfo* album;
    int track;  // index
    std::string file;
    SaveTrackStatus status;
    Foundation::Outcome reason;  // why it was not saved
};

struct SaveResult {
    Foundation::Outcome outcome;     // Kind::Busy: another job runs, and nothing was saved
    std::vector<SavedTrack> tracks;  // in the order of albums and tracks
    int n_saved = 0;
    int n_already_saved = 0;
    int n_partially_saved = 0;
    int n_skipped = 0;  // left out by the user, or without audio yet
    int n_failed = 0;
    bool cancelled = false;
    std::vector<Leftover> leftovers;  // of the albums that were saved without a failure
    int64_t duration = 0;             // ticks
    std::string folder;               // the tracks lie below it
};

// How many tracks were saved, and where, in mark-up: what the log ends with.
std::string SummaryText(const SaveResult& result);

// Saves the tracks of `albums` as one job, album by album, with its lines in the progress log, and moves the status of
// albums that went well. `only_tracks` limits it to some tracks (indices) of a single album; empty means all.
// `n_threads` 0 is MaxThreads. Main thread; it stays alive meanwhile. Progress::Begin and End are the caller's.
SaveResult SaveAlbums(const std::vector<AlbumInfo*>& albums, const SaveSettings& settings, int n_threads = 0,
                      const std::vector<int>& only_tracks = {});

}  // namespace Orvane
