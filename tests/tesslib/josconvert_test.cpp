#include "tesslib/josconvert.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
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
                          {22050, 384000, 0, 11, 4096},
                          {48000, 47999, 0, 11, 4096},
                          {96000, 48000, 0, 5, 4096}}) {
        SCOPED_TRACE(std::to_string(c.input_rate) + " to " + std::to_string(c.output_rate));
        MemoryStream source(c.input_rate, pairs);
        JOSConvert convert(&source, c.output_rate);
        const std::vector<float> output = ReadAll(convert, c.flags);
        ASSERT_EQ(static_cast<int64_t>(output.size()), 2 * MulDiv64(700, c.output_rate, c.input_rate));
        const Testing::PlainResampler plain{c.Nmult, c.Npc, double(c.input_rate), double(c.output_rate)};
        double worst = 0.0;
        for (size_t i = 0; i < output.size(); ++i) {
            worst = std::max(worst, std::abs(output[i] - plain.At(channels[i % 2], static_cast<int64_t>(i / 2))));
        }
        EXPECT_LT(worst, 2e-6);
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

// A source that fails at one place, or ends before its time.
class OddStream : public MemoryStream {
public:
    using MemoryStream::MemoryStream;
    int32_t Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) override {
        if (position <= fails_at && fails_at < position + n_samples) return ERR_IO;
        return MemoryStream::Read(position, buffer, n_samples, flags);
    }
    int64_t GetTotalSamples(uint32_t) override { return promised; }

    int64_t fails_at = -1;
    int64_t promised = 20000;
};

TEST(JOSConvert, FollowsItsSourceInFailureAndLength) {
    OddStream source(44100, Noise(20000));
    JOSConvert convert(&source, 48000);
    const std::vector<float> expected = ReadAll(convert);
    std::vector<float> output(2 * 30000);
    source.fails_at = 5000;
    EXPECT_EQ(convert.Read(5000, output.data(), 5000, 0), ERR_IO);
    source.fails_at = -1;
    EXPECT_EQ(convert.Read(5000, output.data(), 5000, 0), 5000);
    EXPECT_TRUE(std::equal(&output[0], &output[2 * 5000], expected.begin() + 2 * 5000));
    source.promised = 50000;
    EXPECT_EQ(convert.Read(0, output.data(), 30000, 0), 21769) << "the end of what the source really has";
}

}  // namespace
}  // namespace Tesslib
