#include "tesslib/josconvert.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <numbers>
#include <random>
#include <string>

#include "allocations.h"
#include "foundation/muldiv.h"
#include "memorystream.h"
#include "plain_resampler.h"

namespace Tesslib {
namespace {

using Testing::MemoryStream;
using Testing::ReadAll;

constexpr std::array kRates = {16000, 22050, 32000, 44100, 48000, 88200, 96000, 176400, 192000, 352800, 384000};

// A tone on the left, half of it a quarter turn later on the right.
std::array<float, 2> TonePair(double frequency, int64_t position, int32_t samplerate) {
    const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(position) / samplerate;
    return {static_cast<float>(std::sin(angle)), static_cast<float>(0.5 * std::cos(angle))};
}

std::vector<float> Tone(double frequency, int n_frames, int32_t samplerate) {
    std::vector<float> pairs;
    for (int i = 0; i < n_frames; ++i) {
        const auto pair = TonePair(frequency, i, samplerate);
        pairs.insert(pairs.end(), pair.begin(), pair.end());
    }
    return pairs;
}

// Noise made of whole numbers: the same on every machine.
std::vector<float> Noise(int n_frames) {
    std::mt19937 random(11);
    std::vector<float> pairs(2 * n_frames);
    for (float& value : pairs) value = static_cast<float>(static_cast<int32_t>(random() >> 8) - (1 << 23)) / (1 << 23);
    return pairs;
}

// The filters by quality and ratio, and the samples by their formula.
TEST(JOSConvert, GivesWhatTheFormulaGives) {
    const std::vector<float> pairs = Noise(700);
    std::array<std::vector<float>, 2> channels;
    for (size_t i = 0; i < pairs.size(); ++i) channels[i % 2].push_back(pairs[i]);
    struct Case {
        int input_rate, output_rate;
        uint32_t flags;
        int Nmult, Npc;
    };
    for (const Case& c : {Case{44100, 48000, PCM_BEST_QUALITY, 30, 16384},
                          {96000, 44100, PCM_BEST_QUALITY | PCM_NO_FADERS, 30, 16384},
                          {44101, 48000, PCM_BEST_QUALITY, 30, 16384},
                          {88200, 44100, PCM_BEST_QUALITY, 11, 4096},
                          {44100, 176400, PCM_BEST_QUALITY, 11, 4096},
                          {384000, 22050, PCM_USE_CACHE, 11, 4096},
                          {48000, 47999, 0, 11, 4096},
                          {96000, 48000, 0, 5, 4096}}) {
        SCOPED_TRACE(std::to_string(c.input_rate) + " to " + std::to_string(c.output_rate));
        MemoryStream source(c.input_rate, pairs);
        JOSConvert convert(&source, c.output_rate);
        const std::vector<float> output = ReadAll(convert, c.flags);
        const Testing::PlainResampler plain{c.Nmult, c.Npc, double(c.input_rate), double(c.output_rate)};
        double worst = 0.0;
        for (size_t i = 0; i < output.size(); ++i) {
            worst = std::max(worst, std::abs(output[i] - plain.At(channels[i % 2], static_cast<int64_t>(i / 2))));
        }
        EXPECT_LT(worst, 2e-6);
    }
}

// Where products and sums are fused, or added in another order, this fails.
TEST(JOSConvert, GivesTheSameBitsOnEveryProcessor) {
    uint64_t hash = 14695981039346656037u;
    for (auto [input_rate, output_rate] : {std::pair{44100, 48000}, {96000, 44100}, {44101, 48000}}) {
        MemoryStream source(input_rate, Noise(5000));
        JOSConvert convert(&source, output_rate);
        for (const float value : ReadAll(convert, PCM_BEST_QUALITY)) {
            hash = (hash ^ std::bit_cast<uint32_t>(value)) * 1099511628211u;
        }
    }
    EXPECT_EQ(hash, 8887831708670345867u);
}

// What the filter of a conversion may take from or add to a tone well inside its passband.
double Tolerance(int32_t input_rate, int32_t output_rate, uint32_t flags) {
    const bool simple_ratio = IsSimpleRatio(static_cast<double>(output_rate) / input_rate);
    switch (QualityFor(flags, simple_ratio).Nmult) {
        case 30:
            return 4e-4;
        case 11:
            return 3e-3;
        default:
            return 0.02;
    }
}

// How far `output` is off the tone at its worst.
double WorstError(const std::vector<float>& output, int64_t first, int64_t last, double frequency, int32_t samplerate) {
    double worst = 0.0;
    for (int64_t i = first; i < last; ++i) {
        const auto [left, right] = TonePair(frequency, i, samplerate);
        worst = std::max<double>({worst, std::abs(output[2 * i] - left), std::abs(output[2 * i + 1] - right)});
    }
    return worst;
}

// Every frame of the total, each with the tone's value at its own time: nothing late, no channel exchanged.
TEST(JOSConvert, KeepsLengthAndTimeBetweenEveryPairOfRates) {
    for (const int input_rate : kRates) {
        for (const int output_rate : kRates) {
            if (input_rate == output_rate) continue;
            for (const uint32_t flags : {0u, uint32_t{PCM_BEST_QUALITY}}) {
                SCOPED_TRACE(std::to_string(input_rate) + " to " + std::to_string(output_rate));
                const int n_input = input_rate / 20 + 7;
                MemoryStream source(input_rate, Tone(1000, n_input, input_rate));
                JOSConvert convert(&source, output_rate);
                EXPECT_EQ(convert.GetSampleRate(flags), output_rate);
                const int64_t total = MulDiv64(n_input, output_rate, input_rate);
                ASSERT_EQ(convert.GetTotalSamples(flags), total);

                std::vector<float> output(2 * (total + 100), 99.0f);
                ASSERT_EQ(convert.Read(0, output.data(), static_cast<int32_t>(total + 100), flags), total);
                EXPECT_EQ(output[2 * total], 99.0f);
                EXPECT_LT(WorstError(output, total / 4, 3 * total / 4, 1000, output_rate),
                          Tolerance(input_rate, output_rate, flags));
                for (const int64_t position : {total, total + 1, 10 * total, int64_t{1} << 62}) {
                    EXPECT_EQ(convert.Read(position, output.data(), 100, flags), 0) << position;
                }
            }
        }
    }
}

// Reads of all sizes, on and back and forth, and both qualities in turn, against one straight read of each.
TEST(JOSConvert, GivesTheSameHoweverItIsRead) {
    for (const auto& [input_rate, output_rate] :
         {std::pair{44100, 48000}, {48000, 44100}, {96000, 48000}, {384000, 16000}, {22050, 192000}, {44101, 48000}}) {
        SCOPED_TRACE(std::to_string(input_rate) + " to " + std::to_string(output_rate));
        MemoryStream source(input_rate, Noise(30000));
        std::array<std::vector<float>, 2> expected;
        for (const uint32_t flags : {0u, uint32_t{PCM_BEST_QUALITY}}) {
            JOSConvert straight(&source, output_rate);
            expected[flags != 0] = ReadAll(straight, flags);
        }
        ASSERT_NE(expected[0], expected[1]);

        JOSConvert convert(&source, output_rate);
        const int64_t total = convert.GetTotalSamples(0);
        std::vector<float> output(2 * 100000);
        std::mt19937 random(3);
        for (uint32_t flags : {0u, uint32_t{PCM_BEST_QUALITY}}) convert.Read(0, output.data(), 100000, flags);
        const int64_t n_allocations = Testing::CountAllocations();
        int64_t position = 0;
        uint32_t flags = 0;
        for (int i = 0; i < 300; ++i) {
            if (random() % 4 == 0) position = static_cast<int64_t>(random() % total);
            if (random() % 8 == 0) flags ^= PCM_BEST_QUALITY;
            const auto n = static_cast<int32_t>(random() % (random() % 20 ? 700 : 100000));
            const int32_t n_read = convert.Read(position, output.data(), n, flags);
            ASSERT_EQ(n_read, std::min<int64_t>(n, total - position));
            ASSERT_TRUE(std::equal(output.begin(), output.begin() + 2 * static_cast<int64_t>(n_read),
                                   expected[flags != 0].begin() + 2 * position))
                << n << " frames at " << position << ", flags " << flags;
            position += n_read;
        }
        EXPECT_EQ(Testing::CountAllocations(), n_allocations) << "in steady state";
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

// A source that fails at one place, or ends before its time, or never.
class OddStream : public MemoryStream {
public:
    using MemoryStream::MemoryStream;
    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override {
        if (position <= fails_at && fails_at < position + n_samples) return ERR_IO;
        return MemoryStream::Read(position, buffer, n_samples, flags);
    }
    int64_t GetTotalSamples(uint32_t) override { return promised; }
    int32_t GetSampleRate(uint32_t flags) override { return flags & PCM_RAW_DOP ? 2 * samplerate : samplerate; }

    int64_t fails_at = -1;
    int64_t promised = 0;
};

TEST(JOSConvert, FollowsItsSourceInFailureLengthAndRate) {
    OddStream source(44100, Noise(20000));
    source.promised = 20000;
    JOSConvert convert(&source, 48000);
    const std::vector<float> expected = ReadAll(convert);
    std::vector<float> output(2 * 30000);
    source.fails_at = 5000;
    EXPECT_EQ(convert.Read(0, output.data(), 5000, 0), 5000);
    EXPECT_EQ(convert.Read(5000, output.data(), 5000, 0), ERR_IO);
    source.fails_at = -1;
    EXPECT_EQ(convert.Read(5000, output.data(), 5000, 0), 5000);
    EXPECT_TRUE(std::equal(&output[0], &output[2 * 5000], expected.begin() + 2 * 5000));

    // It ends where the source really ends.
    for (const int64_t promised : {int64_t{50000}, kEndless}) {
        source.promised = promised;
        EXPECT_EQ(convert.GetTotalSamples(0), promised == kEndless ? kEndless : 54422);
        EXPECT_EQ(convert.Read(0, output.data(), 30000, 0), 21769);
        EXPECT_EQ(convert.Read(21769, output.data(), 10000, 0), 0);
        EXPECT_EQ(convert.Read(21760, output.data(), 10000, 0), 9);
    }
    source.pairs = Tone(1000, 4410, 88200);
    source.promised = 4410;
    EXPECT_EQ(convert.Read(0, output.data(), 10000, PCM_RAW_DOP | PCM_BEST_QUALITY), 2400);
    EXPECT_LT(WorstError(output, 100, 2300, 1000, 48000), 2e-3);
}

}  // namespace
}  // namespace Tesslib
