#include "collection/steering_file.h"

#include <cerrno>
#include <utility>

#include "collection/albumset.h"
#include "collection/recordingplaces.h"
#include "collection/renamejournal.h"
#include "collection/steering_reader.h"
#include "collection/steering_writer.h"
#include "collection/undo.h"
#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/safefile.h"
#include "foundation/settings.h"
#include "foundation/workerthread.h"

using namespace Foundation;

namespace Orvane {

bool gAutosaveAllowed = false;
uint32_t gLastSavedTick = 0;
int gModalNesting = 0;

namespace {

constexpr size_t kBufferSize = 1 << 20;

// A write of the store reaches the disk before it returns, so what is there already is not written again.
void StoreSettings(SettingChanges changes) {
    std::erase_if(changes, [](const SettingChange& change) { return GetStringSetting(change.key) == *change.value; });
    if (!changes.empty()) SetSettings(changes);
}

std::string RecentKey(int n) {
    return "Recent Files #" + std::to_string(n);
}

// Puts `path` first in the list of recent collections.
void RememberRecent(const std::string& path, SettingChanges& changes) {
    std::string moved = path;
    for (int n = 1; n <= kRecentFiles && !moved.empty(); ++n) {
        std::string here = GetStringSetting(RecentKey(n));
        changes.emplace_back(RecentKey(n), moved);
        moved = here == path ? std::string() : std::move(here);
    }
}

int IndexOf(const AlbumSet& set, const AlbumInfo* wanted) {
    int index = 0;
    for (const AlbumInfo& album : set.albums) {
        if (&album == wanted) return index;
        ++index;
    }
    return -1;
}

void RememberCurrentAlbum(SettingChanges& changes) {
    const AlbumInfo* album = gAlbumSet->current_album;
    if (!album) return;
    changes.emplace_back("Current Album", IndexOf(*gAlbumSet, album));
    changes.emplace_back("Current Artist", album->artist);
    changes.emplace_back("Current Album Title", album->title);
}

// By its names, else by its index, else the last one. Of several albums of one name that at the index is meant.
AlbumInfo* FindAlbum(const AlbumSet& set, std::string_view artist, std::string_view title, int wanted_index) {
    AlbumInfo* named = nullptr;
    AlbumInfo* at_index = nullptr;
    int index = 0;
    for (AlbumInfo& album : set.albums) {
        const bool same = !artist.empty() && !title.empty() && album.artist == artist && album.title == title;
        if (index == wanted_index) at_index = &album;
        if (same && (!named || index == wanted_index)) named = &album;
        ++index;
    }
    return named ? named : at_index ? at_index : set.albums.Last();
}

void ChooseCurrentAlbum(AlbumSet& set, const CollectionFacts& facts) {
    const bool in_file = facts.current_album >= 0 || !set.current_artist.empty() || !set.current_title.empty();
    if (in_file || GetStringSetting("Last Steering File") != set.path) {
        set.current_album = FindAlbum(set, set.current_artist, set.current_title, facts.current_album);
        return;
    }
    set.current_album = FindAlbum(set, GetStringSetting("Current Artist"), GetStringSetting("Current Album Title"),
                                  GetSetting("Current Album", -1));
}

Result<std::unique_ptr<FileLock>> TakeLock(const std::string& path) {
    auto lock = std::make_unique<FileLock>();
    if (Outcome taken = lock->Acquire(path); !taken) return taken;
    return lock;
}

Result<std::unique_ptr<TextFileReader>> OpenReader(const std::string& path) {
    FileInfo info;
    int error = GetFileInfo(path, info);
    if (error == ENOENT) return Outcome::Fail(Kind::CannotOpen, Msg::CannotFindFile, path).About(path, error);
    if (!error && info.is_folder) error = EISDIR;
    if (error) return Outcome::OfLastError(FailOpen(path, error));
    // It could not be saved.
    if (ExtensionOf(path).empty()) return Outcome::Fail(Kind::Contents, Msg::NotACollection, path).About(path);
    auto reader = OpenTextFile(path, Encoding::Detect, kBufferSize);
    if (!reader) return Outcome::OfLastError(ERR_CANNOT_OPEN);
    return reader;
}

Result<std::unique_ptr<AlbumSet>> ReadSet(const std::string& path, Answered newer, CollectionFacts& facts) {
    auto reader = OpenReader(path);
    if (!reader) return reader.GetOutcome();
    auto set = std::make_unique<AlbumSet>(path);
    switch (ReadCollection(**reader, *set, facts, [newer] { return newer == Answered::Yes; })) {
        case ReadResult::Good:
            return set;
        case ReadResult::NotACollection:
            return Outcome::Fail(Kind::Contents, Msg::NotACollection, path).About(path);
        case ReadResult::Cancelled:
            return Outcome::Fail(Kind::NeedsAnswer, Msg::NewerCollection, path).About(path);
        case ReadResult::Failed:
            break;
    }
    return Outcome::OfLastError(ERR_IO);
}

// Heals what a crash has left half renamed. The set has been read and nobody has looked for its files yet.
void Heal(AlbumSet& set) {
    const HealedRenames healed = HealRenames(set.path);
    for (const FileRename& folder : healed.moved_folders) MoveExternalFiles(set, folder);
    set.has_unsaved_renames = healed.unsaved;
    if (healed.unsaved) set.dirty = true;
}

void MakeLive(AlbumSet* set, const CollectionFacts& facts) {
    Heal(*set);
    ChooseCurrentAlbum(*set, facts);
    gAlbumSet = set;
    event::Fire(EVENT_BEFORE_CHANGE, CHANGE_OPENED, event::Arg(gAlbumSet->current_album));
    event::Fire(EVENT_AFTER_CHANGE, CHANGE_OPENED, event::Arg(gAlbumSet->current_album));
    TitleChanged();

    // A collection on a medium that cannot be written is for reading only.
    CreateFolders(gAlbumSet->recordings_folder);
    SettingChanges changes = {{"Steering File", gAlbumSet->path}, {"Last Steering File", gAlbumSet->path}};
    RememberCurrentAlbum(changes);
    RememberRecent(gAlbumSet->path, changes);
    StoreSettings(std::move(changes));
    RefreshInputFiles();
    gLastSavedTick = TickMs();
    gAutosaveAllowed = true;
}

// On failure the file is as it was.
Outcome WriteSafely(const std::string& path, const AlbumSet& set) {
    ORVANE_ASSERT(!ExtensionOf(path).empty());
    const std::string temporary = TemporaryName(path);
    SetReadOnly(temporary, false);  // of one left over
    auto writer = CreateTextFile(temporary, Encoding::UTF8, TEXT_CREATE, LineEnds::LF, kBufferSize);
    if (!writer) return Outcome::OfLastError(ERR_CANNOT_OPEN);
    const int current = gModalNesting == 0 ? IndexOf(set, set.current_album) : -1;
    const bool written = WriteCollection(*writer, set, current);
    if (!writer->Close(true) || !written) {
        RemoveFile(temporary);
        return Outcome::OfLastError(ERR_IO);
    }
    return Outcome::OfLastError(PutInPlace(temporary, path, OldFile::Keep));
}

// What SaveCollection and SaveCopy share.
Outcome Save(std::string_view any_path, const AlbumSet& set, Answered answered) {
    if (any_path.empty()) return Outcome::FailText(Kind::Refused, "The collection has no file to be saved in");
    const std::string path = AbsolutePath(any_path);
    std::unique_ptr<FileLock> lock;  // of a file that is not the set's own
    if (!set.lock || path != set.path) {
        auto taken = TakeLock(path);
        if (!taken) return taken.GetOutcome();
        lock = std::move(*taken);
    }
    FileInfo info;
    if (GetFileInfo(path, info) == 0 && info.read_only) {
        if (answered == Answered::No) return Outcome::Fail(Kind::NeedsAnswer, Msg::SaveReadOnlyCollection, path);
        SetReadOnly(path, false);
    }
    const bool was_allowed = std::exchange(gAutosaveAllowed, false);
    Outcome saved = WriteSafely(path, set);
    gAutosaveAllowed = was_allowed;
    return saved;
}

Outcome LiveSetIsFree() {
    const bool busy = gAlbumSet && (gAlbumSet->running_jobs > 0 || gWorkerThreadPool);
    return busy ? Outcome::Fail(Kind::Busy, Msg::JobInProgress) : Outcome();
}

}  // namespace

Result<AlbumSet*> OpenCollection(std::string_view path, std::unique_ptr<AlbumSet>* second_set_out, Answered answered) {
    const std::string full_path = AbsolutePath(path);
    const bool live = second_set_out == nullptr;
    if (live) {
        if (Outcome free = LiveSetIsFree(); !free) return free;
        StoreSettings({{"Collections Directory", FolderOf(full_path)}});
    }
    std::unique_ptr<FileLock> lock;
    const bool again = live && gAlbumSet && gAlbumSet->lock && gAlbumSet->path == full_path;
    if (!again) {
        auto taken = TakeLock(full_path);
        if (!taken) return taken.GetOutcome();
        lock = std::move(*taken);
    }
    CollectionFacts facts;
    auto read = ReadSet(full_path, live ? answered : Answered::Yes, facts);
    if (!read) return read.GetOutcome();
    std::unique_ptr<AlbumSet> set = std::move(*read);
    set->lock = again ? std::move(gAlbumSet->lock) : std::move(lock);
    if (!live) {
        Heal(*set);
        *second_set_out = std::move(set);
        return second_set_out->get();
    }
    if (Outcome closed = CloseCollection(); !closed) return closed;
    MakeLive(set.release(), facts);
    return gAlbumSet;
}

Outcome CreateCollection(std::string_view path) {
    const std::string full_path = AbsolutePath(path);
    if (FileExists(full_path)) return Outcome::Fail(Kind::Refused, Msg::CollectionExists, full_path).About(full_path);
    if (const int error = CreateFolders(FolderOf(full_path))) {
        return Outcome::OfLastError(FailCreateFolder(FolderOf(full_path), error));
    }
    ForgetRenames(full_path);  // of a collection that had the name before
    return SaveCopy(full_path, AlbumSet(full_path));
}

Outcome SaveCollection(std::string_view path, AlbumSet& set, Answered answered) {
    Outcome saved = Save(path, set, answered);
    if (!saved) return saved;
    const std::string full_path = AbsolutePath(path);
    if (full_path == set.path) {
        ForgetRenames(full_path);
        set.has_unsaved_renames = false;
    }
    if (&set == gAlbumSet) {
        StoreSettings({{"Steering File", full_path}});
        gLastSavedTick = TickMs();
        ClearDirty();
    }
    return saved;
}

Outcome SaveCopy(std::string_view path, const AlbumSet& set, Answered answered) {
    return Save(path, set, answered);
}

Outcome CloseCollection() {
    if (!gAlbumSet) return {};
    if (Outcome free = LiveSetIsFree(); !free) return free;
    gAutosaveAllowed = false;
    SettingChanges changes;
    RememberCurrentAlbum(changes);
    StoreSettings(std::move(changes));
    event::Fire(EVENT_COLLECTION_CLOSING, event::Arg(gAlbumSet));
    delete std::exchange(gAlbumSet, nullptr);
    ClearUndo();
    TitleChanged();
    return {};
}

void RefreshInputFiles() {
    bool changed = false;
    for (const AlbumInfo& album : gAlbumSet->albums) {
        for (const AlbumSide* side : album.sides) {
            if (!side) continue;
            // A check may move its entry within the history.
            const std::vector<RefPtr<FileHistoryEntry>> history = side->history;
            for (const RefPtr<FileHistoryEntry>& entry : history) changed |= entry->CheckFile();
        }
    }
    if (!changed) return;
    MarkDirty();
    event::Fire(EVENT_INPUT_FILES_REFRESHED, event::Arg(gAlbumSet));
}

}  // namespace Orvane
