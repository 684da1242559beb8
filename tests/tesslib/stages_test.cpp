#include "tesslib/stages.h"
#include "foundation/muldiv.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "allocations.h"
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

// A source that notes what is asked of it, and can lie.
class Probe : public MemoryStream {
public:
    using MemoryStream::MemoryStream;
    int32_t Read(int64_t position, float* buffer, int32_t n, uint32_t flags) override {
        ++reads;
        if (result <= 0) return result;
        return MemoryStream::Read(position, buffer, n, flags);
    }
    int64_t GetTotalSamples(uint32_t flags) override {
        return MemoryStream::GetTotalSamples(flags) - (flags & PCM_NO_CUTS ? 10 : 0);
    }
    bool AltersAudio(int64_t position, int64_t n_samples, uint32_t) override {
        return position <= altered && altered - position < n_samples;
    }
    void ReleaseResources() override { ++releases; }

    int reads = 0;
    int releases = 0;
    int32_t result = 1;    // 0 or below: every Read answers that
    int64_t altered = -1;  // the one position that is changed
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
    auto good = MakeRef<Probe>(44100, Ramp(10)), bad = MakeRef<Probe>(44100, Ramp(1000)),
         last = MakeRef<Probe>(44100, Ramp(5));
    std::vector<RefPtr<PCMStream>> streams = {good, bad, last};
    MergePCMStreams merge(streams, 0);
    bad->result = 0;
    std::vector<float> expected = Ramp(10);
    expected.insert(expected.end(), 2000, 0.0f);
    const std::vector<float> tail = Ramp(5);
    expected.insert(expected.end(), tail.begin(), tail.end());
    EXPECT_EQ(ReadAll(merge), expected);
    EXPECT_EQ(good->releases, 1);  // let go of when the next one takes over
    EXPECT_EQ(bad->releases, 1);
    merge.ReleaseResources();
    merge.ReleaseResources();
    EXPECT_EQ(last->releases, 1);

    bad->result = ERR_IO;
    std::vector<float> buffer(100);
    EXPECT_EQ(merge.Read(5, buffer.data(), 20, 0), ERR_IO);
    EXPECT_EQ(ReadAt(merge, 0, 10), Ramp(10));
}

TEST(MergePCMStreams, LengthsAndRangesAreThoseOfThePartsWithTheFlags) {
    auto first = MakeRef<Probe>(44100, Ramp(100)), second = MakeRef<Probe>(44100, Ramp(100, 500));
    std::vector<RefPtr<PCMStream>> streams = {first, second};
    MergePCMStreams merge(streams, 0);
    EXPECT_EQ(ReadAt(merge, 120, 1), Ramp(1, 520));
    EXPECT_EQ(ReadAt(merge, 120, 1, PCM_NO_CUTS), Ramp(1, 530));
    EXPECT_EQ(ReadAt(merge, 120, 1), Ramp(1, 520));
    second->altered = 50;
    for (auto [position, n, alters] : {std::tuple{0, int64_t{150}, false},
                                       {0, 151, true},
                                       {150, 1, true},
                                       {151, 49, false},
                                       {10, kEndless, true},
                                       {160, kEndless, false}}) {
        EXPECT_EQ(merge.AltersAudio(position, n, 0), alters) << position << " " << n;
    }
}

TEST(ChopPCMStream, CutsOutAStretch) {
    MemoryStream source(48000, Ramp(100));
    struct Case {
        int64_t start, end;
        uint32_t flags;
        int length, first;
    };
    for (const Case& c : {Case{10, 30, 0, 20, 10},
                          {10, 500, 0, 90, 10},
                          {30, 10, 0, 0, 0},
                          {200, 300, 0, 0, 0},
                          {11, 31, PCM_RAW_DOP, 20, 10},
                          {11, 31, 0, 20, 11}}) {
        ChopPCMStream chop(&source, c.start, c.end, c.flags);
        EXPECT_EQ(chop.GetTotalSamples(0), c.length) << c.start;
        EXPECT_EQ(ReadAt(chop, 0, 1000), Ramp(c.length, c.first));
        EXPECT_EQ(ReadAt(chop, c.length, 1).size(), 0u);
    }
}

TEST(PCMCache, KeepsTheLastBlockAndTheSamplesOfTheInput) {
    const std::vector<float> whole = Ramp(5000);
    Probe source(44100, whole);
    PCMCache cache(&source, 256, 0);
    struct Case {
        int position, n, reads;
        uint32_t flags = PCM_USE_CACHE;
    };
    for (const Case& c : {Case{1000, 100, 1},
                          {1010, 50, 0},
                          {1010, 50, 1, 0},                             // not asked to
                          {1100, 100, 1},                               // appended
                          {1050, 100, 0},                               // across the join
                          {3000, 257, 1},                               // too large: passed through, and
                          {1050, 100, 0},                               // what is kept stays
                          {1050, 100, 1, PCM_USE_CACHE | PCM_RAW_DOP},  // other data altogether
                          {2000, 100, 1},
                          {2150, 50, 1},     // stored at its distance from the first
                          {2000, 100, 0},    // which therefore stays
                          {2090, 20, 1}}) {  // the hole between is no sample
        const int before = source.reads;
        EXPECT_EQ(ReadAt(cache, c.position, c.n, c.flags), Ramp(c.n, c.position));
        EXPECT_EQ(source.reads - before, c.reads) << c.position;
    }
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
    for (PCMStream* stream : {static_cast<PCMStream*>(&down), static_cast<PCMStream*>(&up)}) {
        std::vector<float> buffer(600);
        int64_t position = 0;
        for (int32_t n; (n = stream->Read(position, buffer.data(), 300, 0)) > 0;) position += n;
        EXPECT_NEAR(static_cast<double>(position), static_cast<double>(stream->GetTotalSamples(0)), 20);
    }
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
    // Silence exactly at both ends, and a small step from the fade to the music.
    const FADERS faders{0, 100, 300, 50, false};
    EXPECT_EQ(static_cast<float>(PlainGain(faders, 0)), 0.0f);
    EXPECT_EQ(static_cast<float>(PlainGain(faders, 300)), 0.0f);
    EXPECT_NEAR(PlainGain(faders, 250), 0.99972, 1e-5);
}

TEST(PCMFader, AltersAudioAnswersByThePositionLastAsked) {
    MemoryStream source(44100, std::vector<float>(2000, 1.0f));
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

TEST(Stages, AllocateNothingOnceTheLargestBlockWasSeen) {
    MemoryStream source(44100, Ramp(20000));
    PCMCache cache(&source, 2048, 0);
    PCMFader fader(&cache, 0);
    const FADERS faders{0, 3000, 20000, 3000, false};
    fader.SetFaders(&faders);
    ChopPCMStream chop(&fader, 5, 19000, 0);
    std::vector<RefPtr<PCMStream>> streams = {MakeRef<MemoryStream>(44100, Ramp(500)),
                                              MakeRef<MemoryStream>(44100, Ramp(500))};
    MergePCMStreams merge(streams, 0);
    PCMConvert convert(&source, 32000);
    std::vector<float> buffer(2 * 2048);
    auto read_all = [&] {
        for (PCMStream* stream : std::initializer_list<PCMStream*>{&chop, &merge, &convert}) {
            for (int64_t at : {0, 1000, 500, 990, 17000}) stream->Read(at, buffer.data(), 2048, PCM_USE_CACHE);
        }
    };
    read_all();
    const int64_t before = Testing::CountAllocations();
    for (int i = 0; i < 10; ++i) read_all();
    EXPECT_EQ(Testing::CountAllocations(), before);
}

}  // namespace
}  // namespace Tesslib
