#include "collection/renames.h"

#include <cerrno>

#include "collection/recordingplaces.h"
#include "foundation/event.h"
#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

std::vector<std::string> PathsOf(const std::vector<FileHistoryEntry*>& entries) {
    std::vector<std::string> paths;
    for (const FileHistoryEntry* entry : entries) {
        for (std::string& path : entry->AllPaths()) paths.push_back(std::move(path));
    }
    return paths;
}

}  // namespace

Renames::~Renames() {
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) RenameFile(step->to, step->from);
}

bool Renames::Do(const std::string& from, const std::string& to) {
    // Where case does not count, the file itself has the name already that only changes its case.
    const bool is_itself = CompareNoCase(from, to) == 0 && FileIdentity(from) == FileIdentity(to);
    if (const int error = FileExists(to) && !is_itself ? EEXIST : RenameFile(from, to)) {
        FailRename(from, to, error);
        return false;
    }
    steps.push_back({from, to});
    return true;
}

RecordingRenames::RecordingRenames(std::vector<FileHistoryEntry*> entries)
    : entries(std::move(entries)), before(PathsOf(this->entries)) {}

bool RecordingRenames::Move() {
    for (const FileHistoryEntry* entry : entries) {
        if (!entry->IsOpen()) continue;
        SetLastErrorText(FormatMsg(Msg::RecordingInUse, entry->GetPath()));
        return false;
    }
    const std::vector<std::string> after = PathsOf(entries);
    Renames renames;
    for (size_t i = 0; i < before.size(); ++i) {
        if (before[i] != after[i] && FileExists(before[i]) && !renames.Do(before[i], after[i])) return false;
    }
    renames.Keep();
    return true;
}

bool RenameRecording(FileHistoryEntry& entry, const RecordingName& name) {
    RecordingRenames files({&entry});
    RecordingName before = std::exchange(entry.name, name);
    if (files.Move()) return true;
    entry.name = std::move(before);
    return false;
}

bool RenameAlbumFiles(AlbumInfo& album, const std::string& artist, const std::string& title) {
    event::Fire(EVENT_ALBUM_CLOSING, event::Arg(&album));
    RecordingRenames files(AllRecordings(album));
    const std::string old_artist = std::exchange(album.artist, artist);
    const std::string old_title = std::exchange(album.title, title);
    const bool moved = files.Move();
    album.artist = old_artist;
    album.title = old_title;
    return moved;
}

}  // namespace Orvane
