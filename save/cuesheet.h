// Cue sheets: an album's track breaks in the text form that burning and splitting programs share.
#pragma once

#include <string>
#include <vector>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"
#include "foundation/textfile.h"
#include "save/listingfile.h"

namespace Orvane {

struct CueSheetOptions {
    bool convert_quotes = true;   // "Cue Sheet Convert Quotes": double quotes in values become single ones
    bool absolute_paths = false;  // "Cue Sheet Absolute Paths": otherwise a FILE is named without its folder
    Foundation::Encoding encoding =
        Foundation::Encoding::ANSI;  // "Cue Sheet Type": UTF-8 without a mark, which every program reads
    static CueSheetOptions FromStore();
};

// A recording as a sheet sees it, on the album's time line in ticks. `end` is -1 where it is not known.
struct CueFile {
    std::string path;
    int64_t start = 0;
    int64_t end = -1;
    // What the album's time line is without; must outlive this. Null: nothing.
    const CutList* cuts = nullptr;
    int32_t samplerate = Foundation::kTicksPerSecond;  // of the cuts
    Foundation::Outcome opened = {};                   // why `end` is not known

    // Between the album's time line and positions in the file as other programs see it, ticks from its beginning. A
    // position inside a cut is the place of the cut.
    int64_t ToFile(int64_t album_time) const;
    int64_t ToAlbum(int64_t file_time) const;
};

// The sheet's text, its lines ended by "\n". A file stands before the first track that starts in it, and INDEX counts
// from its beginning with nothing cut out, as the file lies on the disk; END_TIME is on the album's time line. There is
// at least one file.
std::string CueSheetText(const AlbumInfo& album, const std::vector<CueFile>& files, const CueSheetOptions& options);

// Writes the sheet of an album to `path`, which gets the extension if it has none. What is there already goes to the
// Trash unless it is a sheet that Orvane wrote. Main thread.
Foundation::Result<WrittenListing> WriteCueSheet(AlbumInfo& album, const std::string& path,
                                                 const CueSheetOptions& options);

// `path`, or the first of it with " (2)" and so on at which no sheet of other recordings stands, by their whole paths.
std::string OwnCueSheetPath(const AlbumInfo& album, const std::string& path);

// "Artist - Title.cue" in the folder that "Cue Sheet Folder" chooses: 0 that of the album's first recording, 1 "Cue
// Sheet Directory".
std::string CueSheetPath(const AlbumInfo& album);

// Writes the sheets of albums as one job (see WriteForEachAlbum).
std::vector<AlbumListing> GenerateCueSheets(std::vector<AlbumListing> sheets);

// Takes what a sheet says into an album of the live collection, which becomes the current one: its details, its track
// listing and the track breaks, as one action that can be undone. What the sheet does not say about the album or a
// track stays. The sheet's files are the album's recordings, known by path, name or order, or else other files, one
// behind the other. A failure names the sheet and its line where the sheet is at fault; then nothing has changed. Main
// thread.
Foundation::Outcome ReadCueSheet(AlbumInfo& album, const std::string& path);

}  // namespace Orvane
