// What a cue sheet says, apart from any album. Pure: no files but the sheet, which may come from memory.
#pragma once

#include <string>
#include <vector>

#include "collection/dataobjects.h"
#include "foundation/textfile.h"
#include "save/cuesheet.h"

namespace Orvane {

struct CueSheet {
    struct File {
        std::string path;  // absolute
        int number = 0;    // of the recording in its album, from 1; 0: not said
        int line = 0;
    };
    struct Track {
        ALBUMTRACK details;  // everything but start and end; an empty text was not said
        int file = 0;        // index into `files`
        int64_t index = -1;  // ticks from the beginning of the file
        int64_t end = -1;    // ticks on the album's time line; -1: not said
        int line = 0;        // of its INDEX
    };
    AlbumDetails details;  // an empty text or 0 was not said
    std::vector<File> files;
    std::vector<Track> tracks;
};

// Where in a sheet something is wrong, and what, in mark-up.
struct CueProblem {
    std::string text;
    int line = 0;
};

// False with the problem when it is no proper sheet. `folder` is where names without a folder lie.
bool ParseCueSheet(Foundation::TextFileReader& reader, const std::string& folder, CueSheet& sheet, CueProblem& problem);

// The sheet's tracks on the album's time line, in order and not overlapping; `files` belong to those of the sheet, one
// for one. INDEX is exact to a frame of 588 ticks only: a track of `known`, the listing so far, keeps its start where
// the sheet means the same, and a track that ends with END_TIME within the frame is met by the next one. False with the
// problem, which may be a track that is too short to be kept or lies behind the end of its file.
bool PlaceCueTracks(const CueSheet& sheet, const std::vector<CueFile>& files,
                    const Foundation::simple_vector<ALBUMTRACK>& known, Foundation::simple_vector<ALBUMTRACK>& tracks,
                    CueProblem& problem);

// Takes over the texts that were said and differ in more than the quotes that a sheet cannot hold.
void TakeCueTexts(const AlbumDetails& said, AlbumDetails& album);
void TakeCueTexts(const ALBUMTRACK& said, ALBUMTRACK& track);

}  // namespace Orvane
