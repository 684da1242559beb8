// The drawing of an album: its recordings end to end on one time line.
#pragma once

#include <memory>
#include <vector>

#include "collection/recordingplaces.h"
#include "waveform/waveformreader.h"

namespace Orvane {

// Views are in ticks of 1/44100 s of the album's time line, from which the cuts are taken out. Threads as with
// WaveformReader, with one Read at a time. The album outlives it.
class AlbumWaveform {
public:
    explicit AlbumWaveform(AlbumInfo& album) : album(album) {}

    // Opens the recordings in use and finds their places. To be called again when the recordings or their cuts have
    // changed; those that are open stay so. A recording that cannot be opened is silence, and the first such failure is
    // the outcome. Main thread, while no Read runs.
    Foundation::Outcome Open();

    // A column in which one recording ends and the next begins shows both. What the view says of cuts does not count.
    Foundation::Outcome Read(const WaveformView& view, WaveformPicture& picture);

private:
    struct Part {
        RecordingPlace place;
        std::unique_ptr<WaveformReader> reader;
    };
    Foundation::Outcome ReadPart(const Part& part, const WaveformView& view, WaveformPicture& picture);

    AlbumInfo& album;
    std::vector<Part> parts;
    WaveformPicture of_part;
};

}  // namespace Orvane
