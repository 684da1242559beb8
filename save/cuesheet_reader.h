// What a cue sheet says, apart from any album. Pure: no files but the sheet, which may come from memory.
#pragma once

#include <string>
#include <vector>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"
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
    std::string path;      // of the sheet
    AlbumDetails details;  // an empty text or 0 was not said
    std::vector<File> files;
    std::vector<Track> tracks;
};

// What is wrong in a line of the sheet `path`: the outcome names both.
Foundation::Outcome InSheet(const Foundation::Outcome& problem, const std::string& path, int line);

// Fails when it is no proper sheet. `path` is where it lies, and files that it names without a folder.
Foundation::Result<CueSheet> ParseCueSheet(Foundation::TextFileReader& reader, const std::string& path);

// The sheet's tracks on the album's time line, in order and not overlapping; `files` belong to those of the sheet, one
// for one. INDEX is exact to a frame of 588 ticks only: a track of `known`, the listing so far, keeps its start where
// the sheet means the same, and a track that ends with END_TIME within the frame is met by the next one. Fails where a
// track is too short to be kept or lies behind the end of its file.
using CueTracks = Foundation::simple_vector<ALBUMTRACK>;
Foundation::Result<CueTracks> PlaceCueTracks(const CueSheet& sheet, const std::vector<CueFile>& files,
                                             const CueTracks& known);

// Takes over the texts that were said and differ in more than the quotes that a sheet cannot hold.
void TakeCueTexts(const AlbumDetails& said, AlbumDetails& album);
void TakeCueTexts(const ALBUMTRACK& said, ALBUMTRACK& track);

}  // namespace Orvane
