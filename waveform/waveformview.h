// What a drawing shows of a recording, and where on it: the map between frames and columns of pixels.
#pragma once

#include <cmath>
#include <cstdint>

namespace Orvane {

enum class WaveformAudio {
    Uncorrected,
    Corrected,   // with click repairs and patches; filters are never drawn
    Difference,  // what the repairs and patches took away
};

enum class WaveformCuts {
    Removed,  // positions are those of the edited timeline; a cut is a place
    InPlace,  // positions are those of the file; a cut is a stretch
};

// Positions are frames at the recording's own rate. They may lie before the recording and behind its end, and between
// two frames. A column begins at a multiple of the zoom from the origin, so that a view that is scrolled by whole
// columns, with another first_column and all else alike, shows the same columns to the last bit.
struct WaveformView {
    double origin = 0;             // a position at which a column begins
    double frames_per_column = 1;  // the zoom, above 0
    int64_t first_column = 0;      // columns from the origin to the left edge; may be below 0
    int32_t width = 0;             // columns
    WaveformAudio audio = WaveformAudio::Uncorrected;
    WaveformCuts cuts = WaveformCuts::Removed;

    // All of a stretch.
    static WaveformView Over(int64_t first, int64_t n_samples, int32_t width) {
        return {static_cast<double>(first), static_cast<double>(n_samples) / width, 0, width};
    }

    // Where a column begins.
    double PositionOf(int64_t column) const {
        return origin + static_cast<double>(first_column + column) * frames_per_column;
    }
    // The place of a position in columns from the left edge.
    double XOf(double position) const {
        return (position - origin) / frames_per_column - static_cast<double>(first_column);
    }
};

}  // namespace Orvane
