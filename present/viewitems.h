// What stands in a view of a waveform besides the wave: breaks, faders, repairs, cuts, markers, the selection. One list
// says where each is drawn and what a pointer is over. Pure: places in, places out.
//
// Places are columns of the view from its left edge (WaveformView::XOf) and rows of pixels from the top. The position
// of a view is in ticks where it shows an album, and in frames where it shows a recording.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "cleanup/edit/editaccess.h"
#include "present/correctionrows.h"
#include "split/trackbreaks.h"
#include "waveform/waveformreader.h"

namespace Orvane {

// The two track edges have the numbers that the deletion of a break takes.
enum class ViewItemKind {
    TrackStart = 100,
    TrackEnd = 101,
    FadeInStart,  // where the fade before a track begins; dragging it sets the length
    FadeOutEnd,   // where the fade behind a track ends
    Cut,
    Marker,
    Repair,
    SelectionEdge,
};

struct ViewItem {
    ViewItemKind kind;
    int index;                     // of the track, row, cut or marker; of the selection 0 is the start and 1 the end
    double left, right;            // the same for what is a place
    int channels = CHANNELS_BOTH;  // in whose lanes it stands
    bool joined = false;           // of a TrackEnd: the next track starts there
};

// The parts of a view from the top: a strip for flags, then a lane for each channel. Bottoms belong to what is below.
struct ViewLanes {
    double flags_top = 0, flags_bottom = 0;
    double left_top = 0, left_bottom = 0;
    double right_top = 0, right_bottom = 0;

    // The channel whose lane holds a row of pixels, as a bit; both elsewhere.
    int ChannelsAt(double y) const;
};

enum class ViewEdge { Place, Start, End, Inside };

struct ViewHit {
    ViewItem item;
    // Of a repair which edge, or its inside; of a cut shown in place its inside. Place for all others.
    ViewEdge edge = ViewEdge::Place;
    // Of a TrackEnd: the start of the next track moves along. In the strip of flags the half on the left is that of the
    // end alone.
    bool both = false;
};

inline constexpr double kWidestHit = 6;      // columns from a place that count as it
inline constexpr double kLeastForEdges = 8;  // columns a repair is wide at least for its edges to be dragged
inline constexpr double kHalfFlag = 12;      // columns of a break's flag to each side of it

// What of these touches the view, in order. Unset tracks have no places.
void AddTracks(const TrackList& tracks, const WaveformView& view, std::vector<ViewItem>& items);
void AddRepairs(const CorrectionRows& rows, const CutList& cuts, const WaveformView& view,
                std::vector<ViewItem>& items);
// Indexes are those of the picture.
void AddCuts(const WaveformPicture& picture, std::vector<ViewItem>& items);
void AddMarkers(const Foundation::LinkedList<MarkerCorrection>& markers, const WaveformView& view,
                std::vector<ViewItem>& items);
void AddSelection(double start, double end, const WaveformView& view, std::vector<ViewItem>& items);

// What the pointer is over. The nearest place or edge within kWidestHit counts; of several equally near the first of:
// the selection's, a break's, a fader's, a repair's, a marker's, a cut's. Where there is none it is the inside of the
// narrowest item that the pointer is in.
std::optional<ViewHit> HitTest(std::span<const ViewItem> items, const ViewLanes& lanes, double x, double y);

}  // namespace Orvane
