// Saving a selection under a name that the user has typed.
#pragma once

#include <string>

#include "collection/filehistory.h"
#include "foundation/outcome.h"
#include "save/fileoptions.h"

namespace Orvane {

// Asks about what is odd in the name, saves the frames `start` to `end` of the edited time line in options.file_format
// with its progress shown, and tells how it went. With Kind::Refused and Kind::Cancelled nothing has been written and
// the user may type another name. Main thread.
Foundation::Outcome SaveSelectionAs(FileHistoryEntry& recording, int64_t start, int64_t end, const FileOptions& options,
                                    const std::string& typed);

}  // namespace Orvane
