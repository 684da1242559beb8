#include "collection/deletealbums.h"

#include <map>

#include "collection/albumset.h"
#include "collection/recordingplaces.h"
#include "foundation/fileerror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {
namespace {

bool IsBelow(const std::string& path, const std::string& folder) {
    return AbsolutePath(path).starts_with(AbsolutePath(folder) + kSeparator);
}

class DeleteJob {
public:
    DeleteJob(AlbumSet& set, int options) : set(set), options(options) {
        for (const AlbumInfo& album : set.albums) {
            ++n_users[AbsolutePath(album.ArtPath())];
            for (const FileHistoryEntry* entry : AllRecordings(album)) ++n_users[AbsolutePath(entry->GetPath())];
        }
    }

    void Run(const std::vector<AlbumInfo*>& albums) {
        const Change batch(CHANGE_BATCH);
        for (size_t i = 0; i < albums.size(); ++i) {
            Progress::SetPosition(static_cast<int>(1000 * i / albums.size()));
            if (!Progress::Tick()) {
                result.cancelled = true;
                Progress::Log(FormatMsg(Msg::Cancelled) + "\n");
                break;
            }
            Progress::Log(albums[i]->artist + " - " + albums[i]->title);
            const Outcome deleted = Delete(albums[i]);
            if (deleted) {
                Progress::Log(" - <fg color=#00a000>done</fg>\n");
            } else {
                result.failed.push_back(deleted);
                Progress::Log(FormatMsg(Msg::JobFailedLine, deleted.Text()));
            }
        }
    }

    DeleteAlbumsResult result;

private:
    Outcome Delete(AlbumInfo* album) {
        if (Outcome is_free = MakeFree(*album); !is_free) return is_free;
        if (options & DELETE_ALBUM_ART) {
            if (Outcome deleted = DeleteArt(*album); !deleted) return deleted;
        }
        if (options & DELETE_RECORDINGS) {
            if (Outcome deleted = DeleteRecordings(*album); !deleted) return deleted;
        }
        if (options & DELETE_ALBUMS) {
            RemoveAlbum(album);
            ++result.n_deleted;
        }
        return {};
    }

    static Outcome MakeFree(AlbumInfo& album) {
        event::Fire(EVENT_ALBUM_CLOSING, event::Arg(&album));  // what waits for its turn has nothing open yet
        if (album.running_jobs == 0 && album.open_fhe_count == 0) return {};
        return Outcome::Fail(Kind::Busy, Msg::AlbumInUse, album.artist, album.title);
    }

    // Whether a file goes with the album: it is the collection's own, and no other album has it.
    bool Goes(const std::string& path, const std::string& own_folder) {
        return n_users[AbsolutePath(path)] == 1 && IsBelow(path, own_folder);
    }

    // A file that is not there is no failure: somebody has seen to it before.
    Outcome Trash(const std::string& path) {
        if (!FileExists(path)) return {};
        if (const int error = MoveToTrash(path)) return Outcome::OfLastError(FailDelete(path, error));
        result.trashed.push_back(path);
        return {};
    }

    void Forget(const std::string& path, bool goes) {
        --n_users[AbsolutePath(path)];
        ++result.n_deleted;
        if (!goes && FileExists(path)) result.kept.push_back(path);
    }

    Outcome DeleteArt(AlbumInfo& album) {
        if (album.art_file.empty()) return {};
        const std::string path = album.ArtPath();
        const bool goes = Goes(path, set.side_folder);
        if (goes) {
            if (Outcome trashed = Trash(path); !trashed) return trashed;
        }
        Forget(path, goes);
        const Change change(CHANGE_DETAILS, &album);
        album.art_file.clear();
        return {};
    }

    Outcome DeleteRecordings(AlbumInfo& album) {
        for (int i = album.sides.size() - 1; i >= 0; --i) {
            while (i < album.sides.size() && album.sides[i] && !album.sides[i]->history.empty()) {
                if (Outcome deleted = DeleteRecording(album, i); !deleted) return deleted;
            }
        }
        return {};
    }

    // The last of a side's history. A side without recordings is none.
    Outcome DeleteRecording(AlbumInfo& album, int side_index) {
        AlbumSide& side = *album.sides[side_index];
        const RefPtr<FileHistoryEntry> entry = side.history.back();
        const std::string path = entry->GetPath();
        const bool goes = Goes(path, set.recordings_folder);
        if (goes) {
            if (Outcome trashed = Trash(path); !trashed) return trashed;
            entry->DeleteDerivedFiles(3);
        }
        Forget(path, goes);
        const Change change(CHANGE_DETAILS, &album);
        side.history.pop_back();
        FileHistoryEntry* last = side.history.empty() ? nullptr : side.history.back().get();
        if (side.newest == entry.get()) side.newest = last;
        if (side.latest_take == entry.get()) side.latest_take = last;
        if (!side.history.empty()) return {};
        delete std::exchange(album.sides[side_index], nullptr);
        while (!album.sides.empty() && !album.sides.back()) album.sides.resize(album.sides.size() - 1);
        return {};
    }

    AlbumSet& set;
    const int options;
    std::map<std::string, int> n_users;  // of each file
};

}  // namespace

int DeleteOptionsFromStore() {
    return (GetSetting("Delete Albums", 1) ? DELETE_ALBUMS : 0) |
           (GetSetting("Delete Recordings", 1) ? DELETE_RECORDINGS : 0) |
           (GetSetting("Delete Album Art", 1) ? DELETE_ALBUM_ART : 0);
}

DeleteAlbumsResult DeleteAlbums(const std::vector<AlbumInfo*>& albums, int options) {
    ORVANE_ASSERT(gAlbumSet);
    DeleteJob job(*gAlbumSet, options);
    job.Run(albums);
    Progress::Log(FormatMsg(Msg::Done) + "\n");
    return std::move(job.result);
}

}  // namespace Orvane
