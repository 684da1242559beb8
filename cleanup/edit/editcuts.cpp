#include "cleanup/edit/editcuts.h"

#include <algorithm>
#include <cstdlib>

#include "cleanup/edit/cuttracks.h"
#include "cleanup/edit/undo_corrections.h"
#include "collection/albumset.h"
#include "collection/recordingplaces.h"
#include "collection/undo_records.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

// Where the recording begins on the time line of its album; -1 for one that is not in use, and behind one that is
// missing, since its length is not known.
int64_t StartOnTimeLine(FileHistoryEntry& entry) {
    if (entry.album->tracks.empty()) return -1;
    for (const RecordingPlace& place : PlaceRecordings(*entry.album)) {
        if (place.entry == &entry) return place.start;
        if (!place.opened) break;
    }
    return -1;
}

// Changes the cuts so that `shift` frames come in (or below 0 go), as one action. `follow(tracks, recording, ticks)`
// gives the tracks their new times, on later sides too: -1, or the track that would lose all its music: refused,
// then nothing has changed.
template <class Undo, class Follow, class Edit>
Outcome ChangeCuts(FileHistoryEntry& entry, const EditAccess& access, int64_t shift, Msg description, Follow follow,
                   Edit edit) {
    const int64_t side_start = StartOnTimeLine(entry);
    const int32_t rate = entry.SampleRate();
    const int64_t length = std::max<int64_t>(0, access.FileLength() - entry.decided.cuts.TotalLength() + shift);
    const int64_t ticks = std::abs(to_ticks(rate, length) - to_ticks(rate, access.EditedLength()));
    simple_vector<ALBUMTRACK>& tracks = entry.album->tracks;
    simple_vector<ALBUMTRACK> moved = tracks;
    const int lost = side_start < 0 ? -1 : follow(moved, RecordingOnAlbum{side_start, rate}, ticks);
    if (lost >= 0) {
        return Outcome::Fail(Kind::Refused, Msg::CutTakesTrack, tracks[lost].title);
    }

    auto undo = std::make_unique<UndoGroup>(FormatMsg(description));
    undo->Add(std::make_unique<Undo>(entry, undo->description));
    {
        const TimelineChange change(entry);
        edit();
    }
    if (side_start >= 0) {
        undo->Add(std::make_unique<UndoUpdateTrackInfo>(*entry.album, undo->description, 0, tracks.size() - 1));
        const Change change(CHANGE_TRACK_TIMES, entry.album);
        tracks = moved;
    }
    AddUndo(std::move(undo));
    return {};
}

Outcome Cut(FileHistoryEntry& entry, int64_t start, int64_t end, int32_t splice_length, Msg description) {
    const EditAccess access(entry);
    if (!access) return access.GetOutcome();
    start = std::max<int64_t>(start, 0);
    end = std::min(end, access.EditedLength());
    if (end - start <= splice_length) return Outcome::Fail(Kind::Refused, Msg::SelectionTooShortToCut);
    // More goes than was selected: the splice, and what lies between the new cut and others near to it.
    CutList after;
    for (const CutAndSpliceCorrection& cut : entry.decided.cuts) after.Append(new CutAndSpliceCorrection(cut));
    CutAndSpliceCorrection& cut = *after.Add(start, end, splice_length, entry.SampleRate());
    const int64_t shift = entry.decided.cuts.TotalLength() - after.TotalLength();
    const auto follow = [&](simple_vector<ALBUMTRACK>& tracks, const RecordingOnAlbum& recording, int64_t length) {
        return FollowCut(tracks, recording, entry.decided.cuts, length, cut);
    };
    return ChangeCuts<UndoCut>(entry, access, shift, description, follow, [&] { entry.decided.cuts.Swap(after); });
}

}  // namespace

Outcome CutSelection(FileHistoryEntry& entry, int64_t start, int64_t end, int32_t splice_ms) {
    return Cut(entry, start, end, MulDiv(splice_ms, entry.SampleRate(), 1000) & ~1, Msg::CutSelection);
}

Outcome TruncateRecording(FileHistoryEntry& entry, int64_t position) {
    return Cut(entry, position, INT64_MAX, 0, Msg::TruncateRecording);
}

Outcome DeleteCut(FileHistoryEntry& entry, CutAndSpliceCorrection& cut) {
    const EditAccess access(entry);
    if (!access) return access.GetOutcome();
    const auto follow = [&](simple_vector<ALBUMTRACK>& tracks, const RecordingOnAlbum& recording, int64_t length) {
        FollowDeletedCut(tracks, recording, entry.decided.cuts, length, cut);
        return -1;
    };
    return ChangeCuts<UndoDeleteCut>(entry, access, cut.Length(), Msg::DeleteCut, follow,
                                     [&] { entry.decided.cuts.Take(&cut); });
}

}  // namespace Orvane
