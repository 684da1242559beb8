// Reads the lines of a collection file. docs/collection-format.md describes them.
#pragma once

#include <functional>
#include <string_view>

#include "collection/dataobjects.h"
#include "foundation/textfile.h"

namespace Orvane {

inline constexpr int kCollectionVersion = 1270;

enum class ReadResult {
    Good,
    NotACollection,
    Cancelled,  // by `accept_newer`
    Failed,     // the file could not be read to its end: last error
};

struct CollectionFacts {
    int version = 0;         // 0: the file does not say, it is an old one
    int current_album = -1;  // its index when the file was written
};

// Appends the file's albums, sorted, to `set` and sets `dirty` in it when a save would write another file: something
// was in an older form, or was left out. A damaged line costs what it says and nothing else. A file whose first line
// does not begin with a quote is refused, as is one that asks for more sides than there can be or that has details of
// an album before any album. `accept_newer` is asked when the file's version is newer than ours.
ReadResult ReadCollection(Foundation::TextFileReader& reader, AlbumSet& set, CollectionFacts& facts,
                          const std::function<bool()>& accept_newer);

}  // namespace Orvane
