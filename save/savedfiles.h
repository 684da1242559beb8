// The files that earlier saves have written.
#pragma once

#include <string>

#include "collection/dataobjects.h"

namespace Orvane {

// The signature that a saved track of this format carries (see signature.h); empty for any other file, which is the
// user's own. Any thread.
std::string ReadSignature(const std::string& path, int file_format);

// Enters a file that a track of the album has been saved as, with its signature, in the collection. Main thread.
void NoteSavedFile(AlbumInfo& album, const std::string& path, const std::string& signature);

// Whether a save of the album wrote the file that is there now.
bool IsSavedFileOf(const AlbumInfo& album, const std::string& path, int file_format);

}  // namespace Orvane
