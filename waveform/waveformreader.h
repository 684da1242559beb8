// The drawing of a recording as numbers: the extremes of both channels for each column of pixels at any zoom, and the
// samples themselves where a column is less than a frame.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "cleanup/chain/audiofilter.h"
#include "collection/filehistory.h"
#include "foundation/criticalsection.h"
#include "foundation/event.h"
#include "foundation/outcome.h"
#include "waveform/waveformview.h"
#include "waveform/waveformwriter.h"

namespace Orvane {

// A frame and its place in columns from the left edge of the view.
struct WaveformSample {
    float x;
    float left, right;  // full scale 1.0

    bool operator==(const WaveformSample&) const = default;
};

// A cut in the view. Where cuts are removed it is the place `left`; where they are shown it goes on to `right`.
struct WaveformCut {
    double left, right;  // columns from the left edge of the view; may lie outside of it
    int64_t start_time;  // names the cut: its place on the edited timeline
    int64_t n_frames;    // taken out
};

struct WaveformPicture {
    std::vector<WaveformRecord> columns;  // one for each of the view
    // Of a view below a frame a column: the frames in it, and one before and behind, so that lines reach the edges.
    std::vector<WaveformSample> samples;
    std::vector<WaveformCut> cuts;  // those that touch the view, in order
    // How many columns from the left are known. The others are waiting for waveform files, which are missing, stale, or
    // being made: RequestWaveformData has them made.
    int32_t n_known = 0;
};

// Keeps the files that it needs open, so there is one for a drawing; a recording may have several.
//
// It is made, opened and destroyed on the main thread, while no Read runs. Read may be called on any thread; calls on
// several threads take turns. It waits for files, but for the main thread only while that changes a list of
// corrections; the main thread waits for a Read that is under way when it closes the album or the collection. The entry
// outlives it.
class WaveformReader {
public:
    explicit WaveformReader(FileHistoryEntry& entry);
    ~WaveformReader();
    WaveformReader(const WaveformReader&) = delete;
    WaveformReader& operator=(const WaveformReader&) = delete;

    // Opens the recording with its corrections. Nothing is done when it is open. The closing of its album or the
    // collection closes it.
    Foundation::Outcome Open();

    // Draws, with silence outside of the recording. `picture` keeps its buffers from call to call; after a failure it
    // is empty. Refused while the reader is not open.
    //
    // Above 64 frames a column, columns are made of whole blocks: an edge is off by half a block at most. Behind a cut
    // that is removed the first column whose left edge lies there begins. In the corrected view a block that holds a
    // repair is held to the repair's own extremes, which is right for short blocks and too narrow for long ones; the
    // difference is that of the two ranges.
    Foundation::Outcome Read(const WaveformView& view, WaveformPicture& picture);

private:
    struct Level {
        const char* extension;
        int32_t block;  // frames a record
        Foundation::FilePtr file;
        int64_t n_records = 0;  // that are known to be there; the silence behind the end counts as known
    };
    struct Cut {
        int64_t start_time, absolute_start_time, n_frames;
    };
    // The blocks of a column, or of several that lie in one piece in the file.
    struct Blocks {
        int64_t first, end;
        int64_t Count() const { return end - first; }
    };
    static intptr_t OnProgress(void* context, int, Foundation::EventArg, Foundation::EventArg ended,
                               Foundation::EventArg);
    static intptr_t OnClosing(void* context, int, Foundation::EventArg closing, Foundation::EventArg,
                              Foundation::EventArg);

    void Close();
    void CloseLevels();
    void TakeCuts(const WaveformView& view, WaveformPicture& picture);
    Foundation::Outcome OpenLevel(Level& level);
    Foundation::Result<Level*> LevelFor(double frames_per_column);
    std::vector<Blocks> BlocksOf(const WaveformView& view, int32_t block) const;
    Foundation::Outcome ReadLevel(Level& level, const WaveformView& view, WaveformPicture& picture);
    Foundation::Outcome ReadRecords(const Level& level, Blocks wanted);
    void Correct(Blocks wanted, int32_t block, WaveformAudio audio);
    Foundation::Outcome ReadAudio(const WaveformView& view, WaveformPicture& picture);
    Foundation::Outcome ReadPairs(int64_t first, int64_t end, const WaveformView& view);

    FileHistoryEntry& entry;
    // Of everything below. Order of locks: it comes before that of the lists.
    Foundation::CriticalSection lock;
    std::string path;                     // of the recording
    Foundation::RefPtr<FileToPCM> chain;  // null while closed
    int64_t n_file_frames = 0;
    Level wfs_file{".wfs", kWfsBlock, {}};
    Level wfo_file{".wfo", kWfoBlock, {}};
    Level wfd_file{".wfd", kWfdBlock, {}};
    // Of the Read that runs, and kept for the next.
    std::vector<Cut> cuts;
    std::vector<WaveformRecord> records, corrected;
    std::vector<float> pairs, other_pairs;
};

}  // namespace Orvane
