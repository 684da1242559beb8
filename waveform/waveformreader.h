// The drawing of a recording as numbers: the extremes of both channels for each column of pixels, at any zoom.
#pragma once

#include <vector>

#include "cleanup/chain/audiofilter.h"
#include "collection/filehistory.h"
#include "foundation/event.h"
#include "waveform/waveformwriter.h"

namespace Orvane {

// A stretch of the recording's edited timeline, in frames at its own rate. What lies behind the end is drawn as
// silence.
struct WaveformView {
    int64_t first = 0;
    int64_t n_samples = 0;
    int32_t width = 0;       // columns
    bool corrected = false;  // with click repairs and patches; filters are never drawn
};

enum class WaveformResult {
    Drawn,
    NotReady,  // the waveform is missing or stale and has been requested
    Failed,    // a file cannot be opened or read, which has been shown
};

// Keeps the files that it needs open between calls, so there is one for a drawing and only one for a recording at a
// time. Files that are made anew are opened anew; the closing of the album or the collection closes them all, until the
// next call. Main thread; the entry outlives it.
class WaveformReader {
public:
    explicit WaveformReader(FileHistoryEntry& entry);
    ~WaveformReader();
    WaveformReader(const WaveformReader&) = delete;
    WaveformReader& operator=(const WaveformReader&) = delete;

    // Fills `columns`, one for each pixel; there are none if they cannot be drawn. Above 64 frames a column they are
    // made of whole blocks, so that an edge can be off by one of them, and where cuts join by a column. In the
    // corrected view a block that holds a repair is held to the repair's own extremes, which is right for short blocks
    // and too narrow for long ones.
    WaveformResult Read(const WaveformView& view, std::vector<WaveformRecord>& columns);

private:
    // The blocks of one column.
    struct Stretch {
        int64_t first;
        int32_t n;
    };
    struct Level {
        const char* extension;
        int32_t block;  // frames a record
        Foundation::FilePtr file;
    };
    static intptr_t OnProgress(void* context, int, Foundation::EventArg, Foundation::EventArg ended,
                               Foundation::EventArg);
    static intptr_t OnClosing(void* context, int, Foundation::EventArg closing, Foundation::EventArg,
                              Foundation::EventArg);

    void CloseAudio();
    void CloseLevels();
    WaveformResult OpenFresh(Level& level, Level& sibling_1, Level& sibling_2);
    WaveformResult ReadFile(const Level& level, const WaveformView& view, std::vector<WaveformRecord>& columns);
    WaveformResult ReadAudio(const WaveformView& view, std::vector<WaveformRecord>& columns);
    std::vector<Stretch> StretchesOf(const WaveformView& view, int32_t block, bool passes_cuts) const;
    bool ReadBlocks(const Level& level, Stretch wanted, bool corrected);
    void Correct(int channel, Stretch wanted, int32_t block);

    FileHistoryEntry& entry;
    Level wfs_file{".wfs", kWfsBlock, {}};
    Level wfo_file{".wfo", kWfoBlock, {}};
    Level wfd_file{".wfd", kWfdBlock, {}};
    Foundation::RefPtr<FileToPCM> audio;  // null until a zoom needs it
    std::vector<WaveformRecord> records;
    std::vector<float> pairs;
};

}  // namespace Orvane
