#include "collection/deletealbums.h"

#include <set>
#include <string>

#include "collection/albumset.h"
#include "collection/steering_file.h"
#include "foundation/fileerror.h"
#include "foundation/host.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/settings.h"

namespace Orvane {
namespace {

std::string ArtPath(const AlbumInfo& album) {
    const std::string art = NativePath(album.art_file);
    return art.empty() ? art : AbsolutePath(JoinPath(IsAbsolutePath(art) ? "" : gAlbumSet->side_folder, art));
}

bool LiesIn(const std::string& folder, const std::string& path) {
    return path.compare(0, folder.size() + 1, folder + kSeparator) == 0;
}

// Every recording and cover of the collection but those of one album.
std::set<std::string> FilesOfOthers(const AlbumInfo& but) {
    std::set<std::string> files;
    for (const AlbumInfo& album : gAlbumSet->albums) {
        if (&album == &but) continue;
        files.insert(ArtPath(album));
        for (const AlbumSide* side : album.sides) {
            if (!side) continue;
            for (const RefPtr<FileHistoryEntry>& entry : side->history) files.insert(AbsolutePath(entry->GetPath()));
        }
    }
    return files;
}

// One that is not there is no failure.
bool Trash(const std::string& path) {
    const int error = FileExists(path) ? MoveToTrash(path) : 0;
    if (error) FailWrite(path, error);
    return error == 0;
}

class Deletion {
public:
    Deletion(AlbumInfo& album, const DeleteWhat& what) : album(album), what(what), others(FilesOfOthers(album)) {}

    // False with the reason as last error; what had been deleted by then stays so.
    bool Run() {
        if (album.open_fhe_count > 0) event::Fire(EVENT_ALBUM_CLOSING, event::Arg(&album));
        if (album.running_jobs > 0 || album.open_fhe_count > 0) {
            SetLastErrorText(FormatMessage(Msg::AlbumInUse, album.artist, album.title));
            return false;
        }
        if (what.recordings && !Recordings()) return false;
        if (what.art && !Art()) return false;
        if (what.albums) {
            RemoveAlbum(&album);
            ++n_deleted;
        }
        return true;
    }

    int n_deleted = 0;

private:
    bool Recordings() {
        for (AlbumSide* side : album.sides) {
            while (side && !side->history.empty()) {
                const RefPtr<FileHistoryEntry> entry = side->history.back();
                if (!Files(*entry)) return false;
                const Change change(CHANGE_DETAILS, &album);
                side->history.pop_back();
                if (side->newest == entry.get())
                    side->newest = side->history.empty() ? nullptr : side->history.back().get();
                if (side->latest_take == entry.get()) side->latest_take = nullptr;
                ++n_deleted;
            }
        }
        return true;
    }

    // The recording goes last: as long as it is there, so is the entry.
    bool Files(const FileHistoryEntry& entry) const {
        const std::string recording = AbsolutePath(entry.GetPath());
        if (others.count(recording)) return true;
        for (const std::string& path : entry.AllPaths()) {
            if (AbsolutePath(path) != recording && !Trash(path)) return false;
        }
        return !LiesIn(gAlbumSet->recordings_folder, recording) || Trash(recording);
    }

    bool Art() {
        if (album.art_file.empty()) return true;
        const std::string art = ArtPath(album);
        if (!others.count(art) && LiesIn(gAlbumSet->side_folder, art) && !Trash(art)) return false;
        const Change change(CHANGE_DETAILS, &album);
        album.art_file.clear();
        ++n_deleted;
        return true;
    }

    AlbumInfo& album;
    const DeleteWhat& what;
    const std::set<std::string> others;
};

}  // namespace

DeleteWhat DeleteWhat::FromStore() {
    return {GetSetting("Delete Albums", 1) != 0, GetSetting("Delete Recordings", 1) != 0,
            GetSetting("Delete Album Art", 1) != 0};
}

int DeleteAlbums(const std::vector<AlbumInfo*>& albums, const DeleteWhat& what) {
    ORVANE_ASSERT(gAlbumSet);
    int n_deleted = 0;
    {
        const Change batch(CHANGE_BATCH);
        for (AlbumInfo* album : albums) {
            if (!Progress::Tick()) {
                Progress::Log(std::string(MessageText(Msg::Cancelled)) + "\n");
                break;
            }
            Deletion deletion(*album, what);
            if (!deletion.Run()) Progress::Log("<fg color=#ff0000>" + GetLastError().text + "</fg>\n");
            n_deleted += deletion.n_deleted;
        }
    }
    if (n_deleted == 0) return 0;
    Messages().Ask(
        {FormatMessage(Msg::AlbumsDeleted, n_deleted), Buttons::Ok, Severity::Information, "Report Album Deleted"});
    if (SaveCollection(gAlbumSet->path, *gAlbumSet, true)) Progress::Log(std::string(MessageText(Msg::Done)) + "\n");
    return n_deleted;
}

}  // namespace Orvane
