// Deleting albums or what belongs to them, with a way back through the Trash.
#pragma once

#include <vector>

#include "collection/dataobjects.h"

namespace Orvane {

// Which components go.
struct DeleteWhat {
    bool albums = true;
    bool recordings = true;
    bool art = true;

    static DeleteWhat FromStore();  // "Delete Albums", "Delete Recordings", "Delete Album Art"
};

// Deletes components of albums of the live collection, which is saved at the end, as a job with lines in the progress
// log. Files go to the Trash: those in the collection's own folders that no other album uses, and what was derived from
// a recording; the user's own files elsewhere stay. An album that is at work, or a file that cannot be moved, keeps
// what it has and is told in red. The number of albums and components deleted. Main thread; Progress::Begin and End are
// the caller's.
int DeleteAlbums(const std::vector<AlbumInfo*>& albums, const DeleteWhat& what);

}  // namespace Orvane
