// Saving a stretch of one recording as a file of the user's choice.
#pragma once

#include <string>
#include <string_view>

#include "collection/filehistory.h"
#include "foundation/outcome.h"
#include "save/fileoptions.h"

namespace Orvane {

// What the file dialog begins with.
struct SelectionDialog {
    std::string title;
    std::string folder;  // "Save Tracks Directory"
    int file_format;     // "Save Track As File Format"
};
SelectionDialog SelectionDialogFor(std::string_view name);

// The name that came out of the dialog, with the format's extension if it has none. Refused when file systems do not
// take it; the question whether another extension is meant needs an answer.
Foundation::Result<std::string> SelectionName(const std::string& typed, int file_format, Foundation::Answered answered);

// Saves the frames `start` to `end` of the recording's edited time line as a job of one thread, in options.file_format.
// The folder of `filename`, which is a SelectionName, and the format are remembered. What is there already goes to the
// Trash. Main thread; Progress::Begin and End are the caller's.
Foundation::Outcome SaveSelection(FileHistoryEntry& recording, int64_t start, int64_t end, const FileOptions& options,
                                  const std::string& filename);

}  // namespace Orvane
