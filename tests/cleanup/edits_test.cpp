// The list of repairs, the user's edits of corrections and their undoing.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <numbers>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

#include "cleanup/declick/scanforclicks.h"
#include "cleanup/edit/editcuts.h"
#include "cleanup/edit/editfilters.h"
#include "cleanup/edit/editrepairs.h"
#include "cleanup/edit/patchselection.h"
#include "cleanup/edit/undo_corrections.h"
#include "cleanup/repair/correctionslist.h"
#include "recorded_side.h"
#include "repairs.h"

using namespace Foundation;

namespace Orvane {
namespace {

using OrvaneTest::MusicPairs;
using OrvaneTest::RecordedSide;
using OrvaneTest::Serialised;

constexpr int kFrames = 400000;

const std::vector<float>& Pairs() {
    static const std::vector<float> pairs = MusicPairs(kFrames);
    return pairs;
}

// A recording that stays open, with clicks, markers and a stereo patch in it.
class Edits : public ::testing::Test {
protected:
    Edits() {
        for (int channel = 0; channel < 2; ++channel) {
            for (int64_t at = 3000; at + 3000 < kFrames; at += 2000 + static_cast<int64_t>(random() % 3000)) {
                Enter(channel, at, at + 3 + static_cast<int64_t>(random() % 150), kTypes[random() % 5]);
            }
        }
        for (int channel = 0; channel < 2; ++channel) Enter(channel, 150000, 155000, REPAIR_PATCH, -32768);
        auto* marker = new MarkerCorrection;
        marker->start_time = marker->end_time = marker->absolute_start_time = marker->absolute_end_time = 200000;
        entry.decided.markers.Append(marker);
    }

    void Enter(int channel, int64_t start, int64_t end, int16_t type, int16_t wiggles = 0) {
        std::vector<int16_t> samples(static_cast<size_t>(end - start));
        for (int16_t& sample : samples) sample = static_cast<int16_t>(random() % 2000);
        std::unique_ptr<ClickRepair> repair = OrvaneTest::MakeRepair(type, start, samples);
        repair->wiggles = wiggles;
        ClickRepair* slot = nullptr;
        AddRepair(entry.click_repairs[channel], repair, slot, ADD_SCANNED);
    }

    int64_t Place(int64_t margin) { return static_cast<int64_t>(random() % static_cast<unsigned>(kFrames - margin)); }

    template <class T>
    bool Edit(const SettingsEdit<T>& edit) {
        return EditSettings(entry, edit).Ok();
    }

    // Where it has come to is told.
    bool Adjust(int channel, const ClickRepair& e, int64_t by) {
        const RepairPlace place{channel, e.absolute_start_time, e.absolute_end_time};
        const Result<RepairPlace> now = AdjustRepair(entry, place, place.start - by, place.end + by);
        if (!now) return false;
        const ClickRepair* there = entry.click_repairs[channel].FirstEndingAfter(now->start);
        EXPECT_TRUE(there && there->absolute_start_time == now->start && there->absolute_end_time == now->end);
        EXPECT_TRUE(now->start <= place.start - by && there->repair_type <= REPAIR_PATCH);
        return true;
    }

    Outcome RandomScan(int channels, int64_t at) {
        ScanRequest request;
        request.settings.channels = static_cast<uint8_t>(channels);
        request.settings.options = static_cast<uint8_t>(random() % 4);
        request.settings.sensitivity = 5;
        request.first_sample = at;
        request.last_sample = at + 20000;
        return ScanForClicks(entry, request).outcome;
    }

    bool RandomFilterEdit() {
        const int n = entry.decided.filters.size();
        FilterSetting filter;
        filter.absolute_start_time = Place(0);
        filter.absolute_end_time = filter.absolute_start_time + 1 + Place(0);
        filter.name = std::to_string(random());
        filter.values.hiss_reduction = static_cast<int>(random() % 8);
        FFTEq eq;
        eq.gain = static_cast<int>(random() % 100);
        eq.curve.points = {{100.0f, static_cast<float>(random() % 20)}, {5000.0f, -3.0f}};
        const int any = n ? static_cast<int>(random()) % n : 0;
        switch (random() % 7) {
            case 6:
                return DefineNoiseSample(entry, filter.absolute_start_time, filter.absolute_end_time).Ok();
            case 0:
                return n && Edit(ChangeSetting(std::abs(any), filter));
            case 1:
                return n && Edit(RemoveSetting<FilterSetting>(std::abs(any)));
            case 2:
                return n && Edit(MoveSetting<FilterSetting>(std::abs(any), static_cast<int>(random() % n)));
            case 3:
                return Edit(entry.decided.fft_eqs.empty() ? AddSetting(eq) : ChangeSetting(0, eq));
            default:
                return Edit(AddSetting(filter));
        }
    }

    // True if it counts as an action.
    bool RandomEdit() {
        const int channels = 1 + static_cast<int>(random() % 3);
        const int channel = static_cast<int>(random() % 2);
        const int64_t at = Place(60000);
        switch (random() % 11) {
            case 10:
                return RandomScan(channels, at).Ok();
            case 0:
            case 1:
                return InsertRepair(entry, channels, at, at + 1 + static_cast<int64_t>(random() % 200)).Ok();
            case 2:
            case 3: {
                ClickRepair* e = entry.click_repairs[channel].FirstEndingAfter(at);
                const int64_t by = static_cast<int64_t>(random() % 60) - 20;
                return e && Adjust(channel, *e, by);
            }
            case 4:
                return *DeleteRepairs(entry, channels, at, at + 8000) > 0;
            case 5:
                return *RepairMarkers(entry, channels, random() % 2 ? REPAIR_PP : REPAIR_BP, at, at + 30000) > 0;
            case 6: {
                PatchOptions options{channels, static_cast<PatchMethod>(random() % 3), 20, true};
                return PatchRecording(entry, at, at + 20 + static_cast<int64_t>(random() % 600), options).Ok();
            }
            case 7:
                return CutSelection(entry, at, at + 1 + static_cast<int64_t>(random() % 9000),
                                    kSpliceChoices[random() % 5].ms)
                    .Ok();
            case 8:
                if (entry.decided.cuts.empty() || random() % 2) return RandomFilterEdit();
                return DeleteCut(entry, random() % 2 ? *entry.decided.cuts.First() : *entry.decided.cuts.Last()).Ok();
            default:
                return RandomFilterEdit();
        }
    }

    static constexpr int16_t kTypes[] = {REPAIR_MANUAL, REPAIR_SCANNER, REPAIR_SCANNER, REPAIR_PP, REPAIR_BP};
    std::mt19937 random{11};
    RecordedSide side{Pairs()};
    FileHistoryEntry& entry = *side.entry;
    EditAccess open{entry};
};

TEST_F(Edits, UndoingAllGivesTheFirstStateAndRedoingAllTheLast) {
    std::vector<std::string> states = {Serialised(entry)};
    while (states.size() <= kMostUndo) {
        const int before = GetUndoState().undo_index;
        const bool done = RandomEdit();
        ASSERT_EQ(GetUndoState().undo_index, before + done);
        std::string state = Serialised(entry);
        if (done) {
            states.push_back(std::move(state));
        } else {
            ASSERT_EQ(state, states.back());
        }
        for (ClickRepairList& list : entry.click_repairs) {
            ASSERT_EQ(CheckRepairList(list, true), 0);
            for (const ClickRepair& e : list) ASSERT_TRUE(!e.HasTwin() || list.Twin(e)) << e.absolute_start_time;
        }
    }
    for (int round = 0; round < 2; ++round) {
        for (size_t i = states.size() - 1; i > 0; --i) {
            const std::string what = GetUndoMenu(UndoDirection::Undo).text;
            ASSERT_TRUE(Undo());
            ASSERT_EQ(Serialised(entry), states[i - 1]) << what << " " << i;
        }
        EXPECT_FALSE(Undo());
        for (size_t i = 1; i < states.size(); ++i) {
            const std::string what = GetUndoMenu(UndoDirection::Redo).text;
            ASSERT_TRUE(Redo());
            ASSERT_EQ(Serialised(entry), states[i]) << what << " " << i;
        }
        EXPECT_FALSE(Redo());
    }
}

// The repairs of one channel that reach out of the stretch lie beside others of the other channel.
TEST_F(Edits, WhatIsTakenBackLeavesTheNeighboursAlone) {
    for (ClickRepairList& list : entry.click_repairs) list.Clear();
    const int64_t at = 250000;
    for (const auto& [channel, start, end] : {std::tuple{0, 60, 80}, {0, 90, 110}, {1, 50, 95}, {1, 20, 45}}) {
        Enter(channel, at + start, at + end, REPAIR_SCANNER);
    }
    const PatchOptions patch{CHANNELS_BOTH, PatchMethod::AR, 0};
    const std::string before = Serialised(entry);
    const std::function<bool()> edits[] = {
        [&] { return InsertRepair(entry, CHANNELS_BOTH, at + 100, at + 120).Ok(); },
        [&] { return *DeleteRepairs(entry, CHANNELS_BOTH, at + 100, at + 120) > 0; },
        [&] { return PatchRecording(entry, at + 92, at + 105, patch).Ok(); },
        [&] { return PatchSelection(entry, at + 100, at + 120).Try(patch).Ok(); },  // and not kept
    };
    for (size_t i = 0; i < std::size(edits); ++i) {
        EXPECT_TRUE(edits[i]()) << i;
        EXPECT_EQ(Undo().Ok(), i < 3) << i;
        EXPECT_EQ(Serialised(entry), before) << i;
    }
}

TEST_F(Edits, ACutAndItsTruncationMoveTheEditedTimes) {
    FilterSetting filter;
    filter.absolute_start_time = 300000, filter.absolute_end_time = 310000;
    EXPECT_TRUE(Edit(AddSetting(filter)));
    EXPECT_TRUE(CutSelection(entry, 100000, 120000, 5));
    EXPECT_EQ(entry.decided.cuts.First()->Length(), 20220);
    EXPECT_EQ(entry.decided.filters.First()->start_time, 279780);
    EXPECT_EQ(entry.decided.markers.First()->absolute_start_time, 220220);
    EXPECT_TRUE(TruncateRecording(entry, 200000));
    EXPECT_EQ(open.EditedLength(), 200000);
    EXPECT_TRUE(Undo());
    EXPECT_TRUE(DeleteCut(entry, *entry.decided.cuts.First()));
    EXPECT_EQ(entry.decided.filters.First()->start_time, 300000);
    EXPECT_EQ(entry.decided.markers.First()->absolute_start_time, 200000);
    EXPECT_EQ(open.EditedLength(), kFrames);
}

TEST_F(Edits, TracksKeepTheirMusicWhenACutMovesIt) {
    using Times = std::vector<int64_t>;
    AlbumInfo& album = *entry.album;
    for (const auto& [start, end] : {std::pair{10000, 90000}, {90000, 130000}, {130000, 300000}, {300000, 300000}}) {
        ALBUMTRACK track;
        track.start = start, track.end = end;
        album.tracks.push_back(track);
    }
    const auto times = [&] {
        Times all;
        for (const ALBUMTRACK& track : album.tracks) all.insert(all.end(), {track.start, track.end});
        return all;
    };
    const Times before = times();
    EXPECT_FALSE(CutSelection(entry, 80000, 130000, 0));
    EXPECT_FALSE(CutSelection(entry, 85000, 129000, 100)) << "the splice takes the rest of the track";
    EXPECT_EQ(times(), before);
    EXPECT_TRUE(CutSelection(entry, 80000, 100000, 0));
    const Times cut{10000, 80000, 80000, 110000, 110000, 280000, 280000, 280000};
    EXPECT_EQ(times(), cut);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(times(), before);
    EXPECT_TRUE(Redo());
    EXPECT_EQ(times(), cut);
    EXPECT_TRUE(DeleteCut(entry, *entry.decided.cuts.First()));
    EXPECT_EQ(times(), before);

    // Which tracks lie behind a recording that is missing is not known.
    RemoveFile(side.AddSide(MusicPairs(2000)).GetPath());
    FileHistoryEntry& behind = side.AddSide(MusicPairs(30000));
    album.tracks.back().end = kFrames + 25000;
    const Times unmoved = times();
    EXPECT_TRUE(CutSelection(behind, 0, 10000, 0));
    EXPECT_EQ(times(), unmoved);
}

TEST_F(Edits, ATrackKeepsItsBeginningBesideACutAndGetsItsPlaceBack) {
    constexpr int64_t kFrom = 100000, kTo = 150000, kSplice = 4410, kFade = kFrom - kSplice;
    struct Case {
        int64_t end, start;          // of the track before and behind the cut
        int64_t cut_end, cut_start;  // once it is made
    };
    for (const Case& c : {Case{90000, kTo, 90000, kFade},
                          {kFrom, kTo, kFade, kFade},
                          {kTo, kTo, kFade, kFade},
                          {kFrom, kFrom, kFade, kFade},
                          {kFade, kFrom, kFade, kFade},
                          {120000, 130000, kFade, kFade},
                          {120000, 260000, kFrom, 260000 - (kTo - kFrom) - kSplice},
                          {98000, kTo + 1000, kFade + 1000, kFade + 1000},
                          {kTo + kSplice, kTo + kSplice, kFrom, kFrom},
                          {kFade, kFade, kFade, kFade}}) {
        SCOPED_TRACE(testing::Message() << c.end << " | " << c.start);
        simple_vector<ALBUMTRACK>& tracks = entry.album->tracks;
        tracks.clear();
        for (const auto& [start, end] : {std::pair{int64_t{1000}, c.end}, {c.start, 300000}, {300000, 300000}}) {
            ALBUMTRACK track;
            track.start = start, track.end = end;
            tracks.push_back(track);
        }
        const simple_vector<ALBUMTRACK> before = tracks;
        ASSERT_TRUE(CutSelection(entry, kFrom, kTo, 100));
        EXPECT_EQ(tracks[0].end, c.cut_end);
        EXPECT_EQ(tracks[1].start, c.cut_start);
        EXPECT_EQ(tracks[2].start, tracks[1].end);
        // A second cut takes the first one in, with what it has moved.
        ASSERT_TRUE(CutSelection(entry, kFrom - 3000, kFrom + 9000, 25));
        ASSERT_EQ(entry.decided.cuts.size(), 1);
        ASSERT_TRUE(DeleteCut(entry, *entry.decided.cuts.First()));
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(tracks[i].start, before[i].start) << i;
            EXPECT_EQ(tracks[i].end, before[i].end) << i;
        }
    }
}

// Repairs made by hand at rates whose frames lie between the samples of the rate at which repairs are solved.
TEST(ManualRepairs, StandWhereTheyWereSolved) {
    for (const int rate : {48000, 88200, 96000, 192000}) {
        std::vector<float> tone;
        for (int i = 0; i < rate / 2; ++i) {
            tone.insert(tone.end(), 2, static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 3000 * i / rate)));
        }
        RecordedSide side(tone, rate);
        const EditAccess open(*side.entry);
        const auto worst = [&] {
            std::vector<float> heard(tone.size());
            EXPECT_EQ(open.Stream()->Read(0, heard.data(), rate / 2, Tesslib::PCM_NO_FILTERS), rate / 2);
            float error = 0;
            for (size_t i = 0; i < tone.size(); ++i) error = std::max(error, std::abs(heard[i] - tone[i]));
            return error;
        };
        for (int64_t start = rate / 4; start < rate / 4 + 40; start += 7) {
            ASSERT_TRUE(InsertRepair(*side.entry, CHANNEL_LEFT, start, start + rate / 900));
            EXPECT_LT(worst(), 0.02f) << rate << " from " << start;
            const int64_t end = start + rate / 900;
            ASSERT_TRUE(AdjustRepair(*side.entry, {0, start, end}, start - 3, end));
            EXPECT_LT(worst(), 0.02f) << rate << " adjusted, from " << start;
            ASSERT_EQ(*DeleteRepairs(*side.entry, CHANNEL_LEFT, 0, rate / 2), 1);
        }
    }
}

// A recording at another rate, closed between the edits: they reach the corrections file.
TEST(ClosedRecording, EditsAreSavedAndUndoneInTheFile) {
    RecordedSide side(MusicPairs(30000), 96000);
    FileHistoryEntry& entry = *side.entry;
    const auto saved = [&] { return OrvaneTest::ReadBytes(entry.CorrectionsPath()); };
    EXPECT_TRUE(InsertRepair(entry, CHANNEL_RIGHT, 15000, 15000 + 897));
    EXPECT_FALSE(entry.IsOpen());
    const std::string one = saved();
    EXPECT_TRUE(InsertRepair(entry, CHANNEL_RIGHT, 12000, 12050));
    EXPECT_GT(saved().size(), one.size());
    EXPECT_TRUE(Undo());
    EXPECT_EQ(saved(), one);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(saved(), "");
    EXPECT_TRUE(Redo());
    EXPECT_EQ(saved(), one);
}

// Pulls through every stage while repairs, cuts, filters and curves come and go: each block read is one version of all
// of the lists.
TEST(PlayingWhileChanging, EveryBlockIsOneVersionOfTheLists) {
    constexpr int64_t kAt = 30000;
    constexpr int32_t kBlock = 3000;
    RecordedSide side(MusicPairs(60000), 22050);
    FileHistoryEntry& entry = *side.entry;
    entry.decided.noise_stretch.end = 20000;
    const EditAccess open(entry);
    const auto read = [&](int64_t at) {
        std::vector<float> block(2 * kBlock);
        EXPECT_EQ(open.Stream()->Read(at, block.data(), kBlock, 0), kBlock);
        return block;
    };
    FilterSetting hum, rest;
    hum.values.hum_mode = hum.values.rumble_mode = FILTER_ON;
    // Behind the noise samples, which are measured once, at a time that differs from run to run.
    hum.absolute_start_time = 24000, hum.absolute_end_time = 60000;
    rest.values.hiss_mode = rest.values.eq_mode = FILTER_ON;
    rest.values.bands = {4, -3, 0, 12, -12, 2, 0, 5, -6, 7};
    rest.values.preamp_left = -30;
    rest.absolute_start_time = 25000, rest.absolute_end_time = 33000;
    FFTEq curve;
    curve.enable = CURVE_ON;
    curve.curve.points = {{100, -9}, {3000, 3}};
    const std::function<bool()> changes[] = {
        [&] { return EditSettings(entry, AddSetting(rest)).Ok(); },
        [&] { return InsertRepair(entry, CHANNELS_BOTH, kAt + 100, kAt + 250).Ok(); },
        [&] { return DefineNoiseSample(entry, 2000, 22000).Ok(); },
        [&] { return EditSettings(entry, AddSetting(hum)).Ok(); },
        [&] { return CutSelection(entry, kAt + 1000, kAt + 2500, 5).Ok(); },
        [&] { return EditSettings(entry, AddSetting(curve)).Ok(); },
        [&] {
            return PatchRecording(entry, kAt + 200, kAt + 3000, {CHANNELS_BOTH, PatchMethod::FFT, 0}).Ok();
        },
        [&] { return EditSettings(entry, RemoveSetting<FilterSetting>(0), Answered::Yes).Ok(); },
        [&] { return *DeleteRepairs(entry, CHANNEL_LEFT, kAt, kAt + 10000) > 0; },
    };
    std::vector<std::vector<float>> versions = {read(kAt)};
    for (const auto& change : changes) {
        ASSERT_TRUE(change());
        versions.push_back(read(kAt));
        ASSERT_NE(versions.back(), versions[versions.size() - 2]);
    }
    std::atomic<bool> done{false};
    std::atomic<int> n_read{0};
    std::thread reader([&] {
        while (!done) {
            EXPECT_NE(std::find(versions.begin(), versions.end(), read(kAt)), versions.end());
            (void)read(kAt + kBlock);  // goes on from there, through whatever has changed meanwhile
            ++n_read;
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    });
    for (int n_changes = 0; n_changes < 10000 || n_read < 50;) {
        while (Undo()) ++n_changes;
        while (Redo()) ++n_changes;
    }
    done = true;
    reader.join();
}

// A repair in the model: plain spans in a vector, with the samples it should hold.
struct Span {
    int64_t start, end;
    int16_t type, cross_fade;
    std::vector<int16_t> samples;

    int64_t Length() const { return end - start; }
    void Keep(int64_t from, int64_t to) {
        if (!samples.empty()) samples = {samples.begin() + (from - start), samples.begin() + (to - start)};
        start = from;
        end = to;
    }
};

// The rules over a vector, every entry looked at.
AddOutcome ModelAdd(std::vector<Span>& list, Span c, int mode) {
    AddOutcome outcome = AddOutcome::Inserted;
    std::vector<Span> kept;
    for (size_t i = 0; i < list.size(); ++i) {
        Span e = list[i];
        const bool meets = c.start < e.end && e.start < c.end;
        if (!meets) {
            kept.push_back(e);
            continue;
        }
        const bool c_yields = (mode & 8) && !(mode & 2) && (c.type >= 10 || (e.type == 11 && !(mode & 1)));
        const bool head = c.start <= e.start && c.end < e.end;  // c overlaps the start of e
        const bool inside = c.start > e.start && c.end <= e.end;
        const bool tail = c.start > e.start && c.end > e.end;  // c overlaps the end of e
        if (c_yields) {
            const int64_t from = tail ? e.end : c.start;
            const int64_t to = head ? e.start : c.end;
            if (!(head || tail) || to - from <= 2 * c.cross_fade) {
                kept.insert(kept.end(), list.begin() + static_cast<std::ptrdiff_t>(i), list.end());
                list = kept;  // what it had displaced before it came here stays away
                return AddOutcome::Refused;
            }
            c.Keep(from, to);
            outcome = AddOutcome::Trimmed;
            kept.push_back(e);
        } else if (inside && e.type < 10) {
            return AddOutcome::Inside;
        } else if (head && e.end - c.end > 2 * e.cross_fade) {
            e.Keep(c.end, e.end);
            kept.push_back(e);
        } else if (tail && c.start - e.start > 2 * e.cross_fade) {
            e.Keep(e.start, c.start);
            kept.push_back(e);
        } else if (e.type == 1 && c.type != 3) {
            c.type = 1;
        }
    }
    kept.push_back(c);
    std::sort(kept.begin(), kept.end(), [](const Span& a, const Span& b) { return a.start < b.start; });
    list = kept;
    return outcome;
}

void ExpectEqual(const ClickRepairList& list, const std::vector<Span>& model, int step) {
    ASSERT_EQ(list.size(), static_cast<int>(model.size())) << "step " << step;
    size_t i = 0;
    for (const ClickRepair& e : list) {
        const Span& m = model[i++];
        ASSERT_EQ(std::tuple(e.absolute_start_time, e.absolute_end_time, e.repair_type),
                  std::tuple(m.start, m.end, m.type))
            << "step " << step;
        ASSERT_EQ(e.samples == nullptr, m.samples.empty()) << "step " << step;
        if (!e.samples) continue;
        ASSERT_TRUE(std::equal(m.samples.begin(), m.samples.end(), e.samples.get())) << "step " << step;
        ASSERT_EQ(e.max_sample, *std::max_element(m.samples.begin(), m.samples.end())) << "step " << step;
        ASSERT_EQ(e.min_sample, *std::min_element(m.samples.begin(), m.samples.end())) << "step " << step;
    }
}

TEST(AddRepair, KeepsTheRulesOfAPlainModelWhateverComes) {
    std::mt19937 random(11);
    for (int mode : {0, 1, 2, 4, 5, 8, 9, 12, 13, 15}) {
        ClickRepairList list;
        std::vector<Span> model;
        ClickRepair* slot = nullptr;
        for (int step = 0; step < 3000; ++step) {
            const int16_t types[] = {1, 2, 2, 3, 11, 12};
            Span c{static_cast<int64_t>(random() % 6000),
                   0,
                   types[random() % 6],
                   random() % 2 ? int16_t{6} : int16_t{0},
                   {}};
            c.end = c.start + 1 + static_cast<int64_t>(random() % (c.type == 3 ? 700 : 200));
            c.samples.resize(static_cast<size_t>(c.Length()));
            for (int16_t& sample : c.samples) sample = static_cast<int16_t>(random());
            std::unique_ptr<ClickRepair> repair = OrvaneTest::MakeRepair(c.type, c.start, c.samples, c.cross_fade);
            if (repair->IsMarker()) c.samples.clear();
            if (random() % 4 == 0) slot = nullptr;
            const AddOutcome expected = ModelAdd(model, c, mode);
            const AddResult result = AddRepair(list, repair, slot, mode);
            ASSERT_EQ(result.outcome, expected) << "mode " << mode << " step " << step;
            ASSERT_EQ(repair != nullptr, expected == AddOutcome::Inside);
            ASSERT_NO_FATAL_FAILURE(ExpectEqual(list, model, step)) << "mode " << mode;
            // The list would fill up: make room now and then.
            if (step % 50 == 0) {
                slot = nullptr;
                list.Clear();
                model.clear();
            }
        }
    }
}

}  // namespace
}  // namespace Orvane
