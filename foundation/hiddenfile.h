// Files that file managers leave out of what they show.
#pragma once

#include <string_view>

#include "foundation/outcome.h"

namespace Foundation {

// Hides the file or shows it again. Its name stays the same: the list ".hidden" beside it, which file managers read,
// gets or loses it.
Outcome SetHidden(std::string_view path, bool hidden);

}  // namespace Foundation
