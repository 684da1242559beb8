#include <algorithm>

#include "collection/albumset.h"
#include "foundation/messages.h"
#include "split/splitdialog.h"

using namespace Foundation;

namespace Orvane {

BreakScanResult SplitDialog::ScanForTrackBreaks(int flags, const WaveformOverview& overview, ScanHost& host) {
    const std::vector<FileHistoryEntry*> recordings = album.Recordings();
    if (recordings.empty()) return {};
    const bool generating = std::any_of(recordings.begin(), recordings.end(),
                                        [](const auto* entry) { return entry->waveform.generating.load(); });
    if (generating || overview.total_bytes == 0) {
        return {Outcome::Fail(Kind::Refused, Msg::ScanNeedsWaveform), 0, {}};
    }
    const bool adjust = (flags & BREAK_SCAN_ADJUST) != 0;
    if (flags & BREAK_SCAN_UNDO) {
        EnterUndo(adjust ? Msg::AdjustTrackBreaks : Msg::ScanForTrackBreaks, 0, std::max(0, album.tracks.size() - 1));
    }

    const int n_before = album.tracks.size();
    TrackScanner scanner(overview, recordings, BreakScanSettings::Load(), host);
    busy = true;
    {
        const Change change(CHANGE_TRACK_TIMES | CHANGE_TRACK_INSERTED, &album);
        if (adjust) {
            album.sides_adjusted = SidesBefore(album, scanner.AdjustAll(album.tracks));
        } else {
            scanner.ScanAll(album.tracks);
            album.sides_adjusted = 0;
        }
    }
    busy = false;
    Select(0);

    BreakScanResult result;
    result.n_set = FirstUnsetTrack(album.tracks);
    if (scanner.Escaped()) {
        result.outcome = Outcome::Cancelled();
    } else if (!adjust && result.n_set == 0) {
        result.advice = Msg::NoTrackBreaksFound;
    } else if (!adjust && n_before > 0 && result.n_set != n_before) {
        result.advice = result.n_set > n_before ? Msg::MoreTrackBreaksThanTracks : Msg::FewerTrackBreaksThanTracks;
    }
    return result;
}

}  // namespace Orvane
