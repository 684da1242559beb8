// The whole road from recordings to saved tracks, in steps.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/jobs/titles.h"
#include "cli/context.h"
#include "cli/declick.h"
#include "cli/model_view.h"
#include "cli/saving.h"
#include "split/scan.h"

namespace Orvane {

struct DigitiseOrder {
    std::vector<std::string> files;  // one a side, in order
    std::string artist;
    std::string title;
    int year = 0;
    std::string genre;
    std::string titles_file;
    std::string collection;  // empty: one named after the album, beside the tracks
    bool no_declick = false;
    bool no_split = false;
    bool no_cue = false;
    bool adjust = false;
    SaveArguments save;
};

// Each step finds what an earlier run has done already and leaves it alone, so that a run that was interrupted can be
// run again, and one that was not changes nothing. Until the album with its sides and tracks is complete, the
// collection stays as it is, and one that would be new is not there.
class Digitise {
public:
    Digitise(CommandContext& context, const DigitiseOrder& order) : context(context), order(order) {}

    int Run();

private:
    struct Step {
        const char* name;
        int (Digitise::*run)();
    };
    static const Step kSteps[];

    int ReadOrder();
    int CheckFiles();
    int OpenCollection();
    int EnterAlbum();
    int EnterSides();
    int RepairClicks();
    int FindOldRepairs();
    int EnterTracks();
    int StoreAlbum();
    int SaveTracks();
    int WriteSheet();
    void Report();

    AlbumInfo* FindSameAlbum();
    TrackList ListedTracks() const;
    std::string SideTitle(const RecordingPlace& place) const;
    void AddWholeSides(TrackList& tracks) const;
    int Scan(TrackList& tracks, bool adjust);
    int NameTracks(TrackList& tracks);
    void StoreTracks(const TrackList& tracks);

    CommandContext& context;
    const DigitiseOrder& order;
    std::vector<TitleLine> titles;
    SaveSettings settings;
    AlbumInfo* album = nullptr;
    bool new_album = false;
    bool changed = false;
    std::vector<RecordingPlace> places;
    struct SideWords {
        int side;
        std::string words;
    };
    std::vector<SideWords> declicked;
    std::vector<int64_t> tracks_found;  // on each side; empty where none were looked for
    std::vector<TrackScanner::Stretch> left_out;
    std::optional<uint16_t> sides_adjusted;  // by a scan
    SaveResult saved;
    std::string sheet;
};

}  // namespace Orvane
