#include "cleanup/patchselection.h"

#include <gtest/gtest.h>

#include <cmath>

#include "cleanup/editcuts.h"
#include "cleanup/editrepairs.h"
#include "cleanup/patchaudio.h"
#include "fake_hosts.h"
#include "recorded_side.h"

namespace Orvane {
namespace {

using OrvaneTest::FakeMessageHost;
using OrvaneTest::MusicPairs;
using OrvaneTest::RecordedSide;
using OrvaneTest::Serialised;

constexpr int kFrames = 120000;

const std::vector<float>& Pairs() {
    static const std::vector<float> pairs = MusicPairs(kFrames);
    return pairs;
}

class Patching : public ::testing::Test {
protected:
    const ClickRepair* PatchOf(int channel) {
        const ClickRepair* e = FirstRepairAfter(entry.click_repairs[channel], 50000);
        return e && e->repair_type == REPAIR_PATCH ? e : nullptr;
    }

    RecordedSide side{Pairs()};
    FileHistoryEntry& entry = *side.entry;
    EditAccess open{entry};
};

TEST_F(Patching, WhatCannotBePatchedIsSaid) {
    constexpr const char* kTooLarge =
        "The selection is too large to patch.  Please zoom in and select a region of 0.25 seconds or less.";
    const struct {
        int64_t start, end;
        int channels;
        std::string text;
    } rows[] = {{50000, 50000, 3, "Please select a region first"},
                {50000, 50000 + 11026, 3, kTooLarge},
                {kFrames - 5, kFrames + 5, 3, std::string(MessageText(Msg::NoRoomForRepair))},
                {50000, 50100, 0, "Please select a channel first"}};
    for (const auto& row : rows) {
        FakeMessageHost messages;
        EXPECT_FALSE(PatchRecording(entry, row.start, row.end, {row.channels, PatchMethod::FFT, 0}));
        EXPECT_EQ(messages.Texts(), std::vector<std::string>{row.text});
    }
    EXPECT_TRUE(PatchSelection(entry, 50000, 50000 + 11025).Begin());
}

TEST_F(Patching, TriesAreReplacedAndWhatIsNotKeptIsGone) {
    EXPECT_TRUE(InsertRepair(entry, CHANNEL_LEFT, 50100, 50200));
    const std::string before = Serialised(entry);
    FakeMessageHost messages;
    {
        PatchSelection dialog(entry, 50000, 51000);
        EXPECT_TRUE(dialog.Begin());
        EXPECT_TRUE(dialog.Try({CHANNELS_BOTH, PatchMethod::AR, 0}));
        ASSERT_TRUE(PatchOf(0) && PatchOf(1));
        EXPECT_TRUE(PatchOf(0)->HasTwin());
        EXPECT_TRUE(dialog.Try({CHANNEL_RIGHT, std::nullopt, 0}));
        ASSERT_TRUE(!PatchOf(0) && PatchOf(1));
        EXPECT_FALSE(PatchOf(1)->HasTwin());

        // Other edits have to wait, and so has undoing.
        EXPECT_FALSE(CutSelection(entry, 70000, 80000, 0));
        EXPECT_FALSE(Undo());
        const std::string refusal = PlainText(MessageText(Msg::PatchDialogOpen));
        EXPECT_EQ(messages.Texts(), (std::vector<std::string>{refusal, refusal}));
    }
    EXPECT_EQ(Serialised(entry), before);
    EXPECT_EQ(GetUndoState().undo_highwater, 1);
}

TEST_F(Patching, AnExistingPatchIsReplacedWithItsTwin) {
    ASSERT_TRUE(PatchRecording(entry, 50000, 52000, {CHANNELS_BOTH, PatchMethod::FFT, 0}));
    const std::string before = Serialised(entry);
    {
        FakeMessageHost messages({Answer::Cancel});
        EXPECT_FALSE(PatchRecording(entry, 51000, 51500, {CHANNEL_LEFT, PatchMethod::FFT, 0}));
        ASSERT_EQ(messages.asked.size(), 1u);
        EXPECT_EQ(messages.asked[0].hide_key, "Warn Already Patched");
        EXPECT_EQ(Serialised(entry), before);
    }
    FakeMessageHost messages({Answer::Ok});
    EXPECT_TRUE(PatchRecording(entry, 51000, 51500, {CHANNEL_LEFT, PatchMethod::FFT, 0}));
    ASSERT_TRUE(PatchOf(0));
    EXPECT_EQ(PatchOf(0)->Length(), 500);
    EXPECT_FALSE(PatchOf(1));
    EXPECT_TRUE(Undo());
    EXPECT_EQ(Serialised(entry), before);
}

TEST_F(Patching, InsideARepairItTakesTheWholeOfIt) {
    ASSERT_TRUE(InsertRepair(entry, CHANNEL_RIGHT, 50000, 50300));
    EXPECT_TRUE(PatchRecording(entry, 50100, 50120, {CHANNELS_BOTH, PatchMethod::AR, 0}));
    for (int channel : {0, 1}) {
        ASSERT_TRUE(PatchOf(channel));
        EXPECT_EQ(PatchOf(channel)->absolute_start_time, 50000);
        EXPECT_EQ(PatchOf(channel)->absolute_end_time, 50300);
    }
}

// The same tones recorded at several rates: the patch falls on its own place at each.
TEST(PatchRates, HighRatesAreConvertedDownAndBack) {
    for (const int rate : {22050, 48000, 96000, 64000}) {
        SCOPED_TRACE(rate);
        const int64_t frames = rate * 2, start = rate, end = rate + rate / 100;
        const auto tone = [rate](int64_t i) {
            return 0.4 * std::sin(2 * std::numbers::pi * 700.0 * static_cast<double>(i) / rate + 0.3);
        };
        std::vector<float> pairs(2 * static_cast<size_t>(frames));
        OrvaneTest::Noise noise(5);
        for (int64_t i = 0; i < frames; ++i) {
            const bool damaged = i >= start && i < end;
            pairs[2 * i] = pairs[2 * i + 1] = static_cast<float>(damaged ? 0.0 : tone(i) + 1e-5 * noise.Normal());
        }
        RecordedSide side(pairs, rate);
        const EditAccess open(*side.entry);
        const PatchAudio patch = MakePatch(*open.Stream(), CHANNELS_BOTH, {start, end, PatchMethod::AR, 0});
        ASSERT_EQ(patch.outcome, PatchOutcome::Made);
        EXPECT_EQ(patch.samples[0], patch.samples[1]);
        ASSERT_EQ(static_cast<int64_t>(patch.samples[0].size()), end - start);
        double error = 0, signal = 0;
        for (int64_t i = start; i < end; ++i) {
            error += std::pow(patch.samples[0][static_cast<size_t>(i - start)] / 32767.0 - tone(i), 2);
            signal += tone(i) * tone(i);
        }
        EXPECT_LT(error, 0.001 * signal);  // a place that is off by one sample would make 0.002 and more
    }
}

}  // namespace
}  // namespace Orvane
