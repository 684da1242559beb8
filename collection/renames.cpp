#include "collection/renames.h"

#include <cerrno>
#include <utility>

#include "collection/dataobjects.h"
#include "collection/recordingplaces.h"
#include "foundation/event.h"
#include "foundation/fileerror.h"

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

Outcome Renames::Do(const FileRename& rename) {
    // Where case does not count, the file itself has the name already that only changes its case.
    const auto& [from, to] = rename;
    const bool is_itself = CompareNoCase(from, to) == 0 && FileIdentity(from) == FileIdentity(to);
    if (const int error = FileExists(to) && !is_itself ? EEXIST : RenameFile(from, to)) {
        return Outcome::OfLastError(FailRename(from, to, error));
    }
    steps.push_back(rename);
    return {};
}

RecordingRenames::RecordingRenames(std::vector<FileHistoryEntry*> entries)
    : entries(std::move(entries)), before(PathsOf(this->entries)) {}

Outcome RecordingRenames::Move() {
    for (const FileHistoryEntry* entry : entries) {
        if (entry->IsOpen()) return Outcome::Fail(Kind::Busy, Msg::RecordingInUse, entry->GetPath());
    }
    const std::vector<std::string> after = PathsOf(entries);
    std::vector<FileRename> wanted;
    for (size_t i = 0; i < before.size(); ++i) {
        if (before[i] != after[i] && FileExists(before[i])) wanted.push_back({before[i], after[i]});
    }
    if (wanted.empty()) return {};
    if (AlbumSet* set = entries.front()->album->set) {
        if (Outcome entered = EnterRenames(*set, wanted); !entered) return entered;
    }
    Renames renames;
    for (const FileRename& rename : wanted) {
        if (Outcome done = renames.Do(rename); !done) return done;
    }
    renames.Keep();
    return {};
}

Outcome RenameRecording(FileHistoryEntry& entry, const RecordingName& name) {
    RecordingRenames files({&entry});
    RecordingName before = std::exchange(entry.name, name);
    Outcome moved = files.Move();
    if (!moved) entry.name = std::move(before);
    return moved;
}

Outcome RenameAlbumFiles(AlbumInfo& album, const std::string& artist, const std::string& title) {
    event::Fire(EVENT_ALBUM_CLOSING, event::Arg(&album));
    RecordingRenames files(AllRecordings(album));
    const std::string old_artist = std::exchange(album.artist, artist);
    const std::string old_title = std::exchange(album.title, title);
    Outcome moved = files.Move();
    album.artist = old_artist;
    album.title = old_title;
    return moved;
}

}  // namespace Orvane
