#include "cleanup/patchmethods.h"

#include <gtest/gtest.h>

#include "audiosignals.h"

namespace Orvane {
namespace {

using OrvaneTest::Music;
using OrvaneTest::Noise;
using OrvaneTest::SignalToErrorDb;

constexpr PatchMethod kMethods[] = {PatchMethod::APA, PatchMethod::AR, PatchMethod::FFT};

// Music with a stretch full of crackle.
struct Damaged {
    std::vector<float> original, signal;
    int first, last;
};

Damaged MakeDamaged(uint64_t seed, int n, double peak = 0.5) {
    const int context = PatchContext(n);
    Damaged d{Music(seed, 2 * context + n, peak), {}, context, context + n - 1};
    d.signal = d.original;
    Noise noise(seed);
    for (int i = d.first; i <= d.last; i++) {
        if (noise.Below(20) == 0) d.signal[i] += static_cast<float>(0.3 * noise.Normal());
    }
    return d;
}

void ExpectBoundedAndOutsideUntouched(const std::vector<float>& patched, const std::vector<float>& before, int first,
                                      int last, const std::string& what) {
    for (int i = 0; i < static_cast<int>(patched.size()); i++) {
        if (i < first || i > last) {
            ASSERT_EQ(patched[i], before[i]) << what << " at " << i;
        } else {
            ASSERT_LE(std::abs(patched[i]), 1.0f) << what << " at " << i;
        }
    }
}

// 5, 50 and 250 ms. The synthetic methods make up audio of the right kind, so that only the AR method comes near the
// original; it is the one to pick.
TEST(Patch, BringsMusicBackAndBestPicksTheMethodThatDoes) {
    struct Case {
        int n;
        double least_ar_db;
    };
    for (const Case& c : {Case{220, 15}, {2205, 8}, {11025, 4}}) {
        double ar_db = 0, best_db = 0;
        const int rounds = c.n > 10000 ? 1 : 4;
        for (uint64_t seed = 1; seed <= static_cast<uint64_t>(rounds); seed++) {
            const Damaged damaged = MakeDamaged(seed, c.n);
            double most = -1000;
            const auto db = [&](const std::vector<float>& patched) {
                return SignalToErrorDb(damaged.original.data() + damaged.first, patched.data() + damaged.first, c.n);
            };
            for (PatchMethod method : kMethods) {
                auto patched = damaged.signal;
                Patch(method, patched, damaged.first, damaged.last);
                ExpectBoundedAndOutsideUntouched(patched, damaged.signal, damaged.first, damaged.last, "patch");
                if (method == PatchMethod::AR) ar_db += db(patched) / rounds;
                most = std::max(most, db(patched));
            }
            auto patched = damaged.signal;
            PatchBest(patched, damaged.first, damaged.last);
            best_db += (db(patched) - most) / rounds;
        }
        EXPECT_GT(ar_db, c.least_ar_db) << c.n;
        EXPECT_GT(best_db, -1) << "the pick against the best there was, n " << c.n;
    }
}

TEST(Patch, ShortStretchesAndPlacesAtTheEndsOfARecordingAreSane) {
    const auto music = Music(9, 9000);
    for (int n : {2, 3, 60, 61, 120, 121, 1500}) {
        for (int first : {0, 1, 9000 - n}) {
            for (PatchMethod method : kMethods) {
                auto patched = music;
                Patch(method, patched, first, first + n - 1);
                ExpectBoundedAndOutsideUntouched(patched, music, first, first + n - 1, std::to_string(n));
            }
        }
    }
}

}  // namespace
}  // namespace Orvane
