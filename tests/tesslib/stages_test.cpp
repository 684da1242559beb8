#include "tesslib/stages.h"
#include "foundation/muldiv.h"

#include <gtest/gtest.h>

#include <functional>
#include <numeric>
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

TEST(MergePCMStreams, FlagsThatChangeALengthMoveWhatFollows) {
    std::vector<RefPtr<PCMStream>> streams = {MakeRef<Probe>(44100, Ramp(100)), MakeRef<Probe>(44100, Ramp(100, 500))};
    MergePCMStreams merge(streams, 0);
    EXPECT_EQ(ReadAt(merge, 120, 1), Ramp(1, 520));
    EXPECT_EQ(ReadAt(merge, 120, 1, PCM_NO_CUTS), Ramp(1, 530));
    EXPECT_EQ(ReadAt(merge, 120, 1), Ramp(1, 520));
}

TEST(MergePCMStreams, AltersAudioAsksThePartsOfTheRange) {
    auto first = MakeRef<Probe>(44100, Ramp(100)), second = MakeRef<Probe>(44100, Ramp(100));
    std::vector<RefPtr<PCMStream>> streams = {first, second};
    MergePCMStreams merge(streams, 0);
    second->altered = 50;
    struct Case {
        int64_t position, n;
        bool alters;
    };
    for (const Case& c : {Case{0, 150, false},
                          {0, 151, true},
                          {150, 1, true},
                          {151, 49, false},
                          {0, kEndless, true},
                          {10, kEndless, true},
                          {160, kEndless, false},
                          {500, 10, false}}) {
        EXPECT_EQ(merge.AltersAudio(c.position, c.n, 0), c.alters) << c.position << " " << c.n;
    }
}

TEST(ChopPCMStream, CutsOutAStretch) {
    MemoryStream source(48000, Ramp(100));
    struct Case {
        int64_t start, end;
        uint32_t flags;
        int64_t length;
        int first;
    };
    for (const Case& c : {Case{10, 30, 0, 20, 10},
                          {10, 500, 0, 90, 10},
                          {30, 10, 0, 0, 0},
                          {200, 300, 0, 0, 0},
                          {11, 31, PCM_RAW_DOP, 20, 10},
                          {11, 31, 0, 20, 11}}) {
        ChopPCMStream chop(&source, c.start, c.end, c.flags);
        EXPECT_EQ(chop.GetTotalSamples(0), c.length) << c.start;
        EXPECT_EQ(ReadAt(chop, 0, 1000), Ramp(static_cast<int>(c.length), c.first));
        EXPECT_EQ(ReadAt(chop, c.length, 1).size(), 0u);
        EXPECT_EQ(ReadAt(chop, 5, 3), Ramp(c.length > 5 ? 3 : 0, c.first + 5));
    }
}

TEST(PCMCache, AnyReadsGiveTheSamplesOfTheInput) {
    const std::vector<float> whole = Ramp(5000);
    MemoryStream source(44100, whole);
    PCMCache cache(&source, 256, 0);
    std::mt19937 random(5);
    int64_t at = 0;
    for (int i = 0; i < 20000; ++i) {
        // Mostly small steps forward and back, as drawing makes them, sometimes a jump.
        at = random() % 16 == 0 ? random() % 5200 : std::max<int64_t>(0, at + static_cast<int>(random() % 300) - 120);
        const int32_t n = 1 + static_cast<int32_t>(random() % 300);
        const uint32_t flags = PCM_USE_CACHE | (random() % 50 == 0 ? PCM_RAW_DOP : PCM_NO_CUTS);
        const int64_t expected = std::clamp<int64_t>(5000 - at, 0, n);
        ASSERT_EQ(ReadAt(cache, at, n, flags), Slice(whole, std::min<int64_t>(at, 5000), expected)) << at << " " << n;
    }
}

TEST(PCMCache, KeepsTheLastBlock) {
    Probe source(44100, Ramp(5000));
    PCMCache cache(&source, 256, 0);
    auto reads_for = [&](int64_t position, int32_t n, uint32_t flags = PCM_USE_CACHE) {
        const int before = source.reads;
        EXPECT_EQ(ReadAt(cache, position, n, flags), Ramp(n, static_cast<int>(position)));
        return source.reads - before;
    };
    EXPECT_EQ(reads_for(1000, 100), 1);
    EXPECT_EQ(reads_for(1010, 50), 0);
    EXPECT_EQ(reads_for(1010, 50, 0), 1);                             // not asked to
    EXPECT_EQ(reads_for(1100, 100), 1);                               // appended
    EXPECT_EQ(reads_for(1050, 100), 0);                               // across the join
    EXPECT_EQ(reads_for(3000, 257), 1);                               // too large: passed through, and
    EXPECT_EQ(reads_for(1050, 100), 0);                               // what is kept stays
    EXPECT_EQ(reads_for(1050, 100, PCM_USE_CACHE | PCM_RAW_DOP), 1);  // other data altogether
    EXPECT_EQ(reads_for(2000, 100), 1);
    EXPECT_EQ(reads_for(2150, 50), 1);   // stored at its distance from the first
    EXPECT_EQ(reads_for(2000, 100), 0);  // which therefore stays
    EXPECT_EQ(reads_for(2090, 20), 1);   // the hole between is no sample
}

TEST(PCMConvert, ChangesRateWithoutFiltering) {
    struct Case {
        int32_t from, to;
    };
    for (const Case& c : {Case{48000, 16000}, {16000, 48000}, {44100, 48000}, {96000, 44100}, {22050, 44100}}) {
        MemoryStream source(c.from, Ramp(3000));
        PCMConvert convert(&source, c.to);
        EXPECT_EQ(convert.GetSampleRate(0), c.to);
        EXPECT_EQ(convert.GetTotalSamples(0), MulDiv64(3000, c.to, c.from));
        const std::vector<float> out = ReadAt(convert, 0, 1000);
        ASSERT_EQ(out.size(), 2000u) << c.from << " to " << c.to;
        // A straight line stays one, at most one input pair late or early.
        for (int i = 10; i < 990; ++i) {
            const double at = static_cast<double>(i) * c.from / c.to;
            ASSERT_NEAR(out[2 * i], at, 1.0 + c.from / static_cast<double>(c.to))
                << c.from << " to " << c.to << " " << i;
            ASSERT_EQ(out[2 * i + 1], -out[2 * i]);
        }
    }
    MemoryStream source(44100, Ramp(10));
    EXPECT_DEATH(PCMConvert(&source, 44100), "output_frequency != input_frequency");
}

TEST(PCMConvert, MeansDownAndStraightLinesUp) {
    MemoryStream source(48000, Ramp(12));
    PCMConvert down(&source, 16000);
    EXPECT_EQ(ReadAt(down, 0, 3), (std::vector<float>{1, -1, 4, -4, 7, -7}));
    PCMConvert up(&source, 96000);
    // The first pair stands for what is before it.
    EXPECT_EQ(ReadAt(up, 0, 6), (std::vector<float>{0, 0, 0, 0, 0.5f, -0.5f, 1, -1, 1.5f, -1.5f, 2, -2}));
}

TEST(PCMConvert, ReadingOnIsSteadyAndTheEndIsTheEnd) {
    for (int32_t to : {16000, 44100, 96000}) {
        MemoryStream source(48000, Ramp(10000));
        PCMConvert convert(&source, to);
        int64_t position = 0;
        float last = -10.0f;
        std::vector<float> buffer(600);
        for (int32_t n; (n = convert.Read(position, buffer.data(), 300, 0)) > 0; position += n) {
            // Where blocks meet the few pairs that are heard again may step back, no more.
            ASSERT_GE(buffer[0], last - 12.0f);
            last = buffer[2 * (n - 1)];
        }
        EXPECT_NEAR(static_cast<double>(position), static_cast<double>(convert.GetTotalSamples(0)), 20);
        EXPECT_EQ(ReadAt(convert, position + 100, 10).size(), 0u);
    }
}

TEST(MemoryPCMStream, ReadsWhatItHolds) {
    MemoryPCMStream stream(Ramp(10), 44100);
    EXPECT_EQ(stream.GetTotalSamples(0), 10);
    EXPECT_EQ(ReadAt(stream, 4, 100), Ramp(6, 4));
    EXPECT_EQ(ReadAt(stream, 10, 1).size(), 0u);
    EXPECT_EQ(ReadAt(stream, 1000, 1).size(), 0u);
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
