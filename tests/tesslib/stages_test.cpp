// Streams that are made of others.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "allocations.h"
#include "audiosignals.h"
#include "foundation/muldiv.h"
#include "memorystream.h"
#include "plain_resampler.h"
#include "stream_checks.h"
#include "tesslib/josconvert.h"
#include "tesslib/stages.h"

using namespace Foundation;

namespace Tesslib {
namespace {

using Testing::MemoryStream;
using Testing::ReadAll;

// Pairs that tell their position: (first, -first), (first + 1, -first - 1) ...
std::vector<float> Ramp(int n, int first = 0) {
    std::vector<float> pairs;
    for (int i = first; i < first + n; ++i) pairs.insert(pairs.end(), {static_cast<float>(i), static_cast<float>(-i)});
    return pairs;
}

std::vector<float> ReadAt(PCMStream& stream, int64_t position, int32_t n, uint32_t flags = 0) {
    std::vector<float> out(2 * static_cast<size_t>(n), 99.0f);
    const int32_t got = stream.Read(position, out.data(), n, flags);
    out.resize(got < 0 ? 0 : 2 * static_cast<size_t>(got));
    return out;
}

TEST(MergePCMStreams, JoinsWithoutASeamInAnyPieces) {
    std::vector<RefPtr<PCMStream>> streams;
    int at = 0;
    for (int length : {100, 1, 0, 37, 62}) {
        streams.push_back(MakeRef<MemoryStream>(44100, Ramp(length, at)));
        at += length;
    }
    MergePCMStreams merge(streams, 0);
    const std::vector<float> whole = Ramp(200);
    ASSERT_EQ(merge.GetTotalSamples(0), 200);
    EXPECT_EQ(merge.GetSampleRate(0), 44100);
    OrvaneTest::ExpectSeekEqualsRead(merge, whole, 500, 1);
}

TEST(MergePCMStreams, ASilentPartIsSilenceAndAFailureAFailure) {
    struct Bad : MemoryStream {
        using MemoryStream::MemoryStream;
        int32_t Read(int64_t, float*, int32_t, uint32_t) override { return result; }
        int32_t result = 0;
    };
    auto bad = MakeRef<Bad>(44100, Ramp(1000));
    const std::vector<RefPtr<PCMStream>> streams = {MakeRef<MemoryStream>(44100, Ramp(10)), bad,
                                                    MakeRef<MemoryStream>(44100, Ramp(5))};
    MergePCMStreams merge(streams, 0);
    std::vector<float> expected = Ramp(10);
    expected.resize(2 * 1010);
    const std::vector<float> tail = Ramp(5);
    expected.insert(expected.end(), tail.begin(), tail.end());
    EXPECT_EQ(ReadAll(merge), expected);
    bad->result = ERR_IO;
    std::vector<float> buffer(100);
    EXPECT_EQ(merge.Read(5, buffer.data(), 20, 0), ERR_IO);
    EXPECT_EQ(ReadAt(merge, 0, 10), Ramp(10));
}

TEST(ChopPCMStream, CutsOutAStretch) {
    MemoryStream source(48000, Ramp(100));
    for (auto [start, end, length] : {std::tuple{10, 30, 20}, {10, 500, 90}, {30, 10, 0}, {200, 300, 0}}) {
        ChopPCMStream chop(&source, start, end, 0);
        EXPECT_EQ(chop.GetTotalSamples(0), length) << start;
        EXPECT_EQ(ReadAt(chop, 0, 1000), Ramp(length, start));
    }
}

TEST(PCMCache, GivesTheSamplesOfTheInput) {
    MemoryStream source(44100, Ramp(5000));
    PCMCache cache(&source, 256, 0);
    std::mt19937 random(5);
    int64_t at = 0;
    for (int i = 0; i < 20000; ++i) {
        // Mostly small steps forward and back, as drawing makes them, sometimes a jump.
        at = random() % 16 == 0 ? random() % 5200 : std::max<int64_t>(0, at + static_cast<int>(random() % 300) - 120);
        const int32_t n = 1 + static_cast<int32_t>(random() % 300);
        const uint32_t flags = PCM_USE_CACHE | (random() % 50 == 0 ? uint32_t{PCM_RAW_DOP} : 0);
        ASSERT_EQ(ReadAt(cache, at, n, flags), ReadAt(source, at, n)) << at << " " << n;
    }
}

TEST(PCMConvert, MeansDownAndStraightLinesUp) {
    MemoryStream source(48000, Ramp(10000));
    PCMConvert down(&source, 16000), up(&source, 96000);
    EXPECT_EQ(ReadAt(down, 0, 3), (std::vector<float>{1, -1, 4, -4, 7, -7}));
    // The first pair stands for what is before it.
    EXPECT_EQ(ReadAt(up, 0, 6), (std::vector<float>{0, 0, 0, 0, 0.5f, -0.5f, 1, -1, 1.5f, -1.5f, 2, -2}));
}

// The gain at one position, asked for by itself.
double PlainGain(const FADERS& f, int64_t position) {
    const bool is_out = f.fade_out_length != 0 && position + 1 >= f.fade_out_end - f.fade_out_length;
    if (!is_out && (f.fade_in_length == 0 || position >= f.fade_in_start + f.fade_in_length)) return 1.0;
    const int64_t d = is_out ? f.fade_out_end - position : position - f.fade_in_start;
    const double x = d <= 0 ? 1e15 : (is_out ? f.fade_out_length : f.fade_in_length) / static_cast<double>(d);
    return f.linear ? 1.0 / x : 1.0 / (std::exp(x) - 1.718);
}

TEST(PCMFader, GainIsThatOfEachPositionWhateverTheReads) {
    MemoryStream source(44100, std::vector<float>(800, 1.0f));
    for (const FADERS& faders : {FADERS{0, 50, 400, 60, false},
                                 {20, 50, 380, 60, true},
                                 {0, 300, 400, 300, false},  // overlapping: the way out wins
                                 {-30, 100, 390, 1, false},
                                 {350, 200, 0, 0, true},
                                 {0, 1, 401, 0, false},
                                 {0, 0, 100, 30, false},
                                 {500, 20, 900, 20, true},
                                 {0, 0, 0, 0, false}}) {
        PCMFader fader(&source, 0);
        fader.SetFaders(&faders);
        std::vector<float> expected;
        for (int64_t i = 0; i < 400; ++i) expected.insert(expected.end(), 2, static_cast<float>(PlainGain(faders, i)));
        OrvaneTest::ExpectAnyBlockSize(fader, expected);
        OrvaneTest::ExpectSeekEqualsRead(fader, expected, 400, 3);
        for (uint32_t flag : {PCM_NO_FADERS, PCM_RAW_DOP}) EXPECT_EQ(ReadAll(fader, flag), source.pairs);
        fader.SetFaders(nullptr);
        EXPECT_EQ(ReadAll(fader), source.pairs);
    }
}

// Frames whose one byte tells which they are.
struct CountingFrames : FrameSource {
    CountingFrames(int first, int n) : FrameSource(1, 44100, 2, 1152), first(first), n(n) {}
    int32_t GetCurrentFrame() override { return current; }
    int SeekToFrame(int32_t frame) override { return current = frame, n == 0 ? ERR_LIMIT : 0; }
    int ReadFrame(FRAME& frame, uint32_t) override {
        if (current >= n) return ERR_LIMIT;
        frame.framebuf = {static_cast<uint8_t>(first + current++)};
        return 0;
    }
    int32_t GetTotalFrames() override { return n; }

    int first, n, current = 0;
};

// A stretch of three files, one of them empty, of 20 frames in all.
TEST(FrameSources, AStretchOfJoinedFilesHasItsFrames) {
    const std::vector<RefPtr<FrameSource>> sources = {MakeRef<CountingFrames>(0, 8), MakeRef<CountingFrames>(50, 0),
                                                      MakeRef<CountingFrames>(8, 12)};
    MergeFrameSources merge(sources);
    EXPECT_EQ(merge.GetTotalFrames(), 20);
    for (const auto& [start, end, first, last] : {std::tuple{0, -1, 0, 19},
                                                  {1151, 1152 * 9, 0, 9},
                                                  {1152, 1152 * 9 + 5, 1, 9},
                                                  {1152 * 18, 1152 * 500, 18, 19}}) {
        ChopFrameSource chop(&merge, start, end, PCM_FORCE_FRAMES);
        EXPECT_EQ(chop.GetTotalFrames(), last - first + 1) << start;
        ASSERT_EQ(chop.SeekToFrame(0), 0);
        FRAME frame;
        for (int k = first; k <= last; ++k) ASSERT_TRUE(chop.ReadFrame(frame, 0) == 0 && frame.framebuf[0] == k) << k;
        EXPECT_EQ(chop.ReadFrame(frame, 0), ERR_LIMIT);
    }
}

std::vector<float> Noise(size_t n_frames) {
    return OrvaneTest::NormalNoise(2 * n_frames, 0.3, 11);
}

// The filters by quality and ratio, and the samples by their formula.
TEST(JOSConvert, GivesWhatTheFormulaGives) {
    const std::vector<float> pairs = Noise(700);
    std::array<std::vector<float>, 2> channels;
    for (size_t i = 0; i < pairs.size(); ++i) channels[i % 2].push_back(pairs[i]);
    for (const auto& [input_rate, output_rate, flags, n_mult, n_pc] :
         {std::tuple{44100, 48000, uint32_t{PCM_BEST_QUALITY}, 30, 16384},
          {96000, 44100, PCM_BEST_QUALITY | PCM_NO_FADERS, 30, 16384},
          {44101, 48000, PCM_BEST_QUALITY, 30, 16384},
          {88200, 44100, PCM_BEST_QUALITY, 11, 4096},
          {44100, 176400, PCM_BEST_QUALITY, 11, 4096},
          {384000, 22050, PCM_USE_CACHE, 11, 4096},
          {22050, 384000, 0, 11, 4096},
          {48000, 47999, 0, 11, 4096},
          {96000, 48000, 0, 5, 4096}}) {
        SCOPED_TRACE(std::to_string(input_rate) + " to " + std::to_string(output_rate));
        MemoryStream source(input_rate, pairs);
        JOSConvert convert(&source, output_rate);
        const std::vector<float> output = ReadAll(convert, flags);
        ASSERT_EQ(static_cast<int64_t>(output.size()), 2 * MulDiv64(700, output_rate, input_rate));
        const Testing::PlainResampler plain{n_mult, n_pc, double(input_rate), double(output_rate)};
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
        JOSConvert fast(&source, output_rate), best(&source, output_rate), convert(&source, output_rate);
        const std::vector<float> expected[] = {ReadAll(fast), ReadAll(best, PCM_BEST_QUALITY)};
        ASSERT_NE(expected[0], expected[1]);
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
struct OddStream : MemoryStream {
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
