// The picture of a side: its waveform with the tracks that were found in it, their breaks and faders, over time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "draw/canvas.h"
#include "waveform/waveformwriter.h"

namespace Orvane {

// All times are ticks of 1/44100 s on the side's own time line, its cuts taken out.
struct PicturedTrack {
    std::string number;
    std::string title;
    int64_t start = 0;
    int64_t end = 0;
    int32_t fade_in = 0;   // before the start
    int32_t fade_out = 0;  // behind the end
};

struct SidePicture {
    std::string title;   // of the whole, on the left
    std::string format;  // of the recording, on the right
    int64_t from = 0;    // what is shown
    int64_t to = 0;
    int64_t album_start = 0;  // where the side begins on the album's time line, which has a scale of its own then
    std::vector<WaveformRecord> columns;  // as many as ColumnsIn
    std::vector<PicturedTrack> tracks;    // in order; may lie outside
    std::vector<int64_t> cuts;            // where something was taken out
};

inline constexpr int kLeastPictureWidth = 400;
inline constexpr int kGreatestPictureWidth = 20000;

// How many columns of the waveform a picture of a width has.
int ColumnsIn(int picture_width);

Canvas DrawSide(const SidePicture& side);

}  // namespace Orvane
