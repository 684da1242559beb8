// The model's objects as JSON, under the names of their fields, and in words.
#pragma once

#include "cli/context.h"

namespace Orvane {

// The place of a recording on the album's time line.
struct RecordingPlace {
    FileHistoryEntry* entry;
    int side;           // from 1
    int64_t start = 0;  // ticks
    int64_t end = 0;
    bool found = false;  // it could be opened; otherwise its length counts as 0
};

// Opens each recording in use for a moment, so that its length and rate are known from here on, and lays them end to
// end with their cuts taken out.
std::vector<RecordingPlace> PlaceRecordings(AlbumInfo& album);

// "44.1 kHz, 16 bits, stereo"
std::string FormatText(const FileHistoryEntry& entry);
// "Artist: Title (1977)"
std::string AlbumTitleText(const AlbumInfo& album);

Json TrackJson(const ALBUMTRACK& track, int number);
// All tracks of an album with their times, as "tracks" and for reading.
void ReportTracks(CommandContext& context, const AlbumInfo& album);
// One line of the album list: details without tracks and sides.
Json AlbumHeadJson(const AlbumInfo& album, int number);
// Everything: details, tracks, sides with their history and the counts of corrections. Recordings are opened for a
// moment.
Json AlbumJson(AlbumInfo& album, int number);

}  // namespace Orvane
