#include "present/breakview.h"

#include <algorithm>

#include "collection/tracktime.h"
#include "foundation/assert.h"
#include "foundation/markup.h"
#include "foundation/messages.h"
#include "foundation/muldiv.h"
#include "foundation/settings.h"

using namespace Foundation;

namespace Orvane {
namespace {

// A name as part of a label, in which a single "&" would be the mnemonic's.
std::string InLabel(const std::string& name) {
    std::string text;
    for (const char c : name) text.append(c == '&' ? 2 : 1, c);
    return text;
}

FaderControl ControlOf(const TrackList& tracks, int track, Fader fader) {
    const ALBUMTRACK& t = tracks[track];
    const bool in = fader == Fader::In;
    int64_t length = in ? t.fade_in : t.fade_out;
    if (length == 0) length = DefaultFaderLength(fader);
    const auto hundredths = static_cast<int>(MulDiv64(length, 100, kTicksPerSecond));
    return {track, fader, FormatMsg(in ? Msg::FadeInLabel : Msg::FadeOutLabel, InLabel(t.title)),
            (t.filter_flags & (in ? TRACK_FADE_IN : TRACK_FADE_OUT)) != 0,
            std::clamp(hundredths, kShortestFaderHundredths, kLongestFaderHundredths)};
}

}  // namespace

FaderPair FadersAt(const TrackList& tracks, int track) {
    const int n_set = FirstUnsetTrack(tracks);
    FaderPair pair;
    if (track >= 0 && track < n_set) pair.out = ControlOf(tracks, track, Fader::Out);
    if (track + 1 >= 0 && track + 1 < n_set) pair.in = ControlOf(tracks, track + 1, Fader::In);
    return pair;
}

ZoomedBreak ZoomBreak(const TrackList& tracks, int track, TrackEdge edge, double seconds, int32_t width) {
    ORVANE_ASSERT(track >= 0 && track < FirstUnsetTrack(tracks));
    const ALBUMTRACK& t = tracks[track];
    ZoomedBreak zoomed;
    zoomed.position = edge == TrackEdge::Start ? t.start : t.end;
    zoomed.title = FormatMsg(Msg::ZoomTrackTitle, LiteralMarkup(t.title), FormatTime(zoomed.position));
    zoomed.view.width = width;
    zoomed.view.frames_per_column = seconds * kTicksPerSecond / width;
    zoomed.view.origin = static_cast<double>(zoomed.position) - zoomed.view.frames_per_column * width / 2;
    return zoomed;
}

}  // namespace Orvane
