#include "split/splitdialog.h"

#include <algorithm>
#include <cstdlib>

#include "collection/albumset.h"
#include "collection/tracktime.h"
#include "collection/undo_records.h"
#include "foundation/messages.h"
#include "split/trackorder.h"

using namespace Foundation;

namespace Orvane {

SplitDialog::SplitDialog(AlbumInfo& album) : album(album) {}

void SplitDialog::Select(int index) {
    selected = std::clamp(index, 0, album.tracks.size());
}

void SplitDialog::EnterUndo(Msg description, int first_track, int last_track) {
    if (album.IsWorkingCopy()) return;
    AddUndo(std::make_unique<UndoUpdateTrackInfo>(album, FormatMsg(description), first_track, last_track));
}

// Every change is made on a copy first, so that undo and the listeners see the album as it was. True if it differs.
bool SplitDialog::Store(TrackList changed, Msg description, MakeUndo make_undo) {
    const TrackList& before = album.tracks;
    // Rows without times that went along stay on the time line.
    const int n_set = FirstUnsetTrack(changed);
    const int64_t latest = std::max(end, n_set > 0 ? changed[n_set - 1].end : 0);
    for (int i = n_set; i < changed.size() && changed[i].IsEmpty(); ++i) {
        changed[i].start = changed[i].end = std::min(changed[i].start, latest);
    }
    if (changed == before) return false;
    if (make_undo == MakeUndo::Yes) {
        const auto first = std::mismatch(before.begin(), before.end(), changed.begin(), changed.end()).first;
        int last = std::max(before.size(), changed.size()) - 1;
        while (before.size() == changed.size() && before[last] == changed[last]) --last;
        EnterUndo(description, static_cast<int>(first - before.begin()), last);
    }
    const bool grown = changed.size() > album.tracks.size();
    const Change change(CHANGE_TRACK_TIMES | (grown ? CHANGE_TRACK_INSERTED : 0), &album);
    album.tracks.swap(changed);
    Select(selected);
    return true;
}

Outcome SplitDialog::InsertTrackBreak(int64_t position, Alt alt) {
    TrackList changed = album.tracks;
    if (position > end || !Orvane::InsertTrackBreak(changed, selected, position, alt)) {
        return Outcome::Fail(Kind::Refused, Msg::NoRoomForTrackBreak, FormatTime(position));
    }
    Store(std::move(changed), Msg::InsertTrackBreak, MakeUndo::Yes);
    return {};
}

// The track whose end is the break that was hit.
std::optional<int> SplitDialog::FindBreakEnd(BreakHit hit, int index, int64_t position) const {
    if (hit == BreakHit::TrackEnd) return index;
    if (hit == BreakHit::TrackStart) return index > 0 ? std::optional(index - 1) : std::nullopt;
    std::optional<int> found;
    int64_t least = hit_tolerance;
    for (int i = 0; i < FirstUnsetTrack(album.tracks); ++i) {
        const int64_t to_start = std::abs(album.tracks[i].start - position);
        const int64_t to_end = std::abs(album.tracks[i].end - position);
        if (to_start < least) {
            least = to_start;
            found.reset();
        }
        if (to_end <= least) {
            least = to_end;
            found = i;
        }
    }
    return found;
}

bool SplitDialog::DeleteTrackBreak(BreakHit hit, int index, int64_t position, MakeUndo make_undo, Alt alt) {
    const std::optional<int> track = FindBreakEnd(hit, index, position);
    if (!track) return false;
    TrackList changed = album.tracks;
    Orvane::DeleteTrackBreak(changed, *track, alt);
    if (remove_empty_last_row) RemoveOnlyUnsetTrack(changed);
    Select(*track);
    return Store(std::move(changed), Msg::DeleteTrackBreaks, make_undo);
}

// How far the tracks may move on as a whole.
int64_t SplitDialog::RoomBehind() const {
    const int n_set = FirstUnsetTrack(album.tracks);
    return std::max<int64_t>(0, end - (n_set > 0 ? album.tracks[n_set - 1].end : 0));
}

void SplitDialog::MoveTrackStart(int index, int64_t position, Alt alt) {
    TrackList changed = album.tracks;
    const ALBUMTRACK& track = changed[index];
    const int64_t first = index > 0 ? changed[index - 1].end : 0;
    int64_t last = track.IsEmpty() ? end : track.end - kShortestTrack;
    if (!track.IsEmpty() && alt == Alt::Down) last = track.start + RoomBehind();
    SetTrackStart(changed, index, std::clamp(position, first, std::max(first, last)), alt);
    Store(std::move(changed), Msg::AdjustTrackStart, MakeUndo::Yes);
}

void SplitDialog::MoveTrackEnd(int index, int64_t position, Alt alt, Joined joined) {
    TrackList changed = album.tracks;
    const ALBUMTRACK& track = changed[index];
    // Only the first of the unset rows may become a track: the others have to stand behind it.
    if (index > FirstUnsetTrack(changed)) return;
    position = std::max(position, track.start + kShortestTrack);
    const bool before_set = index + 1 < changed.size() && !changed[index + 1].IsEmpty();
    if (before_set && alt == Alt::Up) {
        const ALBUMTRACK& next = changed[index + 1];
        const bool together = next.start == track.end && joined == Joined::MoveTogether;
        const int64_t last = together ? next.end - kShortestTrack : next.start;
        position = std::min(position, std::max(track.end, last));
        if (together) SetTrackStart(changed, index + 1, position, alt);
        SetTrackEnd(changed, index, position, Following::Stay, alt);
    } else {
        const int64_t last = track.IsEmpty() ? end : track.end + RoomBehind();
        if (last < track.start + kShortestTrack) return;
        SetTrackEnd(changed, index, std::min(position, last), Following::Move, alt);
    }
    Store(std::move(changed), Msg::MoveTrackBreak, MakeUndo::Yes);
}

void SplitDialog::DeleteAllTrackBreaks() {
    TrackList changed = album.tracks;
    Orvane::DeleteAllTrackBreaks(changed);
    if (Store(std::move(changed), Msg::DeleteAllTrackBreaks, MakeUndo::Yes)) album.sides_adjusted = 0;
}

Outcome SplitDialog::EditTrack(int index, const ALBUMTRACK& edited) {
    TrackList changed = album.tracks;
    ALBUMTRACK& track = changed[index];
    const int64_t start = track.start;
    const bool stays = track.IsEmpty() ? edited.IsEmpty() : edited.start == start && edited.end == track.end;
    track = edited;
    if (stays && track.IsEmpty()) track.start = track.end = start;
    if (!stays) {
        index = MoveToItsPlace(changed, index);
        if (Outcome within = CheckWithin(edited.end, end); !within) return within;
        if (Outcome listing = CheckListing(changed); !listing) return listing;
    }
    Store(std::move(changed), Msg::EditTrackDetails, MakeUndo::Yes);
    Select(index);
    return {};
}

ALBUMTRACK SplitDialog::DeleteTrack(int index, bool close_gap) {
    EnterUndo(Msg::DeleteTrack, index, index);
    const ALBUMTRACK deleted = Orvane::DeleteTrack(album, index, close_gap);
    Select(selected);
    return deleted;
}

void SplitDialog::MoveTrackInList(int from, int to) {
    TrackList changed = album.tracks;
    MoveTitle(changed, from, to);
    Store(std::move(changed), Msg::MoveTrackInList, MakeUndo::Yes);
    Select(to);
}

void SplitDialog::EnableFader(int index, Fader fader, bool on) {
    TrackList changed = album.tracks;
    Orvane::EnableFader(changed[index], fader, on);
    Store(std::move(changed), Msg::EnableFader, MakeUndo::Yes);
}

void SplitDialog::AdjustFader(int index, Fader fader, int hundredths) {
    TrackList changed = album.tracks;
    SetFaderLength(changed[index], fader, hundredths);
    Store(std::move(changed), Msg::AdjustFader, MakeUndo::Yes);
}

}  // namespace Orvane
