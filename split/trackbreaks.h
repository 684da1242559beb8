// The rules by which track breaks are inserted, moved and deleted, and faders set, whatever caused the change. Pure:
// they change the listing they are given and nothing else.
//
// What holds before a call holds after it: tracks are in order and do not overlap (there may be gaps between them), and
// the unset ones, whose start equals their end, stand at the tail, all at one position: the end of the last set track,
// or further on when the start of the next track is already known. An index out of range is an assertion failure.
#pragma once

#include "collection/dataobjects.h"

namespace Orvane {

using TrackList = Foundation::simple_vector<ALBUMTRACK>;

// With Alt held down a change takes whole tracks along instead of single breaks.
enum class Alt { Up, Down };
enum class Following { Stay, Move };
enum class Fader { In, Out };

inline constexpr int64_t kShortestTrack = Foundation::kTicksPerSecond;  // the least distance of two breaks

// Positions are ticks of the album's track time. The caller sees to it that `position` leaves the tracks in order.
// A set track keeps its end, or with Alt moves as a whole with all that follows; an unset one goes to the position.
void SetTrackStart(TrackList& tracks, int index, int64_t position, Alt alt);
// Without Alt the following track moves only if `index` is unset or the end comes to lie before that track, and then
// only its start. With Alt all following tracks move.
void SetTrackEnd(TrackList& tracks, int index, int64_t position, Following following, Alt alt);

// The track that contains the position, or else the nearest one; of two equally near the later. The number of tracks,
// which stands for the blank row below them, if the position lies behind the last track and that one is set.
int FindNearestTrack(const TrackList& tracks, int64_t position);
int FirstUnsetTrack(const TrackList& tracks);  // the number of tracks when all are set

// With Alt, and when `selected` is a set track: splits it; the list grows by a row. Otherwise a break goes into the
// track nearest the position: titles stay on their rows and the times behind the break move down a row, so that the
// last row's are lost; a row is appended when the last one is set. False when there is no room: nothing has changed.
bool InsertTrackBreak(TrackList& tracks, int selected, int64_t position, Alt alt);

// Deletes the break at the end of a track: the next one is joined to it. Titles stay on their rows and the times move
// up a row; with Alt the next row goes with its title. The last set track becomes unset.
void DeleteTrackBreak(TrackList& tracks, int index, Alt alt);

// Leaves the titles on their rows and nothing else.
void DeleteAllTrackBreaks(TrackList& tracks);

// Moves a title to another row, past those in between, while the times and faders stay on their rows.
void MoveTitle(TrackList& tracks, int from, int to);

// Takes the last row away if it is the only unset one.
void RemoveOnlyUnsetTrack(TrackList& tracks);

// Pushes every set track that begins before the end of the one above it up to that end.
void PushOverlappingTracks(TrackList& tracks);

// A fader that is switched on without a length gets that of the setting "Default Fade In" or "Default Fade Out"; one
// that is switched off keeps its length.
void EnableFader(ALBUMTRACK& track, Fader fader, bool on);
int32_t DefaultFaderLength(Fader fader);  // ticks
// `hundredths` of a second are held to 10 to 2000.
void SetFaderLength(ALBUMTRACK& track, Fader fader, int hundredths);

// The name that a track gets when nobody has named it.
std::string NumberedTrackTitle(int number);

}  // namespace Orvane
