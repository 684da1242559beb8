#include <algorithm>

#include "collection/albumset.h"
#include "foundation/host.h"
#include "split/splitdialog.h"

namespace Orvane {

// Fills the rows from the top, and appends further ones as long as there are tracks.
void SplitDialog::ScanAnew(TrackScanner& scanner, ScanHost& host) {
    for (ALBUMTRACK& track : album.tracks) {
        track.start = track.end = 0;
        track.fade_in = track.fade_out = 0;
        track.filter_flags = 0;
    }
    int64_t carry = -1;
    for (;;) {
        Select(FirstUnsetTrack(album.tracks));
        if (!scanner.ScanTrack(album.tracks, selected, false, carry)) return;
        host.TrackFound();
    }
}

void SplitDialog::Adjust(TrackScanner& scanner, ScanHost& host) {
    const int n_set = FirstUnsetTrack(album.tracks);
    int64_t carry = -1;
    for (int i = 0; i < n_set; ++i) {
        Select(i);
        if (!scanner.ScanTrack(album.tracks, i, true, carry)) break;
        host.TrackFound();
    }
    // A track may have grown over one that the scan then did not come to.
    PushOverlappingTracks(album.tracks);
}

int SplitDialog::ScanForTrackBreaks(int flags, const WaveformOverview& overview, ScanHost& host) {
    const std::vector<FileHistoryEntry*> recordings = album.Recordings();
    if (recordings.empty()) return 0;
    const bool generating =
        std::any_of(recordings.begin(), recordings.end(), [](const auto* entry) { return entry->generating.load(); });
    if (generating || overview.total_bytes == 0) {
        ShowMessage(FormatMessage(Msg::ScanNeedsWaveform), Severity::Information);
        return 0;
    }
    EndFaderGesture();
    const bool adjust = (flags & BREAK_SCAN_ADJUST) != 0;
    if (flags & BREAK_SCAN_UNDO) {
        EnterUndo(adjust ? Msg::AdjustTrackBreaks : Msg::ScanForTrackBreaks, 0, std::max(0, album.tracks.size() - 1));
    }

    const int n_before = album.tracks.size();
    busy = true;
    {
        const Change change(CHANGE_TRACK_TIMES | CHANGE_TRACK_INSERTED, &album);
        TrackScanner scanner(overview, recordings, BreakScanSettings::Load(), host);
        adjust ? Adjust(scanner, host) : ScanAnew(scanner, host);
    }
    busy = false;
    Select(0);

    const int n_found = FirstUnsetTrack(album.tracks);
    if (adjust) {
        album.sides_adjusted = static_cast<uint16_t>(album.sides.size());
    } else if (n_found == 0) {
        ShowMessage(FormatMessage(Msg::NoTrackBreaksFound), Severity::Information);
    } else if (n_before > 0 && n_found != n_before) {
        const bool more = n_found > n_before;
        ShowMessage(FormatMessage(more ? Msg::MoreTrackBreaksThanTracks : Msg::FewerTrackBreaksThanTracks),
                    Severity::Information);
    }
    return n_found;
}

}  // namespace Orvane
