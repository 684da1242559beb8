#include "tesslib/stages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "memorystream.h"

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

std::vector<float> Slice(const std::vector<float>& pairs, int64_t first, int64_t n) {
    return {pairs.begin() + 2 * first, pairs.begin() + 2 * (first + n)};
}

std::vector<float> ReadAt(PCMStream& stream, int64_t position, int32_t n, uint32_t flags = 0) {
    std::vector<float> out(2 * static_cast<size_t>(n), 99.0f);
    const int32_t got = stream.Read(position, out.data(), n, flags);
    out.resize(got < 0 ? 0 : 2 * static_cast<size_t>(got));
    return out;
}

// A source that can fail to give what it promises.
class Probe : public MemoryStream {
public:
    using MemoryStream::MemoryStream;
    int32_t Read(int64_t position, float* buffer, int32_t n, uint32_t flags) override {
        if (result <= 0) return result;
        return MemoryStream::Read(position, buffer, n, flags);
    }
    int32_t result = 1;  // 0 or below: every Read answers that
};

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
    EXPECT_EQ(ReadAll(merge), whole);
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        const int first = static_cast<int>(random() % 210), n = static_cast<int>(random() % 120) + 1;
        EXPECT_EQ(ReadAt(merge, first, n), Slice(whole, std::min(first, 200), std::clamp(200 - first, 0, n)));
    }
}

TEST(MergePCMStreams, ASilentPartIsSilenceAndAFailureAFailure) {
    auto bad = MakeRef<Probe>(44100, Ramp(1000));
    std::vector<RefPtr<PCMStream>> streams = {MakeRef<MemoryStream>(44100, Ramp(10)), bad,
                                              MakeRef<MemoryStream>(44100, Ramp(5))};
    MergePCMStreams merge(streams, 0);
    bad->result = 0;
    std::vector<float> expected = Ramp(10);
    expected.insert(expected.end(), 2000, 0.0f);
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
    const std::vector<float> whole = Ramp(5000);
    MemoryStream source(44100, whole);
    PCMCache cache(&source, 256, 0);
    std::mt19937 random(5);
    int64_t at = 0;
    for (int i = 0; i < 20000; ++i) {
        // Mostly small steps forward and back, as drawing makes them, sometimes a jump.
        at = random() % 16 == 0 ? random() % 5200 : std::max<int64_t>(0, at + static_cast<int>(random() % 300) - 120);
        const int32_t n = 1 + static_cast<int32_t>(random() % 300);
        const uint32_t flags = PCM_USE_CACHE | (random() % 50 == 0 ? uint32_t{PCM_RAW_DOP} : 0);
        const int64_t expected = std::clamp<int64_t>(5000 - at, 0, n);
        ASSERT_EQ(ReadAt(cache, at, n, flags), Slice(whole, std::min<int64_t>(at, 5000), expected)) << at << " " << n;
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
    std::mt19937 random(3);
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
        EXPECT_EQ(ReadAll(fader), expected);
        int at = 0;
        for (int i = 0; i < 400; ++i) {
            const int n = static_cast<int>(random() % (random() % 2 ? 3 : 80)) + 1;
            ASSERT_EQ(ReadAt(fader, at, n), Slice(expected, at, std::min(n, 400 - at))) << at;
            at = random() % 3 ? (at + n) % 400 : static_cast<int>(random() % 400);
        }
        for (uint32_t flag : {PCM_NO_FADERS, PCM_RAW_DOP}) EXPECT_EQ(ReadAll(fader, flag), source.pairs);
        fader.SetFaders(nullptr);
        EXPECT_EQ(ReadAll(fader), source.pairs);
    }
}

}  // namespace
}  // namespace Tesslib
