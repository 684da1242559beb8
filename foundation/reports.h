// What the user has to be told of, from where nobody is there to tell it: from the background, or from behind a result
// that is good all the same. Whoever speaks to the user takes the reports and shows them when there is time.
#pragma once

#include <vector>

#include "foundation/outcome.h"

namespace Foundation {

// Keeps `what` until it is taken. Success is no report. Any thread.
void Report(Outcome what);

// Hands over what has been reported since the last call, the oldest first. Any thread.
std::vector<Outcome> TakeReports();

// Called behind every report, on the thread that made it. Null: nobody. Any thread.
void SetReportHook(void (*hook)());

}  // namespace Foundation
