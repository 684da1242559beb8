// Deleting many albums at once, or what belongs to them.
#pragma once

#include <string>
#include <vector>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"

namespace Orvane {

enum DeleteAlbumsOptions : int {
    DELETE_ALBUMS = 1,      // "Delete Albums": they leave the collection
    DELETE_RECORDINGS = 2,  // "Delete Recordings": every recording of every side
    DELETE_ALBUM_ART = 4,   // "Delete Album Art"
};
// The options as the settings of these names have them; each is on by default.
int DeleteOptionsFromStore();

struct DeleteAlbumsResult {
    int n_deleted = 0;                        // albums, recordings and covers
    std::vector<std::string> trashed;         // files that went to the Trash
    std::vector<std::string> kept;            // files that the user or another album needs
    std::vector<Foundation::Outcome> failed;  // why an album, or what was left of it, stays
    bool cancelled = false;
};

// Goes through albums of the live collection as one job with lines in the progress log; the caller saves the
// collection. Recordings go to the Trash with their corrections; waveforms, which can be made anew, are deleted. Files
// that lie outside of the collection's own folders are the user's and stay with all that belongs to them, as do those
// that another album has too: the album only forgets them. An album in use, or one of whose files cannot be moved, is
// told in red and stays. Main thread; Progress::Begin and End are the caller's.
DeleteAlbumsResult DeleteAlbums(const std::vector<AlbumInfo*>& albums, int options);

}  // namespace Orvane
