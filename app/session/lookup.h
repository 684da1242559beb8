// What users name by numbers: albums, tracks, sides and stretches of them. Numbers count from 1. Main thread.
#pragma once

#include <string>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"

namespace Orvane {

// By its place in the list of albums.
Foundation::Result<AlbumInfo*> FindAlbum(const AlbumSet& set, int number);
// The track's index.
Foundation::Result<int> FindTrack(const AlbumInfo& album, int number);
// The recording in use of a side.
Foundation::Result<FileHistoryEntry*> FindRecording(const AlbumInfo& album, int side);

int NumberOf(const AlbumInfo& album);           // in its collection
std::string AlbumName(const AlbumInfo& album);  // "album 3 (Artist - Title)"

// The recording in use of a side, which is there, with its length and rate known.
struct SideInUse {
    FileHistoryEntry* entry;
    int64_t total;  // frames of the side's time line: with its cuts taken out
};
Foundation::Result<SideInUse> FindSide(AlbumInfo& album, int side);

// Frames of the side's time line from times in ticks: below 0 is the start, or the end, of the side. Both below 0 are the
// whole recording, for which 0 to 0 stands.
Foundation::Result<FrameRange> RangeOnSide(const SideInUse& side, int64_t from, int64_t to);

}  // namespace Orvane
