// One track break for a dialog: the pair of faders at it, and the close view of it. Pure; what the user does with them
// goes through SplitDialog, whose rules and undo they share.
#pragma once

#include <optional>
#include <string>

#include "split/trackbreaks.h"
#include "waveform/waveformview.h"

namespace Orvane {

inline constexpr int kShortestFaderHundredths = 10, kLongestFaderHundredths = 2000;

// A fader as a check box with a length beside it.
struct FaderControl {
    int track;  // with `fader`, what SplitDialog wants
    Fader fader;
    std::string label;  // with a mnemonic
    bool on;
    int hundredths;  // of a second, held to the bounds above; of one that is off the length that it would have
};

// The fade out of the track before a break and the fade in of the track behind it. One is missing where there is no
// such track, or it has no times.
struct FaderPair {
    std::optional<FaderControl> out, in;
};

// The break at the end of a track, or with -1 that at the start of the first.
FaderPair FadersAt(const TrackList& tracks, int track);

enum class TrackEdge { Start, End };

// The close view of the start or the end of a real track.
struct ZoomedBreak {
    std::string title;  // in mark-up
    int64_t position;   // ticks
    WaveformView view;  // of the album's time line, in ticks, with the break in its middle
};

// `seconds` are what the view shows, in `width` columns.
ZoomedBreak ZoomBreak(const TrackList& tracks, int track, TrackEdge edge, double seconds, int32_t width);

}  // namespace Orvane
