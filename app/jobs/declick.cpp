#include "app/jobs/declick.h"

#include "app/session/lookup.h"
#include "cleanup/declick/batchscan.h"
#include "foundation/clock.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr const char* kDeclickTitle = "Scanning for clicks";

std::string ErrorOf(const ScannedSide& side) {
    const std::string error = side.result.outcome.Plain();
    const std::string path = side.side.entry->GetPath();
    return error.empty() || error.find(path) != error.npos ? error : path + ": " + error;
}

void Add(ScanStats& sum, const ScanStats& stats) {
    sum.repaired += stats.repaired;
    sum.not_repaired += stats.not_repaired;
    sum.pp += stats.pp;
    sum.bp += stats.bp;
}

DeclickResult Run(const DeclickOptions& options) {
    std::vector<SideToScan> to_scan;
    for (const RecordingPlace& place : options.places) to_scan.push_back({place.entry, place.side});
    const int64_t started = MonotonicNs();
    const std::vector<ScannedSide> scanned = ScanSides(to_scan, options.settings, options.only_if_new);
    DeclickResult result;
    result.seconds = static_cast<double>(MonotonicNs() - started) * 1e-9;
    int64_t ticks = 0;
    for (size_t i = 0; i < scanned.size(); ++i) {
        const ScannedSide& done = scanned[i];
        result.sides.push_back({NumberOf(*done.side.entry->album), done.side.side, done.result, ErrorOf(done)});
        const std::string& error = result.sides.back().error;
        if (result.outcome && !error.empty()) result.outcome = Outcome::FailText(Kind::Contents, error);
        if (done.result.outcome && !done.result.skipped) ticks += options.places[i].end - options.places[i].start;
        Add(result.total, done.result.stats);
    }
    if (result.seconds > 0) result.times_real_time = static_cast<double>(ticks) / kTicksPerSecond / result.seconds;
    const bool cancelled = !scanned.empty() && scanned.back().result.outcome.Is(Kind::Cancelled);
    if (cancelled || scanned.size() < options.places.size()) result.outcome = Outcome::Cancelled();
    return result;
}

}  // namespace

DeclickResult Declick(const DeclickOptions& options) {
    const Job job(kDeclickTitle, options.places.empty() ? nullptr : options.places.front().entry->album->set);
    if (job.Refusal()) return Run(options);
    DeclickResult refused;
    refused.outcome = job.Refusal();
    return refused;
}

DeclickResult Declick(const Job& job, const DeclickOptions& options) {
    job.Phase(kDeclickTitle);
    return Run(options);
}

}  // namespace Orvane
