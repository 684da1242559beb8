#include "save/keptfiles.h"

#include "collection/recordingplaces.h"
#include "foundation/path.h"
#include "foundation/platform.h"
#include "foundation/safefile.h"

using namespace Foundation;

namespace Orvane {

KeptFiles::KeptFiles(const std::vector<AlbumInfo*>& albums) {
    const AlbumSet* set = albums.empty() ? nullptr : albums.front()->set;
    for (const AlbumInfo* album : albums) {
        // The albums of the set follow, and each look at a file takes its time.
        if (!set || album->IsWorkingCopy()) AddFilesOf(*album);
    }
    if (!set) return;
    Add(set->path);
    Add(BackupName(set->path));
    for (const AlbumInfo& album : set->albums) AddFilesOf(album);
}

void KeptFiles::AddFilesOf(const AlbumInfo& album) {
    if (const std::string art = album.ArtPath(); !art.empty()) Add(art);
    for (const FileHistoryEntry* entry : AllRecordings(album)) {
        Add(entry->GetPath());
        // By their names alone: there are many, and on a server's disk each look at a file takes its time.
        for (const std::string& path : entry->AllPaths()) files.insert(AbsolutePath(path));
    }
}

void KeptFiles::Add(std::string_view path) {
    files.insert(AbsolutePath(path));
    files.insert(FileIdentity(path));
}

bool KeptFiles::Has(std::string_view path) const {
    return files.count(AbsolutePath(path)) || files.count(FileIdentity(path)) ||
           files.count(FileIdentity(TemporaryName(path)));
}

}  // namespace Orvane
