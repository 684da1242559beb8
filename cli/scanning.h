// The scan for track breaks, as "split" and "digitise" run it.
#pragma once

#include "cli/console.h"
#include "cli/context.h"
#include "split/scan.h"

namespace Orvane {

// Reads the level overview of an album's recordings, with progress. An exit code.
int ReadOverview(CommandContext& context, const AlbumInfo& album, WaveformOverview& overview);

// Tells of the music that lies in no track, as "left_out" of `figures` and in words.
void ReportLeftOut(CommandContext& context, const std::vector<TrackScanner::Stretch>& left_out, Json& figures);

// Lets Ctrl+C end a scan.
class InterruptibleScan : public ScanHost {
public:
    bool GoOn() override { return !Interrupted(); }
};

}  // namespace Orvane
