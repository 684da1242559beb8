// Cue sheets of albums.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "save/cuesheet.h"

namespace Orvane {

// Asks for the name of an album's sheet, which may be changed; false leaves the album out.
using AskSheetName = std::function<bool(const AlbumInfo& album, std::string& path)>;

// Writes the sheet of each album under its CueSheetPath, which with "Cue Sheet Prompt For Filename" is asked about
// first, and tells how many there are. What became of each. Main thread; Progress::Begin and End are the caller's.
std::vector<AlbumListing> WriteCueSheets(const std::vector<AlbumInfo*>& albums, const AskSheetName& ask = {});

}  // namespace Orvane
