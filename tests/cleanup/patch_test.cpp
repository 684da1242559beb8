// Patches, as methods on audio and as edits of a recording.
#include <gtest/gtest.h>

#include <cmath>

#include "audiosignals.h"
#include "cleanup/edit/editcuts.h"
#include "cleanup/edit/editrepairs.h"
#include "cleanup/edit/patchselection.h"
#include "cleanup/repair/patchaudio.h"
#include "cleanup/repair/patchmethods.h"
#include "recorded_side.h"

using namespace Foundation;

namespace Orvane {
namespace {

using OrvaneTest::Music;
using OrvaneTest::Noise;
using OrvaneTest::RecordedSide;
using OrvaneTest::Serialised;
using OrvaneTest::SignalToErrorDb;

constexpr PatchMethod kMethods[] = {PatchMethod::APA, PatchMethod::AR, PatchMethod::FFT};

void ExpectBoundedAndOutsideUntouched(const std::vector<float>& patched, const std::vector<float>& before, int first,
                                      int last) {
    for (int i = 0; i < static_cast<int>(patched.size()); i++) {
        const bool good = i < first || i > last ? patched[i] == before[i] : std::abs(patched[i]) <= 1.0f;
        ASSERT_TRUE(good) << first << " to " << last << " at " << i;
    }
}

// 5, 50 and 250 ms. The synthetic methods make up audio of the right kind, so that only the AR method comes near the
// original; it is the one to pick.
TEST(Patch, BringsMusicBackAndBestPicksTheMethodThatDoes) {
    for (const auto& [n, least_ar_db] : {std::pair{220, 15}, {2205, 8}, {11025, 4}}) {
        double ar_db = 0, best_db = 0;
        const int rounds = n > 10000 ? 1 : 4;
        for (uint64_t seed = 1; seed <= static_cast<uint64_t>(rounds); seed++) {
            const int first = PatchContext(n), last = first + n - 1;
            const std::vector<float> music = Music(seed, 2 * first + n);
            std::vector<float> crackling = music;
            Noise noise(seed);
            for (int i = first; i <= last; i++) {
                if (noise.Below(20) == 0) crackling[i] += static_cast<float>(0.3 * noise.Normal());
            }
            double most = -1000;
            const auto db = [&, width = n](const std::vector<float>& patched) {
                return SignalToErrorDb(music.data() + first, patched.data() + first, width);
            };
            for (PatchMethod method : kMethods) {
                auto patched = crackling;
                Patch(method, patched, first, last);
                ExpectBoundedAndOutsideUntouched(patched, crackling, first, last);
                if (method == PatchMethod::AR) ar_db += db(patched) / rounds;
                most = std::max(most, db(patched));
            }
            PatchBest(crackling, first, last);
            best_db += (db(crackling) - most) / rounds;
        }
        EXPECT_GT(ar_db, least_ar_db) << n;
        EXPECT_GT(best_db, -1) << "the pick against the best there was, n " << n;
    }
}

// Two tones whose beat is louder than full scale in the gap alone.
TEST(Patch, WhatIsLouderThanFullScaleIsHeldThereAndGoesOn) {
    constexpr int kGap = 5000;
    const int first = PatchContext(kGap), last = first + kGap - 1;
    std::vector<float> tones;
    for (int t = -first - kGap / 2; t < first + kGap / 2; t++) {
        const double beat = 1.2 * std::cos(2 * std::numbers::pi * t / 24000) * std::cos(0.1 * t);
        tones.push_back(static_cast<float>(std::clamp(beat, -1.0, 1.0)));
    }
    std::vector<float> patched = tones;
    std::fill_n(patched.begin() + first, kGap, 0.0f);
    PatchAR(patched, first, last);
    EXPECT_GT(SignalToErrorDb(tones.data() + first, patched.data() + first, kGap), 10);
}

TEST(Patch, ShortStretchesAndPlacesAtTheEndsOfARecordingAreSane) {
    const auto music = Music(9, 9000);
    for (int n : {2, 3, 60, 61, 120, 121, 1500}) {
        for (int first : {0, 1, 9000 - n}) {
            for (PatchMethod method : kMethods) {
                auto patched = music;
                Patch(method, patched, first, first + n - 1);
                ExpectBoundedAndOutsideUntouched(patched, music, first, first + n - 1);
            }
        }
    }
}

TEST(Patching, TriesAreReplacedAndWhatIsNotKeptIsGone) {
    RecordedSide side{OrvaneTest::MusicPairs(120000)};
    FileHistoryEntry& entry = *side.entry;
    const EditAccess open(entry);
    const auto PatchOf = [&](int channel) {
        const ClickRepair* e = entry.click_repairs[channel].FirstEndingAfter(50000);
        return e && e->repair_type == REPAIR_PATCH ? e : nullptr;
    };
    EXPECT_TRUE(InsertRepair(entry, CHANNEL_LEFT, 50100, 50200));
    const std::string before = Serialised(entry), file = WriteCrd(entry.click_repairs);
    for (ClickRepairList& list : entry.click_repairs) list.dirty = false;
    ClearDirty();
    {
        PatchSelection dialog(entry, 50000, 51000);
        EXPECT_TRUE(dialog.Begin());
        EXPECT_TRUE(dialog.Try({CHANNELS_BOTH, PatchMethod::AR, 0}));
        EXPECT_TRUE(PatchOf(0) && PatchOf(1) && PatchOf(0)->HasTwin());
        EXPECT_EQ(WriteCrd(entry.click_repairs), file) << "until it is kept it stands in no file";
        EXPECT_EQ(WriteCrd(entry.Copy(COPY_CORRECTIONS)->click_repairs), file);
        EXPECT_TRUE(dialog.Try({CHANNEL_RIGHT, std::nullopt, 0}));
        EXPECT_TRUE(!PatchOf(0) && PatchOf(1) && !PatchOf(1)->HasTwin());

        // Other edits have to wait, and so has undoing.
        EXPECT_TRUE(CutSelection(entry, 70000, 80000, 0).Is(Msg::PatchDialogOpen));
        EXPECT_TRUE(Undo().Is(Msg::PatchDialogOpen));
    }
    EXPECT_EQ(Serialised(entry), before);
    EXPECT_EQ(GetUndoState().undo_highwater, 1);
    EXPECT_FALSE(side.set.dirty || entry.click_repairs[0].dirty || entry.click_repairs[1].dirty);
    EXPECT_TRUE(PatchRecording(entry, 50000, 51000, {CHANNELS_BOTH, PatchMethod::AR, 0}));
    EXPECT_NE(WriteCrd(entry.click_repairs), file);
    EXPECT_TRUE(entry.click_repairs[0].dirty && entry.click_repairs[1].dirty);
    EXPECT_TRUE(
        PatchRecording(entry, 50500, 51500, {CHANNEL_LEFT, PatchMethod::AR, 0}).GetOutcome().Is(Kind::NeedsAnswer));
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
        const Result<PatchAudio> patch = MakePatch(*open.Stream(), CHANNELS_BOTH, {start, end, PatchMethod::AR, 0});
        ASSERT_TRUE(patch);
        EXPECT_EQ(patch->samples[0], patch->samples[1]);
        ASSERT_EQ(static_cast<int64_t>(patch->samples[0].size()), end - start);
        double error = 0, signal = 0;
        for (int64_t i = start; i < end; ++i) {
            error += std::pow(patch->samples[0][static_cast<size_t>(i - start)] / 32767.0 - tone(i), 2);
            signal += tone(i) * tone(i);
        }
        EXPECT_LT(error, 0.001 * signal);  // a place that is off by one sample would make 0.002 and more
    }
}

TEST(PatchRates, APatchMayReachTheEndOfARecordingOfAnyLength) {
    for (const int frames : {40000, 40001, 40002, 40003}) {
        RecordedSide side(OrvaneTest::MusicPairs(frames), 176400);
        const EditAccess open(*side.entry);
        EXPECT_TRUE(MakePatch(*open.Stream(), CHANNEL_LEFT, {frames - 900, frames, PatchMethod::AR, 0})) << frames;
    }
}

}  // namespace
}  // namespace Orvane
