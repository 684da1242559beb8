// The click repairs of a recording as one list for a window: both channels, in the order of their midpoints.
#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "cleanup/edit/editaccess.h"
#include "cleanup/repair/shownclicks.h"
#include "collection/filehistory.h"
#include "foundation/event.h"
#include "waveform/waveformview.h"

namespace Orvane {

// A repair or a marker; a stereo patch, which stands in both lists, is one row. Times are frames in the file.
struct CorrectionRow {
    int channels;  // bits, see Channels
    int16_t repair_type;
    int64_t start, end;

    bool operator==(const CorrectionRow&) const = default;
    int64_t Length() const { return end - start; }
    int64_t Middle() const { return (start + end) / 2; }
};

// A stretch of the edited timeline, in frames.
struct CorrectionStretch {
    int64_t start, end;
};

// Main thread; the lists may change on another one. The recording outlives it.
class CorrectionRows {
public:
    explicit CorrectionRows(FileHistoryEntry& entry);
    ~CorrectionRows();
    CorrectionRows(const CorrectionRows&) = delete;
    CorrectionRows& operator=(const CorrectionRows&) = delete;

    // Takes the rows anew if the lists have changed, or other ones are to be shown, since the last time. True if it
    // did.
    bool Refresh(const ShownClicks& shown);
    const std::vector<CorrectionRow>& Rows() const { return rows; }
    int64_t Longest() const { return longest; }  // frames of the longest row

    // The row that covers a frame of the file in one of `channels`, or else the nearest within `tolerance` frames.
    std::optional<int> RowAt(int64_t frame, int channels, int64_t tolerance) const;
    // What a view should show of a row: at least 200 frames, and the row's own length, to each side of its middle.
    CorrectionStretch StretchToShow(int row) const;
    // What is selected by choosing the rows from one to the other: from the start of the first to the end of the last.
    CorrectionStretch Selection(int from, int to) const;

    // Repairs and patches, and how much of the recording they replaced, with both channels of a patch counting once.
    // Rows that are not shown count too.
    int RepairCount() const { return n_repairs; }
    int64_t RepairedFrames() const { return n_repaired_frames; }
    // Per minute of the recording, without what is cut out.
    double RepairsPerMinute() const;

    // The columns of a row: minutes, seconds and milliseconds on the edited timeline; "L", "R" or "L+R"; the width in
    // frames; what it is.
    std::string TimeText(int row) const;
    std::string ChannelText(int row) const;
    std::string WidthText(int row) const;
    std::string WhatText(int row) const;

private:
    static intptr_t OnChange(void* context, int, Foundation::EventArg list, Foundation::EventArg, Foundation::EventArg);

    FileHistoryEntry& entry;
    std::atomic<bool> stale{true};
    ShownClicks shown;
    std::vector<CorrectionRow> rows;
    int n_repairs = 0;
    int64_t n_repaired_frames = 0;
    int64_t longest = 0;
};

}  // namespace Orvane
