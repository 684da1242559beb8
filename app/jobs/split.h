// The scan for track breaks, as a job.
#pragma once

#include <optional>
#include <vector>

#include "app/jobs/job.h"
#include "split/scan.h"

namespace Orvane {

struct SplitOptions {
    AlbumInfo* album;
    bool adjust = false;  // move the breaks that there are to the gaps near them
};

struct SplitResult {
    Foundation::Outcome outcome;
    int n_set = 0;                                // tracks that have times now
    std::optional<Foundation::Msg> advice;        // what the user can do about a result that is not as expected
    std::vector<TrackScanner::Stretch> left_out;  // music in no track; ticks of the album's time line
    double seconds = 0;
};

SplitResult Split(const SplitOptions& options);

// Lets a scan be cancelled.
class JobScanHost : public ScanHost {
public:
    bool GoOn() override;
};

}  // namespace Orvane
