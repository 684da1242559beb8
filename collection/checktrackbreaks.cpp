#include "collection/checktrackbreaks.h"

#include <optional>

#include "collection/albumset.h"
#include "collection/tracktime.h"
#include "foundation/host.h"
#include "foundation/messages.h"
#include "foundation/muldiv.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int kMaxFaults = 100;
constexpr int64_t kOverlapAllowed = 20;  // ticks: roundings of older versions

struct Fault {
    Msg text;
    int64_t shown_time;
    int track;  // the one that is wrong, and that the repair changes
    int64_t start;
    int64_t end;  // as it should be
};

// The faults of a listing from a given place on, one at a time.
class FaultFinder {
public:
    explicit FaultFinder(const simple_vector<ALBUMTRACK>& tracks) : tracks(tracks) {}

    void StartOver() {
        track = test = 0;
        noted.reset();
    }

    // Without repairs in between every fault is found once.
    std::optional<Fault> Next() {
        for (; track < tracks.size(); ++track, test = 0) {
            while (test < kTests) {
                if (std::optional<Fault> fault = Test(test++)) return fault;
            }
        }
        return std::nullopt;
    }

private:
    static constexpr int kTests = 5;

    std::optional<Fault> Test(int which) {
        const ALBUMTRACK& t = tracks[track];
        switch (which) {
            case 0:
                if (t.start < 0) return Fault{Msg::NegativeTrackStart, t.start, track, 0, t.end};
                break;
            case 1:
                if (t.end < t.start) return Fault{Msg::NegativeTrackLength, t.end - t.start, track, t.start, t.start};
                break;
            case 2:
                return t.IsEmpty() ? TestEmpty() : TestEmbedded();
            case 3:
                if (!t.IsEmpty() && t.end - t.start < kTooShortTrack) {
                    return Fault{Msg::TrackTooShort, t.end - t.start, track, t.start, t.start + 1};
                }
                break;
            default:
                if (!t.IsEmpty() && track > 0 && t.start < tracks[track - 1].end - kOverlapAllowed) {
                    return Fault{Msg::OverlappingTrack, t.start, track, tracks[track - 1].end, t.end};
                }
        }
        return std::nullopt;
    }

    std::optional<Fault> TestEmpty() {
        const ALBUMTRACK& t = tracks[track];
        if (noted && t.start > tracks[*noted].end) {
            const int64_t place = tracks[*noted].end;
            return Fault{Msg::OrphanedEmptyTrack, t.start, track, place, place};
        }
        noted = track;
        return std::nullopt;
    }

    std::optional<Fault> TestEmbedded() {
        if (!noted) return std::nullopt;
        const int empty = *noted;
        noted.reset();
        const int64_t start = tracks[empty].start;
        return Fault{Msg::EmbeddedEmptyTrack, start, empty, start, start + kTicksPerSecond};
    }

    const simple_vector<ALBUMTRACK>& tracks;
    int track = 0;
    int test = 0;
    std::optional<int> noted;  // an empty track before this one
};

void Repair(AlbumInfo& album, const Fault& fault) {
    const int flag = fault.text == Msg::EmbeddedEmptyTrack ? CHANGE_TRACK_INSERTED : CHANGE_TRACK_TIMES;
    const Change change(flag, &album);
    album.tracks[fault.track].start = fault.start;
    album.tracks[fault.track].end = fault.end;
}

void UnsetBehindLastGood(AlbumInfo& album) {
    int first = album.tracks.size();
    while (first > 0 && album.tracks[first - 1].end - album.tracks[first - 1].start < kTooShortTrack) --first;
    const int64_t place = first > 0 ? album.tracks[first - 1].end : 0;
    const Change change(CHANGE_TRACK_TIMES, &album);
    for (int i = first; i < album.tracks.size(); ++i) {
        ALBUMTRACK& track = album.tracks[i];
        track.start = track.end = place;
        track.fade_in = track.fade_out = 0;
        track.filter_flags = 0;
    }
}

bool AskToGoOn(const AlbumInfo& album, const Fault& fault) {
    const std::string text = FormatMsg(fault.text, album.tracks[fault.track].title, FormatTime(fault.shown_time));
    return Messages().Ask({text, Buttons::OkCancel, Severity::Warning, {}}) == Answer::Ok;
}

}  // namespace

int CheckTrackBreaks(AlbumInfo& album, int options) {
    const bool fix = (options & CHECK_FIX) != 0;
    int n_faults = 0;
    FaultFinder finder(album.tracks);
    while (n_faults < kMaxFaults) {
        const std::optional<Fault> fault = finder.Next();
        if (!fault) break;
        ++n_faults;
        if ((options & CHECK_ASK) && !AskToGoOn(album, *fault)) return n_faults;
        if (!fix) continue;
        Repair(album, *fault);
        finder.StartOver();
    }
    if (!fix || n_faults == 0) return n_faults;
    UnsetBehindLastGood(album);
    if (!(options & CHECK_QUIET)) ShowMessage(FormatMsg(Msg::TrackBreaksCorrected), Severity::Information);
    return n_faults;
}

}  // namespace Orvane
