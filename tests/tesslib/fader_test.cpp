#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "memorystream.h"
#include "tesslib/stages.h"

namespace Tesslib {
namespace {

using Testing::MemoryStream;
using Testing::ReadAll;

// The gain at one position, asked for by itself.
double PlainGain(const FADERS& f, int64_t position) {
    double x = 0;
    if (f.fade_out_length != 0 && position + 1 >= f.fade_out_end - f.fade_out_length) {
        const int64_t d = std::max<int64_t>(f.fade_out_end - position, 0);
        x = d == 0 ? 1e15 : static_cast<double>(f.fade_out_length) / static_cast<double>(d);
    } else if (f.fade_in_length != 0 && position < f.fade_in_start + f.fade_in_length) {
        const int64_t d = std::max<int64_t>(position - f.fade_in_start, 0);
        x = d == 0 ? 1e15 : static_cast<double>(f.fade_in_length) / static_cast<double>(d);
    } else {
        return 1.0;
    }
    return f.linear ? 1.0 / x : 1.0 / (std::exp(x) - 1.718);
}

std::vector<float> Ones(int n) {
    return std::vector<float>(2 * static_cast<size_t>(n), 1.0f);
}

TEST(PCMFader, GainIsThatOfEachPositionWhateverTheBlocks) {
    const FADERS cases[] = {
        {0, 50, 400, 60, false},   {20, 50, 380, 60, true},  {0, 300, 400, 300, false},  // overlapping: the way out
                                                                                         // wins
        {-30, 100, 390, 1, false}, {0, 0, 400, 100, false},  {350, 200, 0, 0, true},    {0, 1, 401, 0, false},
        {0, 0, 100, 30, false},    {500, 20, 900, 20, true}, {0, 0, 0, 0, false},
    };
    std::mt19937 random(3);
    for (const FADERS& faders : cases) {
        MemoryStream source(44100, Ones(400));
        std::vector<float> expected;
        for (int64_t i = 0; i < 400; ++i) expected.insert(expected.end(), 2, static_cast<float>(PlainGain(faders, i)));
        for (int block : {1, 2, 7, 64, 399, 1000}) {
            PCMFader fader(&source, 0);
            fader.SetFaders(&faders);
            std::vector<float> out(expected.size());
            for (int at = 0; at < 400; at += block) ASSERT_GT(fader.Read(at, &out[2 * at], block, 0), 0);
            ASSERT_EQ(out, expected) << "from " << faders.fade_in_start << " by " << block;
        }
        PCMFader fader(&source, 0);
        fader.SetFaders(&faders);
        for (int i = 0; i < 200; ++i) {
            const int at = static_cast<int>(random() % 400), n = static_cast<int>(random() % 50) + 1;
            std::vector<float> out(2 * static_cast<size_t>(n));
            const int got = fader.Read(at, out.data(), n, 0);
            ASSERT_EQ(got, std::min(n, 400 - at));
            ASSERT_TRUE(std::equal(out.begin(), out.begin() + 2 * got, expected.begin() + 2 * at)) << at;
        }
    }
}

TEST(PCMFader, KnownPoints) {
    MemoryStream source(44100, Ones(2000));
    PCMFader fader(&source, 0);
    const FADERS faders{0, 1000, 1900, 100, false};
    fader.SetFaders(&faders);
    std::vector<float> out = ReadAll(fader);
    EXPECT_EQ(out[0], 0.0f);                                        // silence exactly
    EXPECT_NEAR(out[2 * 1800], 1 / (std::exp(1.0) - 1.718), 1e-6);  // 0.99972: a small step to the music before it
    EXPECT_EQ(out[2 * 1798], 1.0f);
    EXPECT_EQ(out[2 * 1900], 0.0f);
    EXPECT_EQ(out[2 * 1999 + 1], 0.0f);
}

TEST(PCMFader, TheFlagsLeaveSamplesAlone) {
    MemoryStream source(44100, Ones(10));
    PCMFader fader(&source, 0);
    const FADERS faders{0, 10, 10, 5, true};
    fader.SetFaders(&faders);
    EXPECT_EQ(ReadAll(fader, PCM_NO_FADERS), Ones(10));
    EXPECT_EQ(ReadAll(fader, PCM_RAW_DOP), Ones(10));
    EXPECT_NE(ReadAll(fader), Ones(10));
    fader.SetFaders(nullptr);
    EXPECT_EQ(ReadAll(fader), Ones(10));
    EXPECT_FALSE(fader.AltersAudio(0, 10, 0));
}

TEST(PCMFader, AltersAudioAnswersByThePositionLastAsked) {
    MemoryStream source(44100, Ones(1000));
    PCMFader fader(&source, 0);
    const FADERS faders{0, 10, 1000, 100, false};
    fader.SetFaders(&faders);
    EXPECT_TRUE(fader.AltersAudio(5, 1, 0));
    EXPECT_FALSE(fader.AltersAudio(10, 1, 0));
    EXPECT_FALSE(fader.AltersAudio(10, 990, 0));  // the same position: the stored answer, whatever the length
    EXPECT_TRUE(fader.AltersAudio(11, 889, 0));   // another one: the range reaches the fade
    EXPECT_FALSE(fader.AltersAudio(12, 887, 0));
    EXPECT_TRUE(fader.AltersAudio(13, kEndless, 0));
}

}  // namespace
}  // namespace Tesslib
