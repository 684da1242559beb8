// The whole road from recordings to saved tracks, as a job.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/jobs/declick.h"
#include "app/jobs/savetracks.h"
#include "app/jobs/split.h"
#include "app/session/session.h"

namespace Orvane {

struct DigitiseOptions {
    std::vector<std::string> files;  // one a side, in order
    std::string artist;
    std::string title;
    int year = 0;  // 0: not given
    std::string genre;
    std::string titles_file;
    std::string collection;  // empty: one named after the album, beside the tracks
    bool no_declick = false;
    bool no_split = false;
    bool no_cue = false;
    bool adjust = false;  // move the times of the titles to the gaps near them
    SaveChoices save;
};

// The steps in their order.
enum class DigitiseStep { Order, Files, Collection, Album, Sides, Declick, Tracks, Store, Save, Cue };

// Where the album's tracks come from.
enum class TracksFrom { Listing, WholeSides, Kept, Scan, AdjustedListing };

struct DigitiseResult {
    Foundation::Outcome outcome;
    DigitiseStep failed_step = DigitiseStep::Order;  // of an outcome that is none of success

    std::string collection;  // its path; empty when there is none, or none any more
    int album = 0;           // its number in the collection; 0 when it has not come to that
    std::string artist, title;
    int year = 0;
    bool new_album = false;
    bool changed = false;                 // anything: a run that finds all done already changes nothing
    std::vector<std::string> ends_early;  // files that have less audio than they promise

    struct Side {
        int side;  // from 1
        std::string path;
        int64_t start, end;  // ticks of the album's time line
        int32_t samplerate;
        int bits, channels;
        int64_t tracks_found = -1;   // by a scan; -1: none ran
        int64_t repairs_there = -1;  // with no_declick: those from before; -1: not looked for
    };
    std::vector<Side> sides;
    std::optional<DeclickResult> declick;
    bool old_repairs_applied = false;  // what becomes of `repairs_there`

    std::optional<TracksFrom> tracks_from;  // none when it has not come to that
    int n_found = 0;                        // tracks that a scan has found or adjusted
    double split_seconds = 0;
    std::vector<TrackScanner::Stretch> left_out;  // music in no track
    struct Cut {
        int line;     // of the file of titles
        int64_t end;  // ticks: where the recordings, and the last track with them, end
    };
    std::optional<Cut> last_title_cut;

    struct Track {
        int64_t start, end, fade_start, fade_end;  // ticks
        std::string title;
    };
    std::vector<Track> tracks;              // of saved.saved.tracks, in their order
    std::optional<SaveTracksResult> saved;  // its pointers to the album hold while the collection is open
    std::string cue_sheet;
};

// Each step finds what an earlier run has done already and leaves it alone, so that a run that was interrupted can be
// run again, and one that was not changes nothing. Until the album with its sides and tracks is complete, the
// collection stays as it is, and one that would be new is not there.
DigitiseResult Digitise(Session& session, const DigitiseOptions& options);

}  // namespace Orvane
