#include "cleanup/patchmethods.h"

#include <gtest/gtest.h>

#include <bit>

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

TEST(Patch, OneSampleIsTheMeanOfItsNeighbours) {
    const std::vector<float> signal = {0.1f, 0.2f, 0.9f, 0.4f, -0.3f, 0.0f, 0.0f};
    for (PatchMethod method : kMethods) {
        auto patched = signal;
        Patch(method, patched, 2, 2);
        EXPECT_FLOAT_EQ(patched[2], 0.3f);
        Patch(method, patched, 0, 0);
        EXPECT_FLOAT_EQ(patched[0], 0.2f) << "with one neighbour";
    }
}

// The mean of two spectra is the spectrum of the mean.
TEST(Patch, FftIsTheMeanOfBothSidesBetweenItsFades) {
    const Damaged d = MakeDamaged(4, 1000);
    auto patched = d.signal;
    PatchFFT(patched, d.first, d.last);
    const int size = 1024, middle = (size - 1000) / 2;
    for (int i = 0; i < 1000; i++) {
        const int from_end = std::min(i, 999 - i);
        const double w = std::min(1.0, from_end / 100.0);
        const double mean = (d.signal[d.first - size + middle + i] + d.signal[d.last + 1 + middle + i]) / 2.0;
        ASSERT_NEAR(patched[d.first + i], (1 - w) * d.signal[d.first + i] + w * mean, 1e-5) << i;
    }
}

TEST(Patch, ApaGoesFromTheWindowBeforeToTheWindowAfter) {
    const Damaged d = MakeDamaged(5, 1000);
    auto patched = d.signal;
    PatchAPA(patched, d.first, d.last);
    EXPECT_NEAR(patched[d.first], d.signal[d.first - 1024], 5e-3);
    EXPECT_NEAR(patched[d.last], d.signal[d.last + 1], 5e-3);
    int repeated = 0;
    for (int i = d.first + 11; i < d.last; i++) repeated += patched[i] == patched[i - 1];
    EXPECT_NEAR(repeated, 495, 3);
}

}  // namespace
}  // namespace Orvane
