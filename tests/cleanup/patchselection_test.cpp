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

TEST(Patching, TriesAreReplacedAndWhatIsNotKeptIsGone) {
    RecordedSide side{MusicPairs(120000)};
    FileHistoryEntry& entry = *side.entry;
    const EditAccess open(entry);
    const auto PatchOf = [&](int channel) {
        const ClickRepair* e = FirstRepairAfter(entry.click_repairs[channel], 50000);
        return e && e->repair_type == REPAIR_PATCH ? e : nullptr;
    };
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
