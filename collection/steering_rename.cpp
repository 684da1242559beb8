// Renaming the live collection.
#include "collection/albumset.h"
#include "collection/recordingplaces.h"
#include "collection/renames.h"
#include "collection/steering_file.h"
#include "foundation/fileerror.h"
#include "foundation/host.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {
namespace {

// Recordings that lie in the folder are named by their full path when they were entered from there.
void MoveExternalFiles(const AlbumSet& set, const std::string& old_folder) {
    const std::string beginning = old_folder + kSeparator;
    for (const AlbumInfo& album : set.albums) {
        for (FileHistoryEntry* entry : AllRecordings(album)) {
            std::string& file = entry->name.external_file;
            if (file.compare(0, beginning.size(), beginning) != 0) continue;
            file = JoinPath(set.recordings_folder, file.substr(beginning.size()));
            MarkDirty();
        }
    }
}

}  // namespace

bool RenameCollection(std::string_view new_name) {
    ORVANE_ASSERT(gAlbumSet);
    AlbumSet& set = *gAlbumSet;
    const std::string name = SafeFileName(new_name);
    const std::string old_path = set.path;
    const std::string old_folder = set.recordings_folder;
    const std::string new_path = JoinPath(FolderOf(old_path), name + ".mcf");
    const std::string new_folder = JoinPath(FolderOf(old_path), name);
    if (FileExists(new_path)) {
        FailContents(FormatMsg(Msg::CollectionNameTaken, name));
        ShowLastError();
        return false;
    }
    Renames renames;
    if (!renames.Do(old_path, new_path) || (FileExists(old_folder) && !renames.Do(old_folder, new_folder))) {
        ShowLastError();
        return false;
    }
    renames.Keep();

    SettingChanges changes = {{"Steering File", new_path}, {"Last Steering File", new_path}};
    for (int n = 1; n <= kRecentFiles; ++n) {
        const std::string key = "Recent Files #" + std::to_string(n);
        if (GetStringSetting(key) == old_path) changes.emplace_back(key, new_path);
    }
    SetSettings(changes);
    const Change change(CHANGE_SETTLED);
    set.SetPath(new_path);
    MoveExternalFiles(set, old_folder);
    TitleChanged();
    ShowMessage(FormatMsg(Msg::CollectionRenamed), Severity::Information);
    return true;
}

}  // namespace Orvane
