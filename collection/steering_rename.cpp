// Renaming the live collection.
#include "collection/albumset.h"
#include "collection/recordingplaces.h"
#include "collection/renames.h"
#include "collection/steering_file.h"
#include "foundation/path.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {

Outcome RenameCollection(std::string_view new_name) {
    ORVANE_ASSERT(gAlbumSet);
    AlbumSet& set = *gAlbumSet;
    const std::string name = SafeFileName(new_name);
    const std::string old_path = set.path;
    const FileRename file{old_path, JoinPath(FolderOf(old_path), name + ".mcf")};
    const FileRename folder{set.recordings_folder, JoinPath(FolderOf(old_path), name)};
    if (FileExists(file.to)) return Outcome::Fail(Kind::Refused, Msg::CollectionNameTaken, name);
    auto lock = std::make_unique<FileLock>();
    if (Outcome taken = lock->Acquire(file.to); !taken) return taken;
    // The file that gets the new name is what is in memory, and knows what its recordings are called.
    if (set.dirty) {
        if (Outcome saved = SaveCollection(old_path, set); !saved) return saved;
    }
    // In this order: a crash leaves a collection that can be opened, and whose journal brings its recordings after it.
    if (Outcome entered = EnterFolderMove(old_path, file.to, folder); !entered) return entered;
    Renames renames;
    Outcome renamed = renames.Do(file);
    if (renamed && FileExists(folder.from)) renamed = renames.Do(folder);
    if (!renamed) {
        ForgetRenames(file.to);
        return renamed;
    }
    renames.Keep();

    SettingChanges changes = {{"Steering File", file.to}, {"Last Steering File", file.to}};
    for (int n = 1; n <= kRecentFiles; ++n) {
        const std::string key = "Recent Files #" + std::to_string(n);
        if (GetStringSetting(key) == old_path) changes.emplace_back(key, file.to);
    }
    SetSettings(changes);
    const Change change(CHANGE_SETTLED);
    set.SetPath(file.to);
    set.lock = std::move(lock);
    if (MoveExternalFiles(set, folder)) {
        set.has_unsaved_renames = true;
    } else {
        ForgetRenames(file.to);
    }
    TitleChanged();
    return {};
}

}  // namespace Orvane
