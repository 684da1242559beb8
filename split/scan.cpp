#include "split/scan.h"

#include <algorithm>
#include <cstdlib>

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int64_t kSideEndAhead = 70 * kTicksPerSecond;
constexpr int kBlocksPerLook = 10;
constexpr int64_t kShortestMusic = 3 * kTicksPerSecond;  // longer than a landing or a scratch

}  // namespace

ScanState::ScanState(int threshold, int64_t from, const WaveformOverview& overview)
    : threshold(threshold),
      position_ns(from * 10000000 / 441),
      block_ns(int64_t{overview.block} * 1000000000 / overview.samplerate) {}

int ScanState::Take(uint8_t level) {
    position_ns += block_ns;
    position = (position_ns * 441 + 5000000) / 10000000;
    ++block_count;
    const int value = level * 4 + 1;
    running_total += value - ring[static_cast<size_t>(ring_index)];
    ring[static_cast<size_t>(ring_index)] = value;
    ring_index = (ring_index + 1) % kRing;
    samples_in_total = std::min(samples_in_total + 1, kRing);
    return samples_in_total < kRing ? -1 : running_total / kRing;
}

TrackScanner::TrackScanner(const WaveformOverview& overview, std::span<FileHistoryEntry* const> recordings,
                           const BreakScanSettings& settings, ScanHost& host)
    : overview(overview), timeline(recordings, overview), settings(settings), host(host) {}

int64_t TrackScanner::Scan(int64_t from, int threshold, bool until_quiet) {
    if (escaped) return kScanEscaped;
    if (from >= timeline.FileEnd()) return kOverviewEnded;
    ScanState state(threshold, from, overview);
    for (int64_t block = state.position_ns / state.block_ns; block < overview.total_bytes; ++block) {
        const int mean = state.Take(overview.bytes[static_cast<size_t>(block)]);
        if (state.block_count % kBlocksPerLook == 0 && !host.GoOn()) state.escape_pressed = escaped = true;
        if (state.escape_pressed) return kScanEscaped;
        if (mean >= 0 && (until_quiet ? mean < threshold : mean >= threshold)) return state.position;
    }
    return kOverviewEnded;
}

// Past the landing of the needle, and near the end of a side past the run-out groove to the next.
int64_t TrackScanner::SkipToMusic(int64_t from) const {
    const CutTimeline::Recording& recording = timeline.AtFileTime(from);
    if (from == recording.file_start) return from + settings.music_indent;
    int64_t side_end = recording.file_end;
    for (int64_t side_break : recording.entry->decided.side_breaks) {
        const int64_t place = recording.file_start + to_ticks(recording.samplerate, side_break);
        if (place <= from) continue;
        side_end = place;
        break;
    }
    return side_end > from && side_end <= from + kSideEndAhead ? side_end + settings.music_indent : from;
}

int64_t TrackScanner::FindMusic(int64_t from) {
    return Scan(SkipToMusic(from), settings.start_level, false);
}

int64_t TrackScanner::FindGap(int64_t from) {
    return Scan(from, settings.end_level, true);
}

// The row of the listing that a track is looked for; all in track time.
struct TrackScanner::Row {
    bool adjust;
    bool blank;
    int64_t start, end;  // its own
    int64_t previous_end;
    int64_t start_range, end_range;  // how far a break may be found from its own place
};

// Steps of the search for the start. False ends the scan.
bool TrackScanner::FindStart(const Row& row, int64_t from, int64_t& carry, int64_t& start) {
    int64_t earliest = timeline.ToFileTime(row.previous_end);
    int64_t music = carry >= 0 ? carry : FindMusic(from);
    carry = -1;
    for (;;) {
        if (music < 0) return false;
        // No music is left: a listing with more titles than tracks ends here.
        if (music == kOverviewEnded && !row.adjust) return false;
        int64_t place = std::max(music - settings.leadin, earliest);
        if (place > timeline.FileEnd()) place = timeline.FileEnd();
        int64_t cut_end;
        start = timeline.ToTrackTime(place, &cut_end);
        if (place >= cut_end) break;
        earliest = cut_end;
        music = FindMusic(cut_end);
    }
    // An unset row stands at the end of the track before it. When that one was the last of its recording, how far away
    // the music of the next begins says nothing.
    const bool next_side = !row.adjust && &timeline.AtTrackTime(start) != &timeline.AtTrackTime(row.start);
    if (!row.blank && !next_side && std::abs(start - row.start) > row.start_range) {
        start = std::max(row.start, row.previous_end);
    }
    return true;
}

TrackScanner::EndFound TrackScanner::FindEnd(const Row& row, int64_t start, int64_t& carry, int64_t& end) {
    const int64_t start_place = timeline.ToFileTime(start);
    const int64_t side_end = timeline.AtFileTime(start_place).file_end;
    int64_t from = start_place;
    if (row.adjust) {
        const int64_t earliest = std::max(row.end - row.end_range, row.previous_end);
        from = std::max(from, timeline.ToFileTime(earliest));
    }
    int64_t gap = FindGap(from);
    for (;;) {
        if (gap < 0) return EndFound::Stop;
        carry = -1;
        int64_t place = gap + settings.leadout;
        const bool side_ended = place > side_end;
        if (side_ended) place = side_end;
        const int64_t music = gap < side_end ? FindMusic(gap) : kOverviewEnded;
        if (music >= 0 && music != kOverviewEnded) {
            const int64_t quiet_end = std::max(music - settings.leadin, gap);
            if (quiet_end - gap < settings.minimum_gap) {
                gap = FindGap(quiet_end);
                continue;
            }
            // The next track begins here; there is no need to look for it.
            if (quiet_end < place) carry = place = quiet_end;
        }
        int64_t cut_end;
        end = timeline.ToTrackTime(place, &cut_end);
        if (place < cut_end && !side_ended) {
            gap = FindGap(cut_end);
            continue;
        }
        if (!row.blank && std::abs(end - row.end) > row.end_range) {
            end = row.end;
            carry = -1;
            return end - start < settings.minimum_track ? EndFound::NotNear : EndFound::Yes;
        }
        if (end - start >= settings.minimum_track && end > start) return EndFound::Yes;
        if (side_ended) return EndFound::TooShort;
        gap = FindGap(place);
    }
}

bool TrackScanner::ScanTrack(TrackList& tracks, int index, bool adjust, int64_t& carry) {
    const bool blank = index >= tracks.size();
    if (blank && adjust) return false;
    const int64_t previous_end = index > 0 ? tracks[index - 1].end : 0;
    const bool anywhere = !adjust && previous_end == 0;
    Row row{.adjust = adjust,
            .blank = blank,
            .start = blank ? 0 : tracks[index].start,
            .end = blank ? 0 : tracks[index].end,
            .previous_end = previous_end,
            .start_range = anywhere ? INT64_MAX : settings.adjustment_range,
            .end_range = adjust ? settings.adjustment_range : INT64_MAX};

    int64_t from = timeline.ToFileTime(previous_end);
    if (adjust) {
        const int64_t earliest = std::max(row.start - row.end_range, previous_end);
        const int64_t past_landing = timeline.AtTrackTime(row.start).file_start + settings.music_indent;
        from = std::max(timeline.ToFileTime(earliest), past_landing);
    }

    int64_t start, end;
    for (;;) {
        if (!FindStart(row, from, carry, start)) return false;
        const EndFound found = FindEnd(row, start, carry, end);
        if (found == EndFound::Yes) break;
        if (found == EndFound::Stop) return false;
        // A short track that has no gap near it, or that closes its side, stays as it is.
        if (found == EndFound::NotNear) return true;
        if (found == EndFound::TooShort && adjust) {
            carry = -1;
            return true;
        }
        // What was left of this recording is no track; the next one may have some.
        const CutTimeline::Recording* next = timeline.After(timeline.AtTrackTime(start));
        if (!next) return false;
        from = next->file_start;
        row.previous_end = next->track_start;
    }

    if (blank) {
        ALBUMTRACK track;
        track.title = NumberedTrackTitle(tracks.size() + 1);
        track.start = track.end = previous_end;
        tracks.push_back(std::move(track));
    }
    SetTrackStart(tracks, index, start, Alt::Up);
    SetTrackEnd(tracks, index, end, end > row.end ? Following::Move : Following::Stay, Alt::Up);
    return true;
}

void TrackScanner::ScanAll(TrackList& tracks) {
    DeleteAllTrackBreaks(tracks);
    int64_t carry = -1;
    for (int index = 0; ScanTrack(tracks, index, false, carry); ++index) host.TrackFound(index);
}

const FileHistoryEntry* TrackScanner::AdjustAll(TrackList& tracks) {
    const int n_set = FirstUnsetTrack(tracks);
    int64_t carry = -1;
    int index = 0;
    for (; index < n_set && ScanTrack(tracks, index, true, carry); ++index) {
        host.TrackFound(index);
        if (escaped) break;  // at the search for what follows: whether that is a gap is not known
    }
    const FileHistoryEntry* missed = index < n_set ? timeline.AtTrackTime(tracks[index].start).entry : nullptr;
    // A track may have grown over one that the scan then did not come to.
    PushOverlappingTracks(tracks);
    return missed;
}

uint16_t SidesBefore(const AlbumInfo& album, const FileHistoryEntry* recording) {
    const auto is_its = [&](const AlbumSide* side) { return recording && side && side->newest == recording; };
    const auto side = std::find_if(album.sides.begin(), album.sides.end(), is_its);
    return static_cast<uint16_t>(side - album.sides.begin());
}

std::vector<TrackScanner::Stretch> TrackScanner::MusicOutside(const TrackList& tracks) const {
    ScanState state(settings.start_level, 0, overview);
    const int64_t block = state.block_ns * 441 / 10000000;
    std::vector<Stretch> stretches;
    int64_t loud = 0;  // ticks of the last stretch
    int row = 0;
    const auto DropShort = [&] {
        if (!stretches.empty() && loud < kShortestMusic) stretches.pop_back();
    };
    for (int64_t at = 0; at < overview.total_bytes; ++at) {
        if (state.Take(overview.bytes[static_cast<size_t>(at)]) < state.threshold) continue;
        int64_t cut_end;
        const int64_t place = timeline.ToTrackTime(state.position, &cut_end);
        while (row < tracks.size() && tracks[row].end <= place) ++row;
        const bool in_track = row < tracks.size() && tracks[row].start <= place;
        if (in_track || cut_end >= 0) continue;
        const int64_t start = std::max(place - ScanState::kRing * block, row > 0 ? tracks[row - 1].end : 0);
        if (stretches.empty() || start - stretches.back().end >= settings.minimum_gap) {
            DropShort();
            stretches.push_back({start, place});
            loud = 0;
        }
        stretches.back().end = place;
        loud += block;
    }
    DropShort();
    return stretches;
}

}  // namespace Orvane
