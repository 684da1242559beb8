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

TEST(RatioOfFactor, FindsTheRatesAgain) {
    for (const int input : {8000, 11025, 16000, 22050, 32000, 44100, 44101, 48000, 96000, 384000, 2822400}) {
        for (const int output : {8000, 11025, 22050, 44056, 44100, 47952, 48000, 88200, 384000, 767999}) {
            const RateRatio ratio = RatioOfFactor(static_cast<double>(output) / input);
            EXPECT_EQ(ratio.outputs * input, ratio.inputs * output) << input << " to " << output;
        }
    }
}

TEST(FilterTable, IsMadeOnceAndFallsToZeroBehindItsLastEntry) {
    const auto table = GetFilterTable(5 * 4096, 4096, kFilterRolloff, kKaiserBeta);
    EXPECT_EQ(GetFilterTable(5 * 4096, 4096, kFilterRolloff, kKaiserBeta), table);
    EXPECT_NE(GetFilterTable(2 * 4096, 4096, kFilterRolloff, kKaiserBeta), table);
    EXPECT_EQ(table->values.size(), 5 * 4096u);
    EXPECT_FLOAT_EQ(table->values.front(), 0.9f);
    EXPECT_EQ(table->values.back() + table->differences.back(), 0.0f);
}

struct Conversion {
    int quality, Npc, input_rate, output_rate;
};

TEST(Resampler, GivesWhatTheFormulaGives) {
    const std::vector<float> left = Noise(700, 1), right = Noise(700, 2);
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

TEST(Resampler, GivesTheSameInAnyPieces) {
    constexpr int kInput = 20000;
    std::mt19937 random(5);
    for (const auto& [input_rate, output_rate] :
         {std::pair{44100, 48000}, {192000, 22050}, {16000, 384000}, {44101, 48000}}) {
        SCOPED_TRACE(std::to_string(input_rate) + " to " + std::to_string(output_rate));
        const double factor = static_cast<double>(output_rate) / input_rate;
        const std::vector<float> input = Interleave(Noise(kInput, 3), Noise(kInput, 4));
        Resampler whole, pieces;
        whole.resample_open(11, 4096, factor, factor);
        const std::vector<float> expected = ProcessAll(whole, factor, input);
        const auto n_expected = static_cast<int>(expected.size() / 2);

        pieces.resample_open(11, 4096, factor, factor);
        std::vector<float> output(expected.size() + 2000, 99.0f);
        int n_in = 0, n_out = 0;
        for (int n_idle = 0; n_idle < 20;) {
            const auto size = static_cast<int>(random() % (random() % 2 ? 10 : 9000));
            const int n = std::min(kInput - n_in, size);
            const auto room = static_cast<int>(random() % 1000);
            int used = 0;
            const int made = pieces.resample_process(factor, input.data() + 2 * n_in, n, n_in + n == kInput, used,
                                                     output.data() + 2 * n_out, room);
            ASSERT_LE(made, room);
            n_in += used;
            n_out += made;
            ASSERT_LE(n_out, n_expected);
            n_idle = used + made == 0 ? n_idle + 1 : 0;
        }
        ASSERT_EQ(n_in, kInput);
        ASSERT_EQ(n_out, n_expected);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), output.begin()));
        EXPECT_EQ(output[expected.size()], 99.0f);
    }
}

TEST(Resampler, ComesOutOfASeekWithTheSameFrames) {
    const double factor = 48000.0 / 44100.0;
    const std::vector<float> input = Interleave(Noise(20000, 3), Noise(20000, 4));
    Resampler resampler;
    resampler.resample_open(30, 16384, factor, factor);
    const std::vector<float> expected = ProcessAll(resampler, factor, input);
    for (const int64_t position : {0, 1, 159, 160, 161, 5000, 20000}) {
        const int64_t first = resampler.resample_seek(factor, position);
        ASSERT_EQ(first, position * 147 / 160 - resampler.resample_get_filter_width());
        std::vector<float> from_there(2 * std::max<int64_t>(0, -first), 0.0f);
        from_there.insert(from_there.end(), input.begin() + 2 * std::max<int64_t>(0, first), input.end());

        const auto wanted = static_cast<int>(resampler.GetInputWanted(factor, 500));
        std::vector<float> output(2 * 500);
        int used = 0;
        EXPECT_EQ(resampler.resample_process(factor, from_there.data(), wanted - 1, false, used, output.data(), 500),
                  499);
        EXPECT_EQ(
            resampler.resample_process(factor, &from_there[2 * (wanted - 1)], 1, false, used, &output[2 * 499], 1), 1);
        EXPECT_TRUE(std::equal(output.begin(), output.end(), expected.begin() + 2 * position)) << position;
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
