// Where the tracks of albums are saved.
#pragma once

#include <string>
#include <vector>

#include "save/savesettings.h"

namespace Orvane {

// The full names of the files of all tracks of each of the albums, in order. Of tracks of one collection that would
// share a name all but the first get " (2)" and so on, so that none overwrites another. First is what was recorded
// first: neither which albums are saved together nor the order of the list decides. Opens the recordings whose lengths
// decide names with sides in them. While one of another album is missing, so that its names are not known, a track that
// might share one of them gets a name under which there is no file, or one that the album itself has saved. Main
// thread.
std::vector<std::vector<std::string>> TrackFileNames(const std::vector<AlbumInfo*>& albums,
                                                     const SaveSettings& settings);
std::vector<std::string> TrackFileNames(AlbumInfo& album, const SaveSettings& settings);

// Whether file systems do not take the name; without "Permit Long Filenames", whether those of other systems do not.
bool IsTooLong(const std::string& filename);

}  // namespace Orvane
