// Keeping a track listing in order on the album's time line: tracks with times first, in time order and not
// overlapping, then those that have none yet.
#pragma once

#include <string>

#include "collection/dataobjects.h"

namespace Orvane {

// Where in the listing a track with these times belongs.
int PlaceForTrack(const AlbumInfo& album, const ALBUMTRACK& track);

// Puts the tracks without times at the end of the listing to the end of the last one that has some.
void SettleUnsetTracks(AlbumInfo& album);

// What is wrong with the times that a track got; empty when it is nothing. An overlap with a neighbour too short to be heard
// is none.
std::string TrackProblem(const AlbumInfo& album, int index);

}  // namespace Orvane
