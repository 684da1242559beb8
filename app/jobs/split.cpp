#include "app/jobs/split.h"

#include <fmt/format.h>

#include "app/session/lookup.h"
#include "foundation/clock.h"
#include "foundation/progress.h"
#include "split/albumoverview.h"
#include "split/splitdialog.h"

using namespace Foundation;

namespace Orvane {
namespace {

SplitResult Failed(Outcome outcome) {
    SplitResult result;
    result.outcome = std::move(outcome);
    return result;
}

}  // namespace

bool JobScanHost::GoOn() {
    return Progress::Tick();
}

SplitResult Split(const SplitOptions& options) {
    AlbumInfo& album = *options.album;
    const Job job("Looking for track breaks", album.set);
    if (!job.Refusal()) return Failed(job.Refusal());
    if (album.Recordings().empty()) {
        return Failed(Outcome::FailText(
            Kind::Refused, fmt::format("There is nothing to split: {} has no recordings", AlbumName(album))));
    }
    if (options.adjust && FirstUnsetTrack(album.tracks) == 0) {
        return Failed(Outcome::FailText(
            Kind::Refused, fmt::format("There is nothing to adjust: no track of {} has times yet", AlbumName(album))));
    }
    const int64_t started = MonotonicNs();
    WaveformOverview overview;
    if (Outcome read = ReadAlbumOverview(album, overview); !read) return Failed(read);
    JobScanHost host;
    const BreakScanResult scan =
        SplitDialog(album).ScanForTrackBreaks(options.adjust ? BREAK_SCAN_ADJUST : 0, overview, host);
    SplitResult result;
    result.outcome = scan.outcome;
    if (result.outcome && scan.n_set == 0) result.outcome = Outcome::Fail(Kind::Refused, Msg::NoTrackBreaksFound);
    if (!result.outcome) return result;
    result.n_set = scan.n_set;
    result.advice = scan.advice;
    result.seconds = static_cast<double>(MonotonicNs() - started) * 1e-9;
    result.left_out =
        TrackScanner(overview, album.Recordings(), BreakScanSettings::Load(), host).MusicOutside(album.tracks);
    return result;
}

}  // namespace Orvane
