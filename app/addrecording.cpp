#include "app/addrecording.h"

#include <algorithm>

#include "collection/albumset.h"
#include "collection/recordingplaces.h"
#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/path.h"
#include "foundation/safefile.h"
#include "foundation/text.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Copies a file with its time to a name that is free. False on failure, or when cancelled; the last error then has no
// text.
bool CopyToRecordings(const std::string& from, const std::string& to, const std::function<bool(int)>& progress) {
    SetLastError({});
    if (int error = CreateFolders(FolderOf(to))) {
        FailCreateFolder(FolderOf(to), error);
        return false;
    }
    FileInfo info;
    GetFileInfo(from, info);
    auto Tell = [&](int64_t done) {
        return !progress || progress(info.size > 0 ? static_cast<int>(MulDiv64(done, 1000, info.size)) : 0);
    };
    if (CopyContents(from, to, Tell) != 0) return false;
    SetFileTime(to, info.time);
    return true;
}

// Whether the collection has an entry of that path, the file of which may be missing.
bool HasRecording(const AlbumSet& set, const std::string& path) {
    for (const AlbumInfo& album : set.albums) {
        for (const FileHistoryEntry* entry : AllRecordings(album)) {
            if (entry->GetPath() == path) return true;
        }
    }
    return false;
}

// Gives the entry a name in the recordings folder that is no other recording's. Neither a file of that name is there
// nor one that was made for it, which the new recording would take for its own.
void FindFreeName(FileHistoryEntry& entry) {
    const auto is_taken = [&entry] {
        const std::vector<std::string> paths = entry.AllPaths();
        return std::any_of(paths.begin(), paths.end(), FileExists) ||
               (entry.album->set && HasRecording(*entry.album->set, paths[0]));
    };
    for (int i = 2; is_taken(); ++i) entry.name.suffix = fmt::sprintf(" (%d)", i);
}

}  // namespace

bool CheckRecordingName(const std::string& file) {
    const bool plain = std::none_of(file.begin(), file.end(), [](char c) { return (c >= 0 && c < ' ') || c == 0x7f; });
    if (plain && ValidUtf8Prefix(file) == file.size()) return true;
    SetLastErrorText(fmt::sprintf("A collection cannot hold the name of <b>%s</b>, which %s.  Please rename the file",
                                  ValidUtf8(file),
                                  plain ? "is not UTF-8" : "has a line break or another control character in it"));
    return false;
}

FileHistoryEntry* AddRecording(AlbumInfo& album, int side_number, const std::string& file, PlaceOfFile place,
                               const std::function<bool(int)>& progress) {
    const std::string path = AbsolutePath(file);
    if (!CheckRecordingName(path)) return nullptr;
    int error = 0;
    RefPtr<FileStream> probe = OpenForReading(path, error);
    if (!probe) return nullptr;
    const int format = probe->file_format;
    probe->Close();

    const int sides_before = album.sides.size();
    const bool new_side = side_number > sides_before || !album.sides[side_number - 1];
    AlbumSide* side = album.GetSide(side_number - 1, true);
    if (!side) {
        SetLastErrorText(fmt::sprintf("An album of this collection has %d sides at most",
                                      album.set ? album.set->SideLimit() : kMaxAlbumSides));
        return nullptr;
    }
    auto GiveUp = [&]() -> FileHistoryEntry* {
        if (!new_side) return nullptr;
        delete album.sides[side_number - 1];
        album.sides[side_number - 1] = nullptr;
        album.sides.resize(sides_before);
        return nullptr;
    };

    auto entry = MakeRef<FileHistoryEntry>(&album, side);
    entry->name.extension = ExtensionOf(path);
    entry->facts.file_format = static_cast<uint8_t>(format);
    entry->facts.original_name = path;
    if (place == PlaceOfFile::WhereItIs) {
        for (const auto& other : side->history) {
            if (other->GetPath() != path) continue;
            SetLastErrorText(fmt::sprintf("<b>%s</b> is a recording of side %d already", path, side_number));
            return GiveUp();
        }
        entry->name.external_file = path;
    } else {
        FindFreeName(*entry);
        if (!CopyToRecordings(path, entry->GetPath(), progress)) return GiveUp();
    }
    if (const auto opened = entry->Open(USER_PROBE); !opened) {
        if (place == PlaceOfFile::RecordingsFolder) RemoveFile(entry->GetPath());
        opened.GetOutcome().ToStreamError();
        return GiveUp();
    }
    Change change(CHANGE_DETAILS, &album);
    side->AddRecording(entry);
    if (album.status < STATUS_RECORDED) SetStatus(album, STATUS_RECORDED, true);
    return entry.get();
}

}  // namespace Orvane
