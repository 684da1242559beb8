// Undo and redo as the user asks for them. Main thread.
#pragma once

#include "collection/undo.h"

namespace Orvane {

// Asks first where the step leads to another window or album; Cancelled when the user does not want that. Other
// failures are the caller's to show.
Foundation::Outcome UndoStep(UndoDirection direction);

}  // namespace Orvane
