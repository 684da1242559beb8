// Files that change their names together: all of them, or none.
#pragma once

#include <string>
#include <vector>

#include "collection/renamejournal.h"
#include "foundation/outcome.h"

namespace Orvane {

class FileHistoryEntry;
struct AlbumInfo;
struct RecordingName;

// Renames that are taken back at the end, the last one first, unless they are kept.
class Renames {
public:
    Renames() = default;
    ~Renames();
    Renames(const Renames&) = delete;
    Renames& operator=(const Renames&) = delete;

    // An existing `to` is never replaced.
    Foundation::Outcome Do(const FileRename& rename);
    void Keep() { steps.clear(); }

private:
    std::vector<FileRename> steps;
};

// Gives a recording another name of its own: its file and those that go with it are renamed. When that fails, or the
// recording is open, nothing has changed. Main thread.
Foundation::Outcome RenameRecording(FileHistoryEntry& entry, const RecordingName& name);

// Made before something changes what recordings are called; moves their files, and those that go with them, afterwards.
// None of them may be open. The collection's journal has the renames until it is saved. Main thread.
class RecordingRenames {
public:
    explicit RecordingRenames(std::vector<FileHistoryEntry*> entries);
    // When a file could not be moved, all are where they were.
    Foundation::Outcome Move();

private:
    std::vector<FileHistoryEntry*> entries;
    std::vector<std::string> before;  // the paths of all files, entry by entry
};

// Moves the files of all recordings of an album to the names that they have under another artist and title, which the
// caller then gives it. On failure nothing has moved.
Foundation::Outcome RenameAlbumFiles(AlbumInfo& album, const std::string& artist, const std::string& title);

}  // namespace Orvane
