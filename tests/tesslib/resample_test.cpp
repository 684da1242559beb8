#include "tesslib/resample.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>
#include <string>

#include "plain_resampler.h"

namespace Tesslib {
namespace {

// Noise made of whole numbers: the same on every machine.
std::vector<float> Noise(int n_frames, uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<float> channel(n_frames);
    for (float& value : channel)
        value = static_cast<float>(static_cast<int32_t>(random() >> 8) - (1 << 23)) / (1 << 23);
    return channel;
}

std::vector<float> Interleave(const std::vector<float>& left, const std::vector<float>& right) {
    std::vector<float> pairs;
    for (size_t i = 0; i < left.size(); ++i) pairs.insert(pairs.end(), {left[i], right[i]});
    return pairs;
}

// Everything that comes out of `input` in one call.
std::vector<float> ProcessAll(Resampler& resampler, double factor, const std::vector<float>& input) {
    const auto n = static_cast<int>(input.size() / 2);
    const auto room = static_cast<int>(n * factor) + 10;
    std::vector<float> output(2 * room);
    int used = 0;
    const int made = resampler.resample_process(factor, input.data(), n, true, used, output.data(), room);
    EXPECT_EQ(used, n);
    output.resize(2 * made);
    return output;
}

TEST(Resampler, GivesWhatTheFormulaGives) {
    const std::vector<float> left = Noise(700, 1), right = Noise(700, 2);
    struct Conversion {
        int quality, Npc, input_rate, output_rate;
    };
    for (const Conversion& c : {Conversion{30, 16384, 44100, 48000},
                                {30, 16384, 48000, 44100},
                                {11, 4096, 44100, 88200},
                                {5, 4096, 96000, 48000},
                                {11, 4096, 384000, 22050},
                                {11, 4096, 22050, 176400},
                                {30, 16384, 44101, 48000},
                                {11, 4096, 48000, 47999}}) {
        SCOPED_TRACE(std::to_string(c.input_rate) + " to " + std::to_string(c.output_rate));
        const double factor = static_cast<double>(c.output_rate) / c.input_rate;
        Resampler resampler;
        resampler.resample_open(c.quality, c.Npc, factor, factor);
        const std::vector<float> output = ProcessAll(resampler, factor, Interleave(left, right));
        ASSERT_EQ(std::ssize(output) / 2, (700LL * c.output_rate + c.input_rate - 1) / c.input_rate);
        const Testing::PlainResampler plain{c.quality, c.Npc, double(c.input_rate), double(c.output_rate)};
        double worst = 0.0;
        for (int i = 0; i < std::ssize(output) / 2; ++i) {
            worst = std::max(worst, std::abs(output[2 * i] - plain.At(left, i)));
            worst = std::max(worst, std::abs(output[2 * i + 1] - plain.At(right, i)));
        }
        EXPECT_LT(worst, 2e-6);
    }
}

TEST(Resampler, FollowsAChangingFactorWithoutAJump) {
    Resampler resampler;
    resampler.resample_open(30, 4096, 0.5, 2.0);
    std::vector<float> ramp;
    for (int i = 0; i < 3000; ++i) ramp.insert(ramp.end(), 2, static_cast<float>(i) / 1000);
    std::vector<float> output(2 * 500);
    int n_in = 0;
    double time = 0.0;
    int used = 0;
    for (const double factor : {1.0, 48000.0 / 44100.0, 2.0, 0.5, 0.7071}) {
        const int made = resampler.resample_process(factor, &ramp[2 * n_in], 100, false, used, output.data(), 500);
        n_in += used;
        EXPECT_GT(made, 40);
        for (int i = 0; i < made; ++i, time += 1.0 / factor) {
            if (time > 30) {
                EXPECT_NEAR(output[2 * i], time / 1000, 2e-3);
            }
        }
    }
    EXPECT_EQ(resampler.resample_process(2.1, ramp.data(), 10, false, used, output.data(), 100), -1);
}

// Where products and sums are fused, or added in another order, this fails.
TEST(Resampler, GivesTheSameBitsOnEveryProcessor) {
    uint64_t hash = 14695981039346656037u;
    for (const double factor : {48000.0 / 44100.0, 44100.0 / 96000.0, 48000.0 / 44101.0}) {
        Resampler resampler;
        resampler.resample_open(30, 16384, factor, factor);
        for (const float value : ProcessAll(resampler, factor, Interleave(Noise(5000, 3), Noise(5000, 4)))) {
            hash = (hash ^ std::bit_cast<uint32_t>(value)) * 1099511628211u;
        }
    }
    EXPECT_EQ(hash, 16938684152372370798u);
}

}  // namespace
}  // namespace Tesslib
