// The step of "digitise" that gives the album its tracks.
#include <algorithm>

#include "cli/digitise.h"
#include "cli/scanning.h"
#include "cli/texts.h"
#include "collection/albumset.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "split/albumoverview.h"
#include "split/trackbreaks.h"

using namespace Foundation;

namespace Orvane {
namespace {

void SetTimes(ALBUMTRACK& track, int64_t start, int64_t end) {
    track.start = start;
    track.end = end;
}

}  // namespace

// The tracks as the file of titles has them.
TrackList Digitise::ListedTracks() const {
    TrackList tracks = album->tracks;
    tracks.resize(static_cast<int>(titles.size()));
    for (size_t i = 0; i < titles.size(); ++i) SetTimes(tracks[static_cast<int>(i)], titles[i].start, titles[i].end);
    return tracks;
}

std::string Digitise::SideTitle(const RecordingPlace& place) const {
    return places.size() == 1 ? order.title : fmt::format("Side {}", place.side);
}

// A side on which no track was found becomes one: nothing that was recorded is left out unseen.
void Digitise::AddWholeSides(TrackList& tracks) const {
    for (const RecordingPlace& place : places) {
        const int n_set = FirstUnsetTrack(tracks);
        int index = 0;
        while (index < n_set && tracks[index].end <= place.start) ++index;
        if (place.end == place.start || (index < n_set && tracks[index].start < place.end)) continue;
        ALBUMTRACK whole;
        whole.title = SideTitle(place);
        whole.start = whole.end = place.start;
        tracks.insert(tracks.begin() + index, std::move(whole));
        SetTrackEnd(tracks, index, place.end, Following::Stay, Alt::Up);
        for (int i = tracks.size() - 1; i > index; --i) {
            if (tracks[i].title == NumberedTrackTitle(i)) tracks[i].title = NumberedTrackTitle(i + 1);
        }
    }
}

// Runs the scan on a listing: anew, or to move its breaks to the gaps near them.
int Digitise::Scan(TrackList& tracks, bool adjust) {
    const int64_t started = MonotonicNs();
    WaveformOverview overview;
    const Job job("Looking for track breaks", album->set);
    if (!job.Refusal()) return context.End(job.Refusal());
    if (int code = context.End(ReadAlbumOverview(*album, overview))) return code;
    JobScanHost host;
    TrackScanner scanner(overview, album->Recordings(), BreakScanSettings::Load(), host);
    if (adjust) {
        sides_adjusted = SidesBefore(*album, scanner.AdjustAll(tracks));
    } else {
        scanner.ScanAll(tracks);
        sides_adjusted = 0;
    }
    if (Interrupted()) return context.Cancelled();
    const int n_found = FirstUnsetTrack(tracks);
    tracks_found.resize(places.size());
    for (size_t i = 0; i < places.size(); ++i) {
        tracks_found[i] = std::count_if(tracks.begin(), tracks.begin() + n_found, [&](const auto& track) {
            return track.start >= places[i].start && track.start < places[i].end;
        });
    }
    if (!adjust) AddWholeSides(tracks);
    left_out = scanner.MusicOutside(tracks);
    Json& figures = context.result["split"];
    figures["status"] = adjust ? "adjusted" : "scanned";
    figures["found"] = n_found;
    figures["seconds"] = static_cast<double>(MonotonicNs() - started) * 1e-9;
    return CLI_DONE;
}

// Titles without times go to the tracks in order. When there are more of the ones than of the others nobody can tell
// which belong together: the tracks are kept, and nothing is saved under a wrong name.
int Digitise::NameTracks(TrackList& tracks) {
    if (static_cast<int>(titles.size()) == tracks.size()) {
        for (int i = 0; i < tracks.size(); ++i) tracks[i].title = titles[static_cast<size_t>(i)].title;
        return CLI_DONE;
    }
    StoreTracks(tracks);
    if (int code = StoreAlbum()) return code;
    return context.Fail(fmt::format(
        "The sides have {}, but {} has {}. The tracks are in {}, as album {}: put them right with \"break insert\" and "
        "\"break remove\", or correct the titles, and run this again",
        CountText(tracks.size(), "track"), order.titles_file, CountText(static_cast<int64_t>(titles.size()), "title"),
        context.Collection().path, NumberOf(*album)));
}

void Digitise::StoreTracks(const TrackList& tracks) {
    const uint16_t n_adjusted = sides_adjusted.value_or(album->sides_adjusted);
    if (tracks == album->tracks && n_adjusted == album->sides_adjusted) return;
    const Change change(CHANGE_TRACK_TIMES | CHANGE_TRACK_INSERTED, album);
    album->tracks = tracks;
    album->sides_adjusted = n_adjusted;
}

int Digitise::EnterTracks() {
    if (places.back().end <= 0) return context.Fail("The recordings hold no audio");
    const bool listed = !titles.empty();
    const bool timed = listed && titles.front().timed;
    if (timed && titles.back().start >= places.back().end) {
        return context.Usage(fmt::format("{}, line {}: the recordings end at {} already", order.titles_file,
                                         titles.back().line, ClockText(places.back().end)));
    }
    if (timed && titles.back().end > places.back().end) {
        TitleLine& last = titles.back();
        context.Remark(fmt::format("{}, line {}: the recordings end at {}, and the last track with them",
                                   order.titles_file, last.line, FormatTime(places.back().end)));
        last.end = places.back().end;
        if (last.end - last.start < kShortestTrack) {
            return context.Usage(fmt::format("{}, line {}: {}", order.titles_file, last.line,
                                             FormatMsg(Msg::TracksHaveALength, kShortestTrack / kTicksPerSecond)));
        }
    }
    // The user may have worked on the tracks of an album that is there; only a listing with times takes their place.
    TrackList tracks = timed ? ListedTracks() : album->tracks;
    const bool anew = FirstUnsetTrack(tracks) == 0;
    context.result["split"] = {{"status", timed ? "listed" : anew ? "whole sides" : "kept"}};
    if (!order.no_split && (timed ? order.adjust : anew)) {
        if (int code = Scan(tracks, timed)) return code;
    } else if (anew && !timed) {
        AddWholeSides(tracks);
    }
    if (listed) {
        if (int code = NameTracks(tracks)) return code;
    }
    StoreTracks(tracks);
    return CLI_DONE;
}

}  // namespace Orvane
