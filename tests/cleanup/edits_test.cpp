// The user's edits of corrections and their undoing.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "cleanup/correctionslist.h"
#include "cleanup/editcuts.h"
#include "cleanup/editfilters.h"
#include "cleanup/editrepairs.h"
#include "cleanup/patchselection.h"
#include "cleanup/undo_corrections.h"
#include "fake_hosts.h"
#include "recorded_side.h"

namespace Orvane {
namespace {

using OrvaneTest::FakeMessageHost;
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
        entry.markers.Append(marker);
    }

    void Enter(int channel, int64_t start, int64_t end, int16_t type, int16_t wiggles = 0) {
        auto repair = std::make_unique<ClickRepair>(type, start, end, int16_t{0});
        repair->wiggles = wiggles;
        if (!repair->IsMarker()) {
            auto samples = std::make_unique<int16_t[]>(static_cast<size_t>(end - start));
            for (int64_t i = 0; i < end - start; ++i) samples[i] = static_cast<int16_t>(random() % 2000);
            repair->SetSamples(std::move(samples));
        }
        ClickRepair* slot = nullptr;
        AddRepair(entry.click_repairs[channel], repair, slot, ADD_SCANNED);
    }

    ClickRepair* RepairAt(int channel, int64_t position) {
        ClickRepair* e = FirstRepairAfter(entry.click_repairs[channel], position);
        return e && e->absolute_start_time <= position ? e : nullptr;
    }

    int64_t Place(int64_t margin) { return static_cast<int64_t>(random() % static_cast<unsigned>(kFrames - margin)); }

    bool RandomFilterEdit() {
        const int n = entry.filters.size();
        FilterSetting filter;
        filter.absolute_start_time = Place(0);
        filter.absolute_end_time = filter.absolute_start_time + 1 + Place(0);
        filter.name = std::to_string(random());
        filter.values.hiss_reduction = static_cast<int>(random() % 8);
        FFTEq eq;
        eq.gain = static_cast<int>(random() % 100);
        eq.curve.points = {{100.0f, static_cast<float>(random() % 20)}, {5000.0f, -3.0f}};
        const int any = n ? static_cast<int>(random()) % n : 0;
        switch (random() % 6) {
            case 0:
                return n && ChangeSetting(entry, std::abs(any), filter);
            case 1:
                return n && RemoveSetting<FilterSetting>(entry, std::abs(any));
            case 2:
                return n && MoveSetting<FilterSetting>(entry, std::abs(any), static_cast<int>(random() % n));
            case 3:
                return entry.fft_eqs.empty() ? AddSetting(entry, eq) : ChangeSetting(entry, 0, eq);
            default:
                return AddSetting(entry, filter);
        }
    }

    // True if it counts as an action.
    bool RandomEdit() {
        const int channels = 1 + static_cast<int>(random() % 3);
        const int channel = static_cast<int>(random() % 2);
        const int64_t at = Place(60000);
        switch (random() % 10) {
            case 0:
            case 1:
                return InsertRepair(entry, channels, at, at + 1 + static_cast<int64_t>(random() % 200));
            case 2:
            case 3: {
                ClickRepair* e = FirstRepairAfter(entry.click_repairs[channel], at);
                const int64_t by = static_cast<int64_t>(random() % 60) - 20;
                return e && AdjustRepair(entry, channel, *e, e->absolute_start_time - by, e->absolute_end_time + by);
            }
            case 4:
                return DeleteRepairs(entry, channels, at, at + 8000) > 0;
            case 5:
                return RepairMarkers(entry, channels, random() % 2 ? REPAIR_PP : REPAIR_BP, at, at + 30000) > 0;
            case 6: {
                PatchOptions options{channels, static_cast<PatchMethod>(random() % 3), 20};
                return PatchRecording(entry, at, at + 20 + static_cast<int64_t>(random() % 600), options);
            }
            case 7:
                return CutSelection(entry, at, at + 1 + static_cast<int64_t>(random() % 9000),
                                    kSpliceChoices[random() % 5].ms);
            case 8:
                if (entry.cuts.empty() || random() % 2) return RandomFilterEdit();
                return DeleteCut(entry, random() % 2 ? *entry.cuts.First() : *entry.cuts.Last());
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
        FakeMessageHost messages(std::deque<Answer>(1, Answer::Ok));
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

TEST_F(Edits, ARefusalSaysWhyAndChangesNothing) {
    const std::string before = Serialised(entry);
    constexpr const char* kNoRoom =
        "There is no room to insert a repair here - you are too close to the start or end of the file";
    constexpr const char* kTooShort =
        "The selection is too short to cut.  Please select a larger area or try a shorter splice length.";
    const struct {
        std::function<bool()> edit;
        const char* text;
    } rows[] = {
        {[&] { return InsertRepair(entry, 0, 1000, 1010); }, "Please select a channel first"},
        {[&] { return InsertRepair(entry, 1, 1000, 1000); }, "Please select a region first"},
        {[&] { return InsertRepair(entry, 2, 100, 110); }, kNoRoom},
        {[&] { return InsertRepair(entry, 3, kFrames - 200, kFrames - 180); }, kNoRoom},
        {[&] { return InsertRepair(entry, 1, kFrames + 10, kFrames + 20); }, kNoRoom},
        {[&] { return AdjustRepair(entry, 0, *entry.click_repairs[0].First(), 50, 60); }, kNoRoom},
        {[&] { return CutSelection(entry, 10000, 10000 + 4410, 100); }, kTooShort},
        {[&] { return CutSelection(entry, 10000, 10000, 0); }, kTooShort},
        {[&] { return TruncateRecording(entry, kFrames); }, kTooShort},
    };
    for (size_t i = 0; i < std::size(rows); ++i) {
        FakeMessageHost messages;
        EXPECT_FALSE(rows[i].edit()) << i;
        ASSERT_EQ(messages.asked.size(), 1u) << i;
        EXPECT_EQ(messages.Texts()[0], rows[i].text);
        EXPECT_EQ(Serialised(entry), before) << i;
    }
    EXPECT_EQ(GetUndoState().undo_highwater, 0);
}

TEST_F(Edits, ManualRepairsFollowTheRulesOfTheList) {
    // Over a click: the damage is gone from what is heard, and the record is manual.
    EXPECT_TRUE(InsertRepair(entry, CHANNELS_BOTH, 1500, 1540));
    for (int channel : {0, 1}) {
        const ClickRepair* e = RepairAt(channel, 1500);
        ASSERT_TRUE(e);
        EXPECT_EQ(e->repair_type, REPAIR_MANUAL);
        EXPECT_EQ(e->Length(), 40);
        double error = 0, signal = 0;
        for (int64_t i = 0; i < 40; ++i) {
            const double original = Pairs()[2 * (1500 + i) + channel];
            error += std::pow(e->samples[i] / 32767.0 - original, 2);
            signal += original * original;
        }
        EXPECT_LT(error, 0.25 * signal);
    }
    // Inside it only the stretch changes, and outside of 60 frames the ends fade.
    EXPECT_TRUE(InsertRepair(entry, CHANNEL_LEFT, 1510, 1520));
    EXPECT_EQ(RepairAt(0, 1515)->Length(), 40);
    EXPECT_TRUE(AdjustRepair(entry, 0, *RepairAt(0, 1515), 1480, 1700));
    EXPECT_EQ(RepairAt(0, 1480)->Length(), 220);
    EXPECT_EQ(RepairAt(0, 1480)->cross_fade, 6);
    EXPECT_TRUE(InsertRepair(entry, CHANNEL_RIGHT, 1900, 3000));  // held to the longest
    EXPECT_EQ(RepairAt(1, 1900)->Length(), kMaxRepair);

    // A patch keeps its width.
    FakeMessageHost messages;
    EXPECT_FALSE(AdjustRepair(entry, 0, *RepairAt(0, 150000), 149000, 155000));
    EXPECT_EQ(RepairAt(0, 150000)->Length(), 5000);
}

TEST_F(Edits, MarkersBecomeRepairs) {
    const auto count = [&](int16_t type) {
        int n = 0;
        for (const ClickRepair& e : entry.click_repairs[0]) n += e.repair_type == type;
        return n;
    };
    const int pp = count(REPAIR_PP), manual = count(REPAIR_MANUAL);
    ASSERT_GT(pp, 3);
    EXPECT_EQ(RepairMarkers(entry, CHANNEL_LEFT, REPAIR_PP, 0, kFrames), pp);
    EXPECT_EQ(count(REPAIR_PP), 0);
    EXPECT_EQ(count(REPAIR_MANUAL), manual + pp);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(count(REPAIR_PP), pp);
}

TEST_F(Edits, AStereoPatchIsDeletedAsAPair) {
    const std::string before = Serialised(entry);
    const int others = entry.click_repairs[1].size() - 1;
    EXPECT_EQ(DeleteRepairs(entry, CHANNEL_LEFT, 150100, 150101), 1);
    EXPECT_FALSE(RepairAt(0, 152000));
    EXPECT_FALSE(RepairAt(1, 152000));
    EXPECT_EQ(entry.click_repairs[1].size(), others);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(Serialised(entry), before);
    EXPECT_TRUE(Redo());
    EXPECT_FALSE(RepairAt(1, 152000));
}

TEST_F(Edits, AnUndoLeavesNoOverlapsWithWhatAScanHasFoundSince) {
    EXPECT_TRUE(InsertRepair(entry, CHANNEL_LEFT, 1500, 1540));
    ASSERT_EQ(DeleteRepairs(entry, CHANNEL_LEFT, 1500, 1501), 1);
    {
        const RepairsChange scan(entry, CHANNEL_LEFT);
        Enter(0, 1490, 1510, REPAIR_SCANNER);
    }
    const std::string scanned = Serialised(entry);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(RepairAt(0, 1505)->repair_type, REPAIR_MANUAL);
    EXPECT_EQ(CheckRepairList(entry.click_repairs[0], true), 0);
    EXPECT_TRUE(Redo());
    EXPECT_EQ(Serialised(entry), scanned);
}

TEST_F(Edits, ACutAndItsTruncationMoveTheEditedTimes) {
    AddSetting(entry, [] {
        FilterSetting filter;
        filter.absolute_start_time = 300000;
        filter.absolute_end_time = 310000;
        return filter;
    }());
    EXPECT_TRUE(CutSelection(entry, 100000, 120000, 5));
    EXPECT_EQ(entry.cuts.First()->splice_length, 220);
    EXPECT_EQ(entry.cuts.First()->Length(), 20220);
    EXPECT_EQ(entry.filters.First()->start_time, 279780);
    EXPECT_EQ(entry.markers.First()->absolute_start_time, 220220);
    EXPECT_TRUE(TruncateRecording(entry, 200000));
    EXPECT_EQ(open.EditedLength(), 200000);
    EXPECT_TRUE(Undo());
    EXPECT_TRUE(DeleteCut(entry, *entry.cuts.First()));
    EXPECT_EQ(entry.filters.First()->start_time, 300000);
    EXPECT_EQ(entry.markers.First()->absolute_start_time, 200000);
    EXPECT_EQ(open.EditedLength(), kFrames);
}

TEST_F(Edits, EverythingComesBackAtOnce) {
    const std::string before = Serialised(entry);
    AddUndo(std::make_unique<UndoUpdateCorrections>(entry, "Scan for clicks"));
    EXPECT_GE(GetUndoState().undo_size, 20000);  // the patches' samples
    {
        const RepairsChange repairs(entry, CHANNELS_BOTH);
        const TimelineChange timeline(entry);
        for (ClickRepairList& list : entry.click_repairs) list.Clear();
        entry.cuts.Add(1000, 2000, 0, 44100);
        entry.click_scan.sensitivity = 5;
    }
    const std::string after = Serialised(entry);
    EXPECT_TRUE(Undo());
    EXPECT_EQ(Serialised(entry), before);
    EXPECT_EQ(entry.click_scan.sensitivity, -1);
    EXPECT_TRUE(Redo());
    EXPECT_EQ(Serialised(entry), after);
    EXPECT_EQ(entry.click_scan.sensitivity, 5);
}

// A recording at another rate, closed between the edits: they reach the corrections file.
TEST(ClosedRecording, EditsAreSavedAndUndoneInTheFile) {
    RecordedSide side(MusicPairs(30000), 96000);
    FileHistoryEntry& entry = *side.entry;
    EXPECT_TRUE(InsertRepair(entry, CHANNEL_RIGHT, 15000, 15000 + 897));
    EXPECT_FALSE(entry.IsOpen());
    const auto saved = [&] { return OrvaneTest::ReadBytes(entry.CorrectionsPath()); };
    const std::string one = saved();
    EXPECT_TRUE(InsertRepair(entry, CHANNEL_RIGHT, 12000, 12050));
    const std::string two = saved();
    EXPECT_GT(two.size(), one.size());
    EXPECT_TRUE(Undo());
    EXPECT_EQ(saved(), one);
    EXPECT_TRUE(Redo());
    EXPECT_EQ(saved(), two);
    EXPECT_TRUE(Undo() && Undo());
    EXPECT_EQ(saved(), "");
    // The longest repair of this rate has no unfilled tail.
    EXPECT_TRUE(Redo());
    const EditAccess open(entry);
    const ClickRepair* e = entry.click_repairs[1].First();
    ASSERT_TRUE(e && e->Length() == 897);
    EXPECT_TRUE(std::any_of(e->samples.get() + 890, e->samples.get() + 897, [](int16_t v) { return v != 0; }));
}

// Every block read is one version of the lists: with the patch or without, over its whole length.
TEST_F(Edits, AReaderSeesOneVersionOrTheOther) {
    DeleteRepairs(entry, CHANNELS_BOTH, 0, kFrames);
    ClearUndo();
    constexpr int64_t kAt = 100000;
    constexpr int32_t kBlock = 4000;
    const auto read = [&] {
        std::vector<float> block(2 * kBlock);
        EXPECT_EQ(open.Stream()->Read(kAt, block.data(), kBlock, PCM_NO_FILTERS), kBlock);
        return block;
    };
    const auto act = [&](int i) {
        switch (i) {
            case 0:
                return InsertRepair(entry, CHANNELS_BOTH, kAt + 100, kAt + 300);
            case 1:
                return PatchRecording(entry, kAt + 200, kAt + 3000, {CHANNELS_BOTH, PatchMethod::FFT, 0});
            case 2:
                return CutSelection(entry, kAt + 1000, kAt + 2500, 5);
            default:
                return DeleteRepairs(entry, CHANNEL_LEFT, kAt, kAt + kBlock) > 0;
        }
    };
    std::vector<std::vector<float>> versions = {read()};
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(act(i));
        versions.push_back(read());
    }
    std::atomic<bool> done{false};
    std::atomic<int> n_read{0};
    std::thread reader([&] {
        while (!done) {
            const std::vector<float> block = read();
            EXPECT_NE(std::find(versions.begin(), versions.end(), block), versions.end());
            ++n_read;
        }
    });
    for (int round = 0; round < 300 || n_read < 20; ++round) {
        while (Undo()) continue;
        while (Redo()) continue;
    }
    done = true;
    reader.join();
}

}  // namespace
}  // namespace Orvane
