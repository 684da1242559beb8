// How the tracks of an album follow when a cut is made or taken back. Pure: only the listing and the cuts it is given.
#pragma once

#include "collection/dataobjects.h"

namespace Orvane {

// A recording on the time line of its album.
struct RecordingOnAlbum {
    int64_t start = 0;  // ticks
    int32_t samplerate = 0;
};

// Moves the tracks along when `cut` is made, which takes `length` ticks more out than `before`, the cuts until then. A
// track that begins where the cut ends, or whose beginning is cut away, then begins with the cross-fade, and one that
// ends there ends with it. Where such an end and start stood is noted in the cut. Returns -1, or the index of a track
// that would lose all of its music: then nothing has changed.
int FollowCut(Foundation::simple_vector<ALBUMTRACK>& tracks, const RecordingOnAlbum& recording, const CutList& before,
              int64_t length, CutAndSpliceCorrection& cut);

// Moves them back by `length` ticks when `cut`, one of `cuts`, is about to be taken out of the list.
void FollowDeletedCut(Foundation::simple_vector<ALBUMTRACK>& tracks, const RecordingOnAlbum& recording,
                      const CutList& cuts, int64_t length, const CutAndSpliceCorrection& cut);

}  // namespace Orvane
