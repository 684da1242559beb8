// Files that change their names together: all of them, or none.
#pragma once

#include <string>
#include <vector>

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

    // An existing `to` is never replaced. False with the reason as last error.
    bool Do(const std::string& from, const std::string& to);
    void Keep() { steps.clear(); }

private:
    struct Step {
        std::string from, to;
    };
    std::vector<Step> steps;
};

// Gives a recording another name of its own: its file and those that go with it are renamed. False, with the reason as
// last error, when that failed or the recording is open; then nothing has changed. Main thread.
bool RenameRecording(FileHistoryEntry& entry, const RecordingName& name);

// Made before something changes what recordings are called; moves their files, and those that go with them, afterwards.
// None of them may be open. Main thread.
class RecordingRenames {
public:
    explicit RecordingRenames(std::vector<FileHistoryEntry*> entries);
    // False when a file could not be moved: all are where they were, and the reason is the last error.
    bool Move();

private:
    std::vector<FileHistoryEntry*> entries;
    std::vector<std::string> before;  // the paths of all files, entry by entry
};

// Moves the files of all recordings of an album to the names that they have under another artist and title, which the
// caller then gives it. False with the reason as last error; then nothing has moved.
bool RenameAlbumFiles(AlbumInfo& album, const std::string& artist, const std::string& title);

}  // namespace Orvane
