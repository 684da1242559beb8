// Writes the lines of a collection file. docs/collection-format.md describes them.
#pragma once

#include "collection/dataobjects.h"
#include "foundation/textfile.h"

namespace Orvane {

// Writes the whole collection. `current_album` is the index of the album to come back to, or -1. False on a write
// error: last error.
bool WriteCollection(Foundation::TextFileWriter& writer, const AlbumSet& set, int current_album);

}  // namespace Orvane
