#include <algorithm>

#include "collection/albumset.h"
#include "foundation/host.h"
#include "split/splitdialog.h"

using namespace Foundation;

namespace Orvane {

int SplitDialog::ScanForTrackBreaks(int flags, const WaveformOverview& overview, ScanHost& host) {
    const std::vector<FileHistoryEntry*> recordings = album.Recordings();
    if (recordings.empty()) return 0;
    const bool generating =
        std::any_of(recordings.begin(), recordings.end(), [](const auto* entry) { return entry->generating.load(); });
    if (generating || overview.total_bytes == 0) {
        ShowMessage(FormatMsg(Msg::ScanNeedsWaveform), Severity::Information);
        return 0;
    }
    EndFaderGesture();
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

    const int n_found = FirstUnsetTrack(album.tracks);
    if (adjust || scanner.Escaped()) return n_found;
    if (n_found == 0) {
        ShowMessage(FormatMsg(Msg::NoTrackBreaksFound), Severity::Information);
    } else if (n_before > 0 && n_found != n_before) {
        const bool more = n_found > n_before;
        ShowMessage(FormatMsg(more ? Msg::MoreTrackBreaksThanTracks : Msg::FewerTrackBreaksThanTracks),
                    Severity::Information);
    }
    return n_found;
}

}  // namespace Orvane
