// What a saved track was made of, by which a later run sees whether a save would write the same again.
#pragma once

#include <string>
#include <vector>

#include "collection/recordingplaces.h"
#include "save/savesettings.h"

namespace Orvane {

// Hexadecimal SHA-256 over everything that goes into the file: the track and its tags, the recordings it lies in with
// what was decided about them, and how it is saved. Of the click repairs those count that are heard in the track; with
// settings that save corrections they must be loaded (see HeldRepairs). `places` are those of the album's recordings.
// Main thread.
std::string TrackFileSignature(const AlbumInfo& album, int track, const std::vector<RecordingPlace>& places,
                               const SaveSettings& settings);

}  // namespace Orvane
