// The click scan of sides, as a job.
#pragma once

#include <string>
#include <vector>

#include "app/jobs/job.h"
#include "cleanup/declick/scanforclicks.h"
#include "collection/recordingplaces.h"

namespace Orvane {

struct DeclickOptions {
    std::vector<RecordingPlace> places;  // of one collection
    ScanSettings settings;
    bool only_if_new = false;  // leave out what was scanned before with these settings
};

struct DeclickedSide {
    int album, side;  // from 1
    ScanResult result;
    std::string error;  // why it failed, with the name of its file; plain text
};

struct DeclickResult {
    Foundation::Outcome outcome;       // that of the first side that could not be scanned
    std::vector<DeclickedSide> sides;  // those that were reached
    ScanStats total;
    double seconds = 0;
    double times_real_time = 0;
};

// Scans the recordings one after the other and enters their repairs. The collection is left to be saved.
DeclickResult Declick(const DeclickOptions& options);
DeclickResult Declick(const Job& job, const DeclickOptions& options);  // as a part of another job

}  // namespace Orvane
