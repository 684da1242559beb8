// The model's objects as JSON, under the names of their fields, and in words.
#pragma once

#include "cli/context.h"
#include "collection/recordingplaces.h"

namespace Orvane {

// "44.1 kHz, 16 bits, stereo"
std::string FormatText(const FileHistoryEntry& entry);
std::string FormatText(int32_t samplerate, int bits, int channels);
// "Artist: Title (1977)"
std::string AlbumTitleText(const AlbumInfo& album);

Json TrackJson(const ALBUMTRACK& track, int number);
// All tracks of an album with their times, as "tracks" and for reading.
void ReportTracks(CommandContext& context, const AlbumInfo& album);
// One line of the album list: details without tracks and sides.
Json AlbumHeadJson(const AlbumInfo& album, int number);
// Everything: details, tracks, sides with their history and the counts of corrections. Recordings are opened for a
// moment; `remarks` gets what the user should know of them.
Json AlbumJson(AlbumInfo& album, int number, std::vector<std::string>& remarks);

}  // namespace Orvane
