// Keeping a track listing in order on the album's time line: tracks with times first, in time order and not
// overlapping, then those that have none yet.
#pragma once

#include <string>

#include "split/trackbreaks.h"

namespace Orvane {

// Where in the listing a track with these times belongs.
int PlaceForTrack(const TrackList& tracks, const ALBUMTRACK& track);

// Puts the tracks without times at the end of the listing to the end of the last one that has some.
void SettleUnsetTracks(TrackList& tracks);

// Puts a track whose times have changed at its place in the listing; its new index.
int MoveToItsPlace(TrackList& tracks, int index);

// What is wrong with the times of a listing; empty when it is nothing. An overlap too short to be heard is none.
std::string ListingProblem(const TrackList& tracks);

// The same of a position on a time line that ends at `end`.
std::string PastEndProblem(int64_t position, int64_t end);

}  // namespace Orvane
