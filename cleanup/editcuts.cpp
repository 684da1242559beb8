#include "cleanup/editcuts.h"

#include <algorithm>

#include "cleanup/undo_corrections.h"
#include "foundation/host.h"
#include "foundation/messages.h"

namespace Orvane {
namespace {

bool Cut(FileHistoryEntry& entry, int64_t start, int64_t end, int32_t splice_length, Msg description) {
    const EditAccess access(entry);
    if (!access) return false;
    start = std::max<int64_t>(start, 0);
    end = std::min(end, access.EditedLength());
    if (end - start <= splice_length) {
        ShowMessage(FormatMessage(Msg::SelectionTooShortToCut), Severity::Information);
        return false;
    }
    auto undo = std::make_unique<UndoCut>(entry, FormatMessage(description));
    {
        const TimelineChange change(entry);
        entry.cuts.Add(start, end, splice_length, entry.SampleRate());
    }
    AddUndo(std::move(undo));
    return true;
}

}  // namespace

bool CutSelection(FileHistoryEntry& entry, int64_t start, int64_t end, int32_t splice_ms) {
    return Cut(entry, start, end, MulDiv(splice_ms, entry.SampleRate(), 1000) & ~1, Msg::CutSelection);
}

bool TruncateRecording(FileHistoryEntry& entry, int64_t position) {
    return Cut(entry, position, INT64_MAX, 0, Msg::TruncateRecording);
}

bool DeleteCut(FileHistoryEntry& entry, CutAndSpliceCorrection& cut) {
    const EditAccess access(entry);
    if (!access) return false;
    auto undo = std::make_unique<UndoDeleteCut>(entry, FormatMessage(Msg::DeleteCut));
    {
        const TimelineChange change(entry);
        entry.cuts.Take(&cut);
    }
    AddUndo(std::move(undo));
    return true;
}

}  // namespace Orvane
