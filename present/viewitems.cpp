#include "present/viewitems.h"

#include <algorithm>
#include <cmath>

using namespace Foundation;

namespace Orvane {
namespace {

// The lowest goes first among equally near ones.
int Rank(ViewItemKind kind) {
    switch (kind) {
        case ViewItemKind::SelectionEdge:
            return 0;
        case ViewItemKind::TrackStart:
        case ViewItemKind::TrackEnd:
            return 1;
        case ViewItemKind::FadeInStart:
        case ViewItemKind::FadeOutEnd:
            return 2;
        case ViewItemKind::Repair:
            return 3;
        case ViewItemKind::Marker:
            return 4;
        case ViewItemKind::Cut:
            return 5;
    }
    return 6;
}

void Add(ViewItem item, const WaveformView& view, std::vector<ViewItem>& items) {
    if (item.right >= -kHalfFlag && item.left <= view.width + kHalfFlag) items.push_back(item);
}

// One thing that a pointer may mean, and how far from it the pointer is.
struct Candidate {
    ViewHit hit;
    double distance;
};

bool IsBetter(const Candidate& a, const Candidate& b) {
    if (a.distance != b.distance) return a.distance < b.distance;
    return Rank(a.hit.item.kind) < Rank(b.hit.item.kind);
}

}  // namespace

int ViewLanes::ChannelsAt(double y) const {
    if (y >= left_top && y < left_bottom) return CHANNEL_LEFT;
    if (y >= right_top && y < right_bottom) return CHANNEL_RIGHT;
    return CHANNELS_BOTH;
}

void AddTracks(const TrackList& tracks, const WaveformView& view, std::vector<ViewItem>& items) {
    const auto add = [&](ViewItemKind kind, int index, int64_t position, bool joined = false) {
        const double x = view.XOf(static_cast<double>(position));
        Add({kind, index, x, x, CHANNELS_BOTH, joined}, view, items);
    };
    const int n_set = FirstUnsetTrack(tracks);
    for (int i = 0; i < n_set; ++i) {
        const ALBUMTRACK& track = tracks[i];
        if (track.FadeIn() > 0) add(ViewItemKind::FadeInStart, i, track.FadeStart());
        const bool after_joined = i > 0 && tracks[i - 1].end == track.start;
        if (!after_joined) add(ViewItemKind::TrackStart, i, track.start);
        add(ViewItemKind::TrackEnd, i, track.end, i + 1 < n_set && tracks[i + 1].start == track.end);
        if (track.FadeOut() > 0) add(ViewItemKind::FadeOutEnd, i, track.FadeEnd());
    }
}

void AddRepairs(const CorrectionRows& rows, const CutList& cuts, const WaveformView& view,
                std::vector<ViewItem>& items) {
    const auto x_of = [&](int64_t frame) {
        return view.XOf(static_cast<double>(view.cuts == WaveformCuts::InPlace ? frame : cuts.ToEdited(frame)));
    };
    const std::vector<CorrectionRow>& all = rows.Rows();
    // They are in the order of their middles, and none reaches further from its middle than this.
    const int64_t reach = rows.Longest() / 2 + 1;
    const auto first = std::partition_point(
        all.begin(), all.end(), [&](const CorrectionRow& row) { return x_of(row.Middle() + reach) < -kHalfFlag; });
    for (auto row = first; row != all.end() && x_of(row->Middle() - reach) <= view.width + kHalfFlag; ++row) {
        Add({ViewItemKind::Repair, static_cast<int>(row - all.begin()), x_of(row->start), x_of(row->end),
             row->channels},
            view, items);
    }
}

void AddCuts(const WaveformPicture& picture, std::vector<ViewItem>& items) {
    for (size_t i = 0; i < picture.cuts.size(); ++i) {
        items.push_back({ViewItemKind::Cut, static_cast<int>(i), picture.cuts[i].left, picture.cuts[i].right});
    }
}

void AddMarkers(const LinkedList<MarkerCorrection>& markers, const WaveformView& view, std::vector<ViewItem>& items) {
    int index = 0;
    for (const MarkerCorrection& marker : markers) {
        const bool in_place = view.cuts == WaveformCuts::InPlace;
        const double x = view.XOf(static_cast<double>(in_place ? marker.absolute_start_time : marker.start_time));
        Add({ViewItemKind::Marker, index++, x, x}, view, items);
    }
}

void AddSelection(double start, double end, const WaveformView& view, std::vector<ViewItem>& items) {
    const double left = view.XOf(start), right = view.XOf(end);
    Add({ViewItemKind::SelectionEdge, 0, left, left}, view, items);
    Add({ViewItemKind::SelectionEdge, 1, right, right}, view, items);
}

std::optional<ViewHit> HitTest(std::span<const ViewItem> items, const ViewLanes& lanes, double x, double y) {
    const bool in_flags = y >= lanes.flags_top && y < lanes.flags_bottom;
    const int channels = lanes.ChannelsAt(y);
    std::optional<Candidate> nearest;
    std::optional<ViewHit> around;
    const auto consider = [&](const ViewItem& item, ViewEdge edge, bool both, double distance, double reach) {
        const Candidate candidate{{item, edge, both}, distance};
        if (distance <= reach && (!nearest || IsBetter(candidate, *nearest))) nearest = candidate;
    };
    for (const ViewItem& item : items) {
        if (!(item.channels & channels)) continue;
        const double width = item.right - item.left;
        const bool is_break = item.kind == ViewItemKind::TrackStart || item.kind == ViewItemKind::TrackEnd;
        if (width == 0) {
            const bool left_half = in_flags && x < item.left;
            consider(item, ViewEdge::Place, item.joined && !left_half, std::abs(x - item.left),
                     is_break && in_flags ? kHalfFlag : kWidestHit);
            continue;
        }
        if (item.kind == ViewItemKind::Repair && width >= kLeastForEdges) {
            consider(item, ViewEdge::Start, false, std::abs(x - item.left), kWidestHit);
            consider(item, ViewEdge::End, false, std::abs(x - item.right), kWidestHit);
        } else if (item.kind == ViewItemKind::Repair) {
            const double distance = std::max({item.left - x, x - item.right, 0.0});
            consider(item, ViewEdge::Inside, false, distance, kWidestHit);
        }
        const bool inside = x >= item.left && x < item.right;
        if (inside && (!around || width < around->item.right - around->item.left)) {
            around = ViewHit{item, ViewEdge::Inside, false};
        }
    }
    return nearest ? std::optional(nearest->hit) : around;
}

}  // namespace Orvane
