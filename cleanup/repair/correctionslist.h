// How a new repair enters a list that may already hold others where it wants to be.
#pragma once

#include <memory>

#include "collection/corrections.h"

namespace Orvane {

enum AddMode : int {
    ADD_OVER_BP = 1,       // a new repair does not give way to a BP marker
    ADD_ALWAYS_WINS = 2,   // the new repair never gives way
    ADD_WITH_TWINS = 4,    // what happens to a stereo patch happens to its twin in the other channel's list
    ADD_MAY_GIVE_WAY = 8,  // without it the new repair always wins

    ADD_SCANNED = ADD_WITH_TWINS,
    ADD_SCANNED_BP = ADD_WITH_TWINS | ADD_OVER_BP,
    ADD_MERGED = ADD_WITH_TWINS | ADD_MAY_GIVE_WAY,
};

enum class AddOutcome { Inserted = 0, Trimmed = 1, Refused = 2, Inside = 3 };

struct AddResult {
    AddOutcome outcome;
    bool deleted_others = false;
};

// Enters `repair` at its place; the list stays in order and without overlaps. Where it meets others, one of the two is
// trimmed (never to 2 * cross_fade frames or fewer) or goes, by `mode` and the kinds of both: markers give way to
// repairs, and a repair that covers a manual one becomes manual.
//
// `slot` is in-out: on entry a hint that is near, or null; on exit the repair now in the
// place. With Inserted and Trimmed the list has taken `repair` over, Refused has deleted it. Inside means that it lies
// wholly inside the existing repair `slot` and is still the caller's, who writes its samples into that one.
//
// An empty repair, or one longer than the list takes, is an assertion failure. The caller brackets the change of the
// list (and of its buddy) with a ListChange where others may read it.
AddResult AddRepair(ClickRepairList& list, std::unique_ptr<ClickRepair>& repair, ClickRepair*& slot, int mode);

}  // namespace Orvane
