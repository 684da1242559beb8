// The scan for track breaks, as "split" and "digitise" run it.
#pragma once

#include "app/jobs/split.h"
#include "cli/context.h"

namespace Orvane {

// Tells of the music that lies in no track, as "left_out" of `figures` and in words.
void ReportLeftOut(CommandContext& context, const std::vector<TrackScanner::Stretch>& left_out, Json& figures);

}  // namespace Orvane
