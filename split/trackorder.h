// Keeping a track listing in order on the album's time line: tracks with times first, in time order and not
// overlapping, then those that have none yet.
#pragma once

#include "foundation/outcome.h"
#include "split/trackbreaks.h"

namespace Orvane {

// Where in the listing a track with these times belongs.
int PlaceForTrack(const TrackList& tracks, const ALBUMTRACK& track);

// Puts the tracks without times at the end of the listing to the end of the last one that has some.
void SettleUnsetTracks(TrackList& tracks);

// Puts a track whose times have changed at its place in the listing; its new index.
int MoveToItsPlace(TrackList& tracks, int index);

// Refused when the times of a listing do not go together. An overlap too short to be heard is let through.
Foundation::Outcome CheckListing(const TrackList& tracks);

// Refused when a position lies behind `end`, that of the time line.
Foundation::Outcome CheckWithin(int64_t position, int64_t end);

}  // namespace Orvane
