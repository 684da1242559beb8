// The files that earlier saves have written.
#pragma once

#include <string>
#include <vector>

#include "collection/dataobjects.h"
#include "foundation/outcome.h"
#include "save/keptfiles.h"
#include "save/savesettings.h"

namespace Orvane {

// The signature that a saved track of this format carries (see signature.h); empty for any other file, which is the
// user's own. Any thread.
std::string ReadSignature(const std::string& path, int file_format);

// Enters a file that a track of the album has been saved as, with its signature, in the collection. Main thread, as the
// following.
void NoteSavedFile(AlbumInfo& album, const std::string& path, const std::string& signature);

// Whether a save of the album wrote the file that is there now.
bool IsSavedFileOf(const AlbumInfo& album, const std::string& path, int file_format);

// The copy of an album's cover in the folder of its tracks.
inline constexpr const char* kFolderArt = "folder.jpg";

// A file of an earlier save whose name no track of the album has any more.
struct Leftover {
    AlbumInfo* album;
    std::string path;
};

// Those of the album below the folder of `settings` and in its format, as they were saved. `names` are the files of its
// tracks now; no file of `kept` is one. Forgets files that are gone or have become somebody else's.
std::vector<Leftover> FindLeftovers(AlbumInfo& album, const std::vector<std::string>& names,
                                    const SaveSettings& settings, const KeptFiles& kept);

// Moves a file, if it still is as it was saved, to the Trash, and takes away its folder where nothing else is in it.
Foundation::Outcome DeleteLeftover(const Leftover& leftover);

}  // namespace Orvane
