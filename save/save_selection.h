// Saving a stretch of one recording as a file of the user's choice.
#pragma once

#include <string>
#include <string_view>

#include "save/save_track.h"

namespace Orvane {

// What the file dialog begins with.
struct SelectionDialog {
    std::string title;
    std::string folder;  // "Save Tracks Directory"
    int file_format;     // "Save Track As File Format"
};
SelectionDialog SelectionDialogFor(std::string_view name);

// Gives the name that came out of the dialog the format's extension if it has none, and asks about what is odd in it.
// False: it will not do, back to the dialog. Main thread.
bool AcceptSelectionName(std::string& filename, int file_format);

// Saves the frames `start` to `end` of the recording's edited time line as a job of one thread, in options.file_format,
// and tells the user how it went. `filename` has been accepted; its folder and the format are remembered. Main thread;
// Progress::Begin and End are the caller's.
SaveTrackStatus SaveSelection(FileHistoryEntry& recording, int64_t start, int64_t end, const FileOptions& options,
                              const std::string& filename);

}  // namespace Orvane
