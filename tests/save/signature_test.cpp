// What makes a saved track stale.
#include "save/signature.h"

#include <gtest/gtest.h>

#include "foundation/settings.h"
#include "recorded_side.h"
#include "repairs.h"
#include "save/heldrepairs.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int kTrack = 44100;  // frames, and ticks: a second

// Tracks of a second each: two on the first side, which is three seconds long, and one on the second.
class Signature : public testing::Test {
protected:
    Signature() {
        EXPECT_TRUE(OpenSettings(recorded.folder / "config"));
        settings.options = FileOptions::Load(OptionsContext::SaveTracks);
        for (int i = 0; i < 3; ++i) {
            ALBUMTRACK track;
            track.start = (i < 2 ? i : 3) * kTrack;
            track.end = track.start + kTrack;
            album.tracks.push_back(track);
        }
    }

    // Takes the second half of the first second out of the first side, and the one behind it, with a cross-fade of 20
    // frames round the cut.
    CutAndSpliceCorrection& AddCut() {
        CutAndSpliceCorrection& cut = *side1.decided.cuts.Add(kTrack / 2, kTrack * 3 / 2, 0, kTicksPerSecond);
        cut.splice_length = 20;
        album.tracks[2].start -= kTrack;
        album.tracks[2].end -= kTrack;
        return cut;
    }

    std::vector<std::string> OfAll() {
        const int tracks[] = {0, 1, 2};
        const HeldRepairs repairs(album, tracks, SaveFlags(settings.options));
        std::vector<std::string> signatures;
        for (const int track : tracks)
            signatures.push_back(TrackFileSignature(album, track, repairs.Places(), settings));
        return signatures;
    }

    // The numbers of the tracks that a change makes stale.
    template <class Change>
    std::string StaleAfter(const Change& change) {
        const std::vector<std::string> before = OfAll();
        change();
        const std::vector<std::string> after = OfAll();
        std::string stale;
        for (size_t i = 0; i < 3; ++i) stale += before[i] == after[i] ? "" : std::to_string(i + 1);
        return stale;
    }
    template <class Field>
    std::string StaleAfterMore(Field& field) {
        return StaleAfter([&] { field = field + Field(1); });
    }

    OrvaneTest::RecordedAlbum recorded;
    AlbumInfo& album = *recorded.album;
    FileHistoryEntry& side1 = recorded.AddSide(std::vector<float>(2 * 3 * kTrack, 0.1f));
    FileHistoryEntry& side2 = recorded.AddSide(std::vector<float>(2 * kTrack, 0.1f));
    SaveSettings settings;
};

TEST_F(Signature, NoFieldOfWhatIsHeardIsForgotten) {
    CutAndSpliceCorrection& cut = AddCut();
    auto* filter = new FilterSetting;
    side1.decided.filters.Append(filter);
    auto* eq = new FFTEq;
    eq->curve.points = {{100, 1}, {1000, 2}};
    side1.decided.fft_eqs.Append(eq);

    // A field that is new here makes these lines fail to compile.
    auto& [hiss_mode, hiss_reduction, hiss_quality, hum_mode, mains_frequency, rumble_mode, eq_mode, preamp_left,
           preamp_right, bands, dc_offset_only, filter_harmonics] = filter->values;
    for (int32_t* field : {&hiss_mode, &hiss_reduction, &hiss_quality, &hum_mode, &mains_frequency, &rumble_mode,
                           &eq_mode, &preamp_left, &preamp_right, &dc_offset_only, &filter_harmonics}) {
        EXPECT_EQ(StaleAfterMore(*field), "12") << field - &hiss_mode;
    }
    for (int32_t& band : bands) EXPECT_EQ(StaleAfterMore(band), "12") << &band - &bands[0];
    auto& [interpolation, curve_name, points, axis_max, axis_min, preserve_level, dirty] = eq->curve;
    EXPECT_EQ(StaleAfterMore(points[1].freq), "12");
    EXPECT_EQ(StaleAfterMore(points[0].gain), "12");
    EXPECT_EQ(StaleAfter([&] { points.pop_back(); }), "12");
    EXPECT_EQ(StaleAfter([&] { preserve_level = true; }), "12");
    for (int32_t* field : {&eq->enable, &eq->gain}) EXPECT_EQ(StaleAfterMore(*field), "12");
    for (BaseGenericFilterSetting* setting :
         {static_cast<BaseGenericFilterSetting*>(filter), static_cast<BaseGenericFilterSetting*>(eq)}) {
        EXPECT_EQ(StaleAfterMore(setting->absolute_start_time), "12");
        EXPECT_EQ(StaleAfterMore(setting->absolute_end_time), "12");
        EXPECT_EQ(StaleAfter([&] { setting->name = setting->preset = "not heard"; }), "");
    }
    EXPECT_EQ(StaleAfterMore(cut.splice_length), "12");
    EXPECT_EQ(StaleAfterMore(cut.end_time), "123") << "what lies behind it has moved";
    EXPECT_EQ(StaleAfter([&] { ++cut.start_time, ++cut.end_time; }), "12");
    EXPECT_EQ(StaleAfter([&] { side1.decided.swap_channels = true; }), "12");
    EXPECT_EQ(StaleAfter([&] { album.tracks[0].title = "New"; }), "1");
    EXPECT_EQ(StaleAfter([&] { album.channel_mode = CHANNELS_MONO; }), "123");
    settings.options.save_corrections = false;
    EXPECT_EQ(StaleAfterMore(preamp_left), "");
}

TEST_F(Signature, WhatFiltersFindOutsideOfTheirRecordCounts) {
    auto* filter = new FilterSetting;
    side1.decided.filters.Append(filter);
    for (const int own : {60, -1}) {
        filter->values = {.hum_mode = FILTER_ON, .mains_frequency = own, .filter_harmonics = own};
        const char* stale = own < 0 ? "12" : "";
        EXPECT_EQ(StaleAfter([&] { SetSetting("Mains Frequency", 50 + own); }), stale);
        EXPECT_EQ(StaleAfter([&] { SetSetting("Filter Harmonics", own < 0); }), stale);
    }
    side1.decided.noise_stretch.end = 20000;
    EXPECT_EQ(StaleAfterMore(side1.decided.noise_stretch.start), "") << "nothing takes hiss away";
    filter->values = {.hiss_mode = FILTER_ON};
    FrameRange& noise = side1.decided.noise_stretch;
    for (int64_t* end : {&noise.start, &noise.end}) EXPECT_EQ(StaleAfterMore(*end), "12");
    Result<OpenRecording> open = side1.Open(USER_EDIT);
    EXPECT_EQ(
        StaleAfter([&] { side1.click_repairs[0].Append(OrvaneTest::MakeRepair(REPAIR_MANUAL, 100, {1}).release()); }),
        "12")
        << "a repair in the noise that is measured";
    open->Close();
    filter->extra = recorded.folder.Write("room.vns", "noise");
    EXPECT_EQ(StaleAfter([&] { recorded.folder.Write("room.vns", "other noise"); }), "12");
    EXPECT_EQ(StaleAfterMore(side1.decided.noise_stretch.start), "");
}

TEST_F(Signature, ARepairCountsForTheTracksInWhichItIsHeard) {
    AddCut();
    album.tracks[0].end = kTrack / 2 + 5;
    album.tracks[0].fade_out = 4;
    album.tracks[0].filter_flags = TRACK_FADE_OUT;
    album.tracks[1].start = kTrack / 2 + 20;
    Result<OpenRecording> open = side1.Open(USER_EDIT);
    ASSERT_TRUE(side1.LoadCorrections());
    const struct {
        int64_t start;
        const char* stale;
    } rows[] = {
        {0, "1"},
        {kTrack / 2, "1"},          // the near side of the cross-fade
        {kTrack * 3 / 2 + 8, "1"},  // its far side: the last frame of the first track with its fade
        {kTrack * 3 / 2 + 9, ""},   // between the tracks
        {kTrack * 3 / 2 + 20, "2"},
        {3 * kTrack - 1, "2"},
    };
    for (const auto& row : rows) {
        for (ClickRepairList& list : side1.click_repairs) {
            auto* repair = OrvaneTest::MakeRepair(REPAIR_MANUAL, row.start, {5}).release();
            EXPECT_EQ(StaleAfter([&] { list.Append(repair); }), row.stale) << row.start;
            EXPECT_EQ(StaleAfter([&] { list.Delete(repair); }), row.stale) << row.start;
        }
    }
    // No field of a repair is forgotten.
    auto* repair = OrvaneTest::MakeRepair(REPAIR_MANUAL, 1000, {5, 6}).release();
    side1.click_repairs[0].Append(repair);
    EXPECT_EQ(StaleAfterMore(repair->repair_type), "1");
    EXPECT_EQ(StaleAfterMore(repair->cross_fade), "1");
    const int16_t other_sample[] = {7};
    EXPECT_EQ(StaleAfter([&] { repair->WriteInside(1001, other_sample); }), "1");
    EXPECT_EQ(StaleAfter([&] { repair->TrimEnd(1); }), "1");
    EXPECT_EQ(StaleAfter([&] { repair->repair_type = REPAIR_RECOMPUTED; }), "1") << "it is not heard for now";
    open->Close();
}

}  // namespace
}  // namespace Orvane
