// What lists and views show of repairs and breaks, what a pointer is over, and the editing of curves.
#include <gtest/gtest.h>

#include <set>

#include "audiosignals.h"
#include "collection/listchange.h"
#include "foundation/settings.h"
#include "present/breakview.h"
#include "present/correctionrows.h"
#include "present/curveedit.h"
#include "present/viewitems.h"
#include "repairs.h"
#include "temp_folder.h"

using namespace Foundation;

namespace Orvane {
namespace {

void AddRepairOf(FileHistoryEntry& entry, int channel, int16_t type, int64_t start, int length, bool twin = false) {
    auto repair = OrvaneTest::MakeRepair(type, start, std::vector<int16_t>(static_cast<size_t>(length), 5));
    if (twin) repair->wiggles = INT16_MIN;
    const ListChange change(&entry.click_repairs[channel]);
    entry.click_repairs[channel].Append(repair.release());
}

constexpr ShownClicks kAll{true, false};

TEST(CorrectionRows, BothListsByMidpointWithPatchesOnce) {
    FileHistoryEntry entry{nullptr, nullptr};
    CorrectionRows rows(entry);
    EXPECT_TRUE(rows.Refresh(kAll));
    EXPECT_FALSE(rows.Refresh(kAll)) << "nothing has changed";
    entry.facts.total_samples = 60 * 44100;
    AddRepairOf(entry, 0, REPAIR_SCANNER, 1000, 100);
    AddRepairOf(entry, 0, REPAIR_PATCH, 3000, 5000, true);
    AddRepairOf(entry, 0, REPAIR_PP, 20000, 200);
    AddRepairOf(entry, 1, REPAIR_MANUAL, 1020, 20);  // begins later and has its middle before
    AddRepairOf(entry, 1, REPAIR_PATCH, 3000, 5000, true);
    AddRepairOf(entry, 1, REPAIR_BP, 9000, 10);
    EXPECT_TRUE(rows.Refresh(kAll));
    const std::vector<CorrectionRow> wanted = {{CHANNEL_RIGHT, REPAIR_MANUAL, 1020, 1040},
                                               {CHANNEL_LEFT, REPAIR_SCANNER, 1000, 1100},
                                               {CHANNELS_BOTH, REPAIR_PATCH, 3000, 8000},
                                               {CHANNEL_RIGHT, REPAIR_BP, 9000, 9010},
                                               {CHANNEL_LEFT, REPAIR_PP, 20000, 20200}};
    EXPECT_EQ(rows.Rows(), wanted);
    EXPECT_EQ(rows.RepairCount(), 3);
    EXPECT_EQ(rows.RepairedFrames(), 5120);
    EXPECT_NEAR(rows.RepairsPerMinute(), 3, 1e-9);
    EXPECT_EQ(rows.WhatText(4) + rows.ChannelText(4) + rows.WidthText(4) + rows.TimeText(4),
              "PP left aloneL2000:00.454");

    // From the list to the view and back, with a cut before them.
    entry.decided.cuts.Add(2000, 2500, 0, 44100);
    EXPECT_EQ(rows.StretchToShow(3).start, 9005 - 500 - 200);
    EXPECT_EQ(rows.StretchToShow(2).end, 5500 - 500 + 5000) << "a long one with as much again";
    EXPECT_EQ(rows.Selection(4, 0).start, 1000) << "the second row begins first";
    EXPECT_EQ(rows.Selection(4, 0).end, 20200 - 500);
    struct Row {
        int64_t frame;
        int channels;
        int row;  // -1: none
    };
    for (const Row& row : {Row{1030, CHANNEL_LEFT, 1},
                           {1030, CHANNEL_RIGHT, 0},
                           {7999, CHANNEL_LEFT, 2},
                           {8990, 2, 3},
                           {8990, 1, -1},
                           {9030, 2, 3},
                           {9031, 2, -1},
                           {7990, CHANNELS_BOTH, 2},
                           {19980, 1, 4}}) {
        EXPECT_EQ(rows.RowAt(row.frame, row.channels, 21).value_or(-1), row.row) << row.frame;
    }
    EXPECT_TRUE(rows.Refresh({false, false})) << "patches alone";
    EXPECT_EQ(rows.Rows().size(), 1u);
    EXPECT_EQ(rows.RepairCount(), 3);
}

TrackList Tracks(std::initializer_list<std::pair<int, int>> seconds) {
    TrackList tracks;
    for (const auto& [start, end] : seconds) {
        ALBUMTRACK track;
        track.title = "A & B <b>";
        track.start = start * kTicksPerSecond;
        track.end = end * kTicksPerSecond;
        tracks.push_back(track);
    }
    return tracks;
}

constexpr ViewLanes kLanes{0, 20, 20, 120, 120, 220};

// What is hit as text: the kind's number, the index, the edge, and whether the next start moves along.
std::string Hit(const std::vector<ViewItem>& items, double x, double y) {
    const std::optional<ViewHit> hit = HitTest(items, kLanes, x, y);
    if (!hit) return "nothing";
    return std::to_string(static_cast<int>(hit->item.kind)) + " " + std::to_string(hit->item.index) + " " +
           std::to_string(static_cast<int>(hit->edge)) + (hit->both ? " both" : "");
}

TEST(HitTest, BreaksAndFadersAtAlbumScale) {
    TrackList tracks = Tracks({{5, 100}, {100, 200}, {210, 300}, {300, 300}});
    tracks[0].fade_out = 30 * kTicksPerSecond;
    tracks[2].fade_in = 5 * kTicksPerSecond;
    tracks[2].filter_flags = TRACK_FADE_IN;
    WaveformView view;  // a column a second, from 50 s on
    view.frames_per_column = kTicksPerSecond;
    view.first_column = 50;
    view.width = 300;
    std::vector<ViewItem> items;
    AddTracks(tracks, view, items);
    struct Row {
        double x, y;
        const char* hit;
    };
    for (const Row& row : {Row{50, 100, "101 0 0 both"},
                           {44, 100, "101 0 0 both"},
                           {43, 100, "nothing"},
                           {49, 10, "101 0 0"},
                           {38, 10, "101 0 0"},
                           {51, 10, "101 0 0 both"},
                           {37, 10, "nothing"},
                           {150, 10, "101 1 0"},
                           {154, 100, "102 2 0"},
                           {158, 100, "100 2 0"},
                           {80, 100, "nothing"},
                           {250, 200, "101 2 0"},
                           {-45, 100, "nothing"}}) {
        EXPECT_EQ(Hit(items, row.x, row.y), row.hit) << row.x << " " << row.y;
    }
}

TEST(HitTest, RepairsCutsAndMarkersInTheirLanes) {
    FileHistoryEntry entry{nullptr, nullptr};
    AddRepairOf(entry, 0, REPAIR_SCANNER, 1000, 20);
    AddRepairOf(entry, 0, REPAIR_PATCH, 2000, 4000, true);
    AddRepairOf(entry, 0, REPAIR_SCANNER, 7000, 3);
    AddRepairOf(entry, 1, REPAIR_PATCH, 2000, 4000, true);
    AddRepairOf(entry, 1, REPAIR_SCANNER, 8000, 40);
    auto* marker = new MarkerCorrection;
    marker->start_time = 6500;
    entry.decided.markers.Append(marker);
    CorrectionRows rows(entry);
    rows.Refresh(kAll);
    WaveformView view = WaveformView::Over(990, 8000, 8000);
    WaveformPicture picture;
    picture.cuts.push_back({6000, 6000, 6990, 500});
    std::vector<ViewItem> items;
    const auto fill = [&] {
        items.clear();
        AddRepairs(rows, entry.decided.cuts, view, items);
        AddCuts(picture, items);
        AddMarkers(entry.decided.markers, view, items);
        AddSelection(3000, 3500, view, items);
    };
    fill();
    struct Row {
        double x, y;
        const char* hit;
    };
    for (const Row& row : {Row{12, 50, "106 0 1"},
                           {28, 50, "106 0 2"},
                           {20, 50, "106 0 3"},
                           {12, 150, "nothing"},
                           {1500, 50, "106 1 3"},
                           {1500, 150, "106 1 3"},
                           {1012, 150, "106 1 1"},
                           {2011, 50, "107 0 0"},
                           {2511, 50, "107 1 0"},
                           {5512, 50, "105 0 0"},
                           {5997, 50, "104 0 0"},
                           {6008, 50, "106 2 3"},
                           {6008, 150, "nothing"},
                           {7030, 150, "106 3 3"}}) {
        EXPECT_EQ(Hit(items, row.x, row.y), row.hit) << row.x << " " << row.y;
    }
    picture.cuts[0].right = 6100;
    fill();
    EXPECT_EQ(Hit(items, 6050, 10), "104 0 3") << "the inside of a cut that is shown in place";

    // Of 10000 repairs those in sight, and no others.
    OrvaneTest::Noise noise(4);
    FileHistoryEntry many{nullptr, nullptr};
    for (int channel : {0, 1}) {
        for (int64_t at = 0; at < 1000000; at += 200)
            AddRepairOf(many, channel, REPAIR_PATCH, at, 1 + noise.Below(199));
    }
    CorrectionRows all(many);
    all.Refresh(kAll);
    for (int i = 0; i < 50; ++i) {
        view = WaveformView::Over(noise.Below(1000000), 1 + noise.Below(3000), 700);
        items.clear();
        AddRepairs(all, many.decided.cuts, view, items);
        std::set<int> found, wanted;
        for (const ViewItem& item : items) found.insert(item.index);
        for (size_t row = 0; row < all.Rows().size(); ++row) {
            const double left = view.XOf(static_cast<double>(all.Rows()[row].start));
            const double right = view.XOf(static_cast<double>(all.Rows()[row].end));
            if (right >= -kHalfFlag && left <= view.width + kHalfFlag) wanted.insert(static_cast<int>(row));
        }
        ASSERT_EQ(found, wanted) << i;
    }
}

TEST(BreakView, FadersOfABreakAndItsCloseView) {
    const OrvaneTest::TempFolder folder;
    ASSERT_TRUE(OpenSettings(folder.Path()).Ok());
    TrackList tracks = Tracks({{0, 100}, {110, 200}, {200, 200}});
    tracks[0].fade_out = kTicksPerSecond / 4;
    tracks[1].filter_flags = TRACK_FADE_IN;
    tracks[1].fade_in = 2;
    const FaderPair pair = FadersAt(tracks, 0);
    ASSERT_TRUE(pair.out && pair.in);
    EXPECT_EQ(pair.out->label, "Fade &out A && B <b>");
    EXPECT_FALSE(pair.out->on);
    EXPECT_EQ(pair.out->hundredths, 25);
    EXPECT_EQ(pair.in->track, 1);
    EXPECT_TRUE(pair.in->on);
    EXPECT_EQ(pair.in->hundredths, kShortestFaderHundredths);
    EXPECT_FALSE(FadersAt(tracks, 1).in) << "the track behind it has no times";
    EXPECT_FALSE(FadersAt(tracks, -1).out);
    EXPECT_EQ(FadersAt(tracks, -1).in->hundredths, 500) << "what switching it on would give";

    const ZoomedBreak zoomed = ZoomBreak(tracks, 1, TrackEdge::Start, 2.0, 1000);
    EXPECT_EQ(PlainText(zoomed.title), "A & B <b> (1:50.00000)");
    EXPECT_NEAR(zoomed.view.XOf(static_cast<double>(zoomed.position)), 500, 1e-6);
    EXPECT_NEAR(zoomed.view.PositionOf(1000) - zoomed.view.PositionOf(0), 2 * kTicksPerSecond, 1e-6);
}

TEST(CurveEdit, PointsStayInOrderAndOnTheAxis) {
    FFTCurve curve;
    curve.points = {{100, 0}, {1000, 3}, {5000, -3}};
    CurveEdit edit(curve);
    struct Row {
        int index;
        double frequency, gain;
        bool good;
    };
    for (const Row& row : {Row{1, 100, 0, false},
                           {1, 101, 0, true},
                           {1, 5000, 0, false},
                           {1, 4999, 30, true},
                           {1, 1000, 30.1, false},
                           {1, 1000, -31, false},
                           {0, 0, 0, false},
                           {0, -5, 0, false},
                           {2, 48000, 1, true},
                           {2, std::nan(""), 1, false},
                           {2, 5000, std::nan(""), false}}) {
        const CurveEdit before = edit;
        EXPECT_EQ(edit.SetPoint(row.index, row.frequency, row.gain).Ok(), row.good) << row.frequency << " " << row.gain;
        EXPECT_EQ(edit.Curve().SameAs(before.Curve()), !row.good);
    }
    const Outcome refused = edit.SetPoint(0, 6000, 0);
    EXPECT_EQ(refused.Plain(), "6000 Hz is out of order: the point must lie above 0 Hz and below 4999 Hz");
    EXPECT_EQ(*edit.InsertPoint(200, 1), 1);
    EXPECT_FALSE(edit.InsertPoint(200, 1).Ok()) << "there is one";
    EXPECT_EQ(*edit.InsertPoint(60000, 1), 4);
    edit.RemovePoint(4);
    for (const double frequency : {1.0, 300.0, 1e9}) {
        edit.DragPoint(1, frequency, 2 * frequency);
        EXPECT_TRUE(CheckCurve(edit.Curve()).Ok()) << frequency;
    }
    curve.points = {{100, 0}, {90, 0}};
    EXPECT_FALSE(CheckCurve(curve).Ok());
    EXPECT_EQ(CurveEdit(curve).DrawnLine(10).size(), 2u);
    curve.points = {{100, 1}, {200, 5}, {400, -3}, {1000, 2}, {5000, 0}, {9000, 4}};
    const std::vector<CurveDot> line = CurveEdit(curve).DrawnLine(10);
    ASSERT_EQ(line.size(), 51u);
    for (size_t i = 0; i < curve.points.size(); ++i) {
        EXPECT_NEAR(line[10 * i].frequency, static_cast<double>(curve.points[i].freq), 1e-3);
        EXPECT_NEAR(line[10 * i].gain, static_cast<double>(curve.points[i].gain), 1e-6);
    }
}

}  // namespace
}  // namespace Orvane
