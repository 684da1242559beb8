// Which entries a list of click repairs shows.
#pragma once

#include "collection/corrections.h"

namespace Orvane {

// As the user has set it, for windows and lists alike. What is not shown is heard all the same.
struct ShownClicks {
    bool clicks = true;      // "Show Clicks"; without it patches alone are left
    bool wide_only = false;  // "Show Wide Clicks Only": of the clicks those that are faded into the audio around them

    bool operator==(const ShownClicks&) const = default;
    static ShownClicks FromStore();
    // `samplerate` is the list's.
    bool Shows(const ClickRepair& repair, int32_t samplerate) const;
};

}  // namespace Orvane
