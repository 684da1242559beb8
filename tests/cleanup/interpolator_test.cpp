// Repairs: the kernels, the interpolator, and its samples at other rates.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <numeric>

#include "audiosignals.h"
#include "cleanup/repair/ar_kernels.h"
#include "cleanup/repair/interpolator.h"
#include "cleanup/repair/repairclick.h"
#include "cleanup/repair/repairsamples.h"
#include "collection/corrections.h"
#include "interpolator_literal.h"

namespace Orvane {
namespace {

using OrvaneTest::Music;
using OrvaneTest::Noise;
using OrvaneTest::Resonant;

// Audio repaired on one processor must be that of every other.
TEST(ArKernels, AllFormsGiveTheSameBits) {
    Noise noise(5);
    for (int round = 0; round < 40; round++) {
        const int length = 3 + noise.Below(600), degree = 1 + noise.Below(std::min(240, length - 2)),
                  n = 1 + noise.Below(137);
        const std::vector<float> signal = Resonant(round, length, {{400, 0.999}, {4000, 0.95}});
        const std::vector<double> data(signal.begin(), signal.end());
        std::vector<std::vector<double>> results;
        for (const ArKernels* kernels : AllArKernels()) {
            std::vector<double> forward = data, steps(degree), model(degree + 2 * kArPadding), scratch(model.size());
            forward.resize(length + kArPadding);
            std::vector<double> backward = forward;
            double* a = model.data() + kArPadding;
            kernels->burg(forward.data(), backward.data(), length, degree, steps.data(), a,
                          scratch.data() + kArPadding);

            std::vector<double> filter = {1.0};
            filter.insert(filter.end(), a, a + degree);
            filter.resize(degree + 1 + n + 2 * kArPadding);
            const int n_lags = std::max(n, degree + 1);
            std::vector<double> lags(n_lags + kArPadding), context(n + 2 * degree + kArPadding), u(n + kArPadding);
            kernels->autocorrelation(filter.data(), degree + 1, lags.data(), n_lags);
            for (size_t i = 0; i < context.size(); i++) context[i] = data[i % length];
            kernels->both_sides(context.data() + degree, lags.data(), degree, u.data(), n);

            std::vector<double> row(lags.begin(), lags.begin() + n), columns(n * (n + kArPadding)), inverses(n);
            row.resize(n + kArPadding);
            u.resize(n);
            u.resize(n + kArPadding);
            EXPECT_TRUE(kernels->solve_toeplitz(row.data(), u.data(), n, columns.data(), inverses.data()));

            std::vector<double> all = steps;
            all.insert(all.end(), a, a + degree);
            all.insert(all.end(), lags.begin(), lags.begin() + n_lags);
            all.insert(all.end(), u.begin(), u.begin() + n);
            results.push_back(all);
        }
        for (size_t form = 1; form < results.size(); form++) {
            ASSERT_EQ(std::memcmp(results[0].data(), results[form].data(), results[0].size() * sizeof(double)), 0)
                << AllArKernels()[form]->name << " length " << length << " degree " << degree << " n " << n;
        }
    }
}

constexpr float kUnwritten = -7;

const auto kKeepNeighbours = [](auto&&...) {};
// Changes the context at places that tell where the gap is.
const auto kSpoilNeighbours = [](auto&& data, int gap_first, int gap_last, int n, int step) {
    for (int place : {gap_first - 9, gap_last + 7, n - 3, 20 + step}) data[static_cast<size_t>(place)] = 0.4;
};

// A repair as the scanner asks for it: n samples and the one more that is solved, with its context.
struct Job {
    std::vector<float> signal;
    int click_start, click_end, fade;
    bool big_pop;
};

Job MakeJob(const std::vector<float>& audio, int n, bool big_pop = false) {
    const int context = RepairContext(n, big_pop);
    return {{audio.begin(), audio.begin() + 2 * context + n}, context, context + n, n > 60 ? 6 : 0, big_pop};
}

RepairResult Repair(Interpolator& interpolator, const Job& job, std::vector<float>& out,
                    RemoveNeighboursRef neighbours = kKeepNeighbours) {
    out.assign(job.click_end - job.click_start + 6, kUnwritten);
    return interpolator.Interpolate(job.signal, job.click_start, job.click_end, job.fade, job.big_pop, out, neighbours);
}

std::vector<int16_t> Stored(std::span<const float> samples) {
    std::vector<int16_t> stored(samples.size());
    RepairTo16Bit(samples, stored);
    return stored;
}

// Audio as a recording of 16 bits holds it, a little surface noise included. (Without any noise the normal matrix of
// a strongly resonant signal is so badly conditioned that the literal form's own inverse is off by whole steps.)
std::vector<float> TestAudio(int kind, uint64_t seed, int n) {
    static const std::vector<OrvaneTest::Resonance> kResonances[] = {
        {}, {}, {{60, 0.9995}, {61, 0.9995}}, {{300, 0.999}, {1200, 0.995}, {5000, 0.98}}};
    std::vector<float> recorded = kind == 0 ? Music(seed, n) : Resonant(seed, n, kResonances[kind]);
    Noise noise(seed + 1000);
    for (float& sample : recorded) {
        sample = static_cast<float>(std::round((sample + 1e-4 * noise.Normal()) * 32767.0) / 32767.0);
    }
    return recorded;
}

TEST(Interpolator, GivesTheSameStoredSamplesAsTheLiteralForm) {
    Interpolator interpolator;
    std::vector<float> out, expected;
    int samples = 0, off_by_one = 0;
    for (int kind = 0; kind < 4; kind++) {
        for (int n = 1; n <= 412; n += n < 70 ? 3 : 57) {
            for (bool big_pop : {false, true}) {
                const Job job = MakeJob(TestAudio(kind, n, 3000), n, big_pop);
                const RepairResult result = Repair(interpolator, job, out, kSpoilNeighbours);
                const int wanted = OrvaneOracle::Interpolate(job.signal, job.click_start, job.click_end, job.fade,
                                                             big_pop, expected, kSpoilNeighbours);
                ASSERT_EQ(static_cast<int>(result), wanted) << "kind " << kind << " n " << n;
                ASSERT_GE(out.size(), expected.size());
                EXPECT_EQ(out[expected.size()], kUnwritten);
                out.resize(expected.size());
                const auto stored = Stored(out), literal = Stored(expected);
                for (int i = 0; i <= n; i++) {
                    samples++;
                    if (stored[i] == literal[i]) continue;
                    off_by_one++;
                    ASSERT_LE(std::abs(stored[i] - literal[i]), 1) << "kind " << kind << " n " << n << " sample " << i;
                }
            }
        }
    }
    EXPECT_LE(off_by_one, samples / 1000) << "of " << samples;
}

// What is solved at 44100 Hz fills the record to its last sample at every other rate.
TEST(ClickRepairer, LeavesNoTailOfARecordUnfilled) {
    std::vector<float> audio = Music(3, 9000, 0.2);
    for (float& sample : audio) sample += 0.5f;
    ClickDetector detector;
    PrimeDetector(detector, audio, 6000);
    ClickRepairer repairer;
    for (int32_t rate : {8000, 11025, 16000, 48000, 192000}) {
        for (int start = 6000; start < 6040; start++) {
            for (int n : {2, 5, 17, 18, 412}) {
                ClickRepairList list(0, rate);
                ClickRepair* slot = nullptr;
                ASSERT_EQ(repairer.RepairClick({audio, 0, 0, 8999, &detector}, {start, start + n - 1}, list, slot),
                          RepairResult::Repaired);
                ASSERT_GT(slot->min_sample, 5000) << rate << " " << start << " " << n;
            }
        }
    }
}

TEST(Interpolator, SilenceStaysSilentAndWhatIsNoNumberIsSingular) {
    Interpolator interpolator;
    std::vector<float> out;
    for (int n : {1, 100, 412}) {
        const Job silent = MakeJob(std::vector<float>(4000), n);
        EXPECT_EQ(Repair(interpolator, silent, out), RepairResult::Repaired);
        for (int i = 0; i <= n; i++) ASSERT_EQ(out[i], 0.0f);
        for (float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
            for (int side : {-1, 1}) {
                Job job = MakeJob(TestAudio(0, 5, 4000), n);
                const int near = side < 0 ? job.click_start - 6 : job.click_end + 6;
                std::fill_n(job.signal.begin() + near - 3, 6, bad);
                EXPECT_EQ(Repair(interpolator, job, out), RepairResult::Singular) << n << " side " << side;
            }
        }
        // What a bad repair left in the working memory must not reach the next one.
        Interpolator fresh;
        std::vector<float> again;
        const Job job = MakeJob(TestAudio(0, 6, 4000), n);
        EXPECT_EQ(Repair(interpolator, job, out), Repair(fresh, job, again));
        EXPECT_EQ(out, again);
    }
}

// A ramp stays one, to within the step by which the number of outputs for an input, or of inputs for an output, varies.
TEST(RepairSamples, ConversionToEveryRateKeepsEachSampleInItsPlace) {
    std::vector<float> ramp(413);
    std::iota(ramp.begin(), ramp.end(), 0.0f);
    for (int rate : {48000, 88200, 96000, 176400, 192000, 44101}) {
        std::vector<float> up(RepairStoredLength(412, rate), -1.0f);
        ConvertRepairUp(ramp, rate, up);
        for (size_t j = 0; j < up.size(); j++) {
            ASSERT_NEAR(up[j], std::min(412.0, static_cast<double>(j) * 44100 / rate), 1.0) << rate << " " << j;
        }
    }
    for (int rate : {8000, 11025, 16000, 32000, 44099}) {
        std::vector<float> down(RepairStoredLength(412, rate), -1.0f);
        ConvertRepairDown(ramp, rate, down);
        const double inputs = 44100.0 / rate;
        for (size_t j = 0; j + 1 < down.size(); j++) {
            ASSERT_NEAR(down[j], (static_cast<double>(j) + 0.5) * inputs - 0.5, 1.0) << rate << " " << j;
        }
    }
}

}  // namespace
}  // namespace Orvane
