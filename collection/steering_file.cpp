#include "collection/steering_file.h"

#include <cerrno>
#include <utility>

#include "collection/albumset.h"
#include "collection/steering_reader.h"
#include "collection/steering_writer.h"
#include "collection/undo.h"
#include "foundation/assert.h"
#include "foundation/fileerror.h"
#include "foundation/host.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/safefile.h"
#include "foundation/settings.h"

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

std::unique_ptr<TextFileReader> OpenReader(const std::string& path) {
    FileInfo info;
    int error = GetFileInfo(path, info);
    if (!error && info.is_folder) error = EISDIR;
    if (!error) return OpenTextFile(path, Encoding::Detect, kBufferSize);
    if (error == ENOENT) {
        SetLastError({error, FormatMsg(Msg::CannotFindFile, path)});
    } else {
        FailOpen(path, error);
    }
    return nullptr;
}

// Null without Good, with the reason as last error.
std::unique_ptr<AlbumSet> ReadSet(const std::string& path, bool ask, CollectionFacts& facts, ReadResult& result) {
    result = ReadResult::Failed;
    const auto reader = OpenReader(path);
    if (!reader) return nullptr;
    auto set = std::make_unique<AlbumSet>(path);
    result = ReadCollection(*reader, *set, facts, [&] {
        return !ask ||
               Messages().Ask({FormatMsg(Msg::NewerCollection, path), Buttons::OkCancel, Severity::Warning, {}}) ==
                   Answer::Ok;
    });
    if (result == ReadResult::Good) return set;
    if (result == ReadResult::NotACollection) FailContents(FormatMsg(Msg::NotACollection, path));
    if (result == ReadResult::Cancelled) SetLastError({});
    return nullptr;
}

void MakeLive(std::unique_ptr<AlbumSet> set, const CollectionFacts& facts) {
    CloseCollection();
    ChooseCurrentAlbum(*set, facts);
    gAlbumSet = set.release();
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

// 0, or a negative code with the reason as last error; then the file is as it was.
int WriteSafely(const std::string& path, const AlbumSet& set) {
    ORVANE_ASSERT(!ExtensionOf(path).empty());
    const std::string temporary = TemporaryName(path);
    SetReadOnly(temporary, false);  // of one left over
    auto writer = CreateTextFile(temporary, Encoding::UTF8, TEXT_CREATE, LineEnds::LF, kBufferSize);
    if (!writer) return ERR_CANNOT_OPEN;
    const int current = gModalNesting == 0 ? IndexOf(set, set.current_album) : -1;
    const bool written = WriteCollection(*writer, set, current);
    if (!writer->Close(true) || !written) {
        RemoveFile(temporary);
        return ERR_IO;
    }
    return PutInPlace(temporary, path, OldFile::Keep);
}

enum class SaveAnswer { GoOn, Refuse, GiveUp };

// Asks before a file that is marked read-only is replaced, and takes the mark off.
SaveAnswer AskIfReadOnly(const std::string& path, bool report_errors) {
    FileInfo info;
    if (GetFileInfo(path, info) != 0 || !info.read_only) return SaveAnswer::GoOn;
    const Buttons buttons = report_errors ? Buttons::YesNoCancel : Buttons::YesNo;
    const Message question{FormatMsg(Msg::SaveReadOnlyCollection, path), buttons, Severity::Warning, {}};
    switch (Messages().Ask(question)) {
        case Answer::Yes:
            SetReadOnly(path, false);
            return SaveAnswer::GoOn;
        case Answer::Cancel:
            return SaveAnswer::GiveUp;
        default:
            FailOpenForWriting(path, EACCES);
            return SaveAnswer::Refuse;
    }
}

// What SaveCollection and SaveCopy share; `saved` tells whether the file was written.
bool Save(const std::string& path, const AlbumSet& set, bool report_errors, bool& saved) {
    saved = false;
    if (path.empty()) return false;
    const bool was_allowed = std::exchange(gAutosaveAllowed, false);
    const SaveAnswer answer = AskIfReadOnly(path, report_errors);
    if (answer == SaveAnswer::GoOn) {
        saved = WriteSafely(path, set) == 0;
        if (!saved && report_errors) ShowLastError();
    }
    gAutosaveAllowed = was_allowed;
    return saved || answer == SaveAnswer::GiveUp;
}

}  // namespace

AlbumSet* OpenCollection(std::string_view path, std::unique_ptr<AlbumSet>* second_set_out) {
    const std::string full_path = AbsolutePath(path);
    const bool live = second_set_out == nullptr;
    if (live) StoreSettings({{"Collections Directory", FolderOf(full_path)}});
    CollectionFacts facts;
    ReadResult result{};
    std::unique_ptr<AlbumSet> set = ReadSet(full_path, live, facts, result);
    if (!live) {
        *second_set_out = std::move(set);
        return second_set_out->get();
    }
    if (set) {
        MakeLive(std::move(set), facts);
        return gAlbumSet;
    }
    if (result == ReadResult::Cancelled) {
        CloseCollection();
    } else {
        ShowLastError();
    }
    return nullptr;
}

bool SaveCollection(std::string_view path, AlbumSet& set, bool report_errors) {
    const std::string full_path = path.empty() ? std::string() : AbsolutePath(path);
    bool saved = false;
    const bool result = Save(full_path, set, report_errors, saved);
    if (saved && &set == gAlbumSet) {
        StoreSettings({{"Steering File", full_path}});
        gLastSavedTick = TickMs();
        ClearDirty();
    }
    return result;
}

bool SaveCopy(std::string_view path, const AlbumSet& set, bool report_errors) {
    bool saved = false;
    return Save(path.empty() ? std::string() : AbsolutePath(path), set, report_errors, saved);
}

void CloseCollection() {
    if (!gAlbumSet) return;
    gAutosaveAllowed = false;
    SettingChanges changes;
    RememberCurrentAlbum(changes);
    StoreSettings(std::move(changes));
    event::Fire(EVENT_COLLECTION_CLOSING, event::Arg(gAlbumSet));
    delete std::exchange(gAlbumSet, nullptr);
    ClearUndo();
    TitleChanged();
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
