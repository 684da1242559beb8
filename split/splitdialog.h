// The Split Tracks screen without its window: the rules of track breaks applied to an album, with undo and
// the announcement of changes. What is refused leaves everything as it was.
#pragma once

#include <optional>
#include <string>

#include "collection/recordingplaces.h"
#include "foundation/event.h"
#include "foundation/outcome.h"
#include "split/scan.h"
#include "split/trackbreaks.h"

namespace Orvane {

// What a click in the waveform found; the numbers are those of the window's hit test.
enum class BreakHit { ByPosition = 0, TrackStart = 100, TrackEnd = 101 };
enum class MakeUndo { No, Yes };
enum class Joined { MoveTogether, MoveApart };

enum BreakScanFlags : int {
    BREAK_SCAN_ADJUST = 1,  // move the breaks that there are to the gaps near them
    BREAK_SCAN_UNDO = 2,    // one entry of undo for the whole run
};

struct BreakScanResult {
    // Refused while the overview is not there; cancelled when the user ended it, which keeps the tracks found so far.
    Foundation::Outcome outcome;
    int n_set = 0;                          // tracks that have times now
    std::optional<Foundation::Msg> advice;  // what the user can do about a result that is not as expected
};

// Main thread. The album outlives it; it is of the live collection or a working copy, whose changes cannot be undone.
// Indexes are those of the album's tracks; positions are ticks of its track time.
class SplitDialog {
public:
    explicit SplitDialog(AlbumInfo& album);
    SplitDialog(const SplitDialog&) = delete;
    SplitDialog& operator=(const SplitDialog&) = delete;

    // The row under the cursor, or the number of tracks for the blank row; a split with Alt divides it.
    int Selected() const { return selected; }
    void Select(int index);
    void SelectAt(int64_t position) { Select(FindNearestTrack(album.tracks, position)); }

    // Refused when there is no room.
    Foundation::Outcome InsertTrackBreak(int64_t position, Alt alt);
    // A start stands for the end of the track before it. By position the nearest break within `hit_tolerance` counts,
    // and nothing happens when that is a start. `index` matters only for the other hits. True if a break went.
    bool DeleteTrackBreak(BreakHit hit, int index, int64_t position, MakeUndo make_undo, Alt alt);

    // One step of a drag (Gesture::MoveAfresh). The position is held to where tracks stay in order, a second long and
    // before `end`; with Alt the following tracks go along. The end of a track and the start of the next move together
    // when they are at one place, unless the end is to move alone.
    void MoveTrackStart(int index, int64_t position, Alt alt);
    void MoveTrackEnd(int index, int64_t position, Alt alt, Joined joined = Joined::MoveTogether);

    void EnableFader(int index, Fader fader, bool on);
    void AdjustFader(int index, Fader fader, int hundredths);

    // Leaves the titles on their rows.
    void DeleteAllTrackBreaks();
    // Gives a row other texts, faders and times. With other times it goes to its place in the listing, which Selected
    // then tells. Refused when the times do not fit.
    Foundation::Outcome EditTrack(int index, const ALBUMTRACK& edited);
    // With `close_gap` all later tracks move back by its length.
    ALBUMTRACK DeleteTrack(int index, bool close_gap);
    // Moves a title to another row; the times stay on theirs.
    void MoveTrackInList(int from, int to);

    // Makes the breaks anew, titles staying, or adjusts them. The overview is that of the album's recordings. Every
    // track shows as soon as it has been found, but the change is announced as one.
    BreakScanResult ScanForTrackBreaks(int flags, const WaveformOverview& overview, ScanHost& host);
    bool IsBusy() const { return busy; }  // a scan runs: no other command may

    int64_t end = kUnknownEnd;           // of the album's time line, in ticks; no break may come behind it
    int64_t hit_tolerance = 0;           // ticks that the window takes for a hit
    bool remove_empty_last_row = false;  // after a deletion that leaves one unset row at the end

private:
    int64_t RoomBehind() const;
    std::optional<int> FindBreakEnd(BreakHit hit, int index, int64_t position) const;
    void EnterUndo(Foundation::Msg description, int first_track, int last_track);
    bool Store(TrackList changed, Foundation::Msg description, MakeUndo make_undo);

    AlbumInfo& album;
    int selected = 0;
    bool busy = false;
};

}  // namespace Orvane
