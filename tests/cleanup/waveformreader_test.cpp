#include "cleanup/waveformreader.h"

#include <gtest/gtest.h>

#include "memorystream.h"
#include "plain_waveform.h"
#include "waveform_sides.h"

namespace Orvane {
namespace {

using OrvaneTest::WaveformSides;

int32_t BlockFor(int64_t frames) {
    if (frames < 64) return 1;
    return frames < 2048 ? 64 : frames < 16384 ? 1024 : 8192;
}

// Column i is made of as many blocks as bring their number up to the nearest to i + 1 columns; behind a cut those of
// the file behind it.
std::vector<WaveformRecord> PlainColumns(const std::vector<float>& file, const CutList& cuts,
                                         const WaveformView& view) {
    const int32_t block = BlockFor(view.n_samples / view.width);
    const double frames = static_cast<double>(view.n_samples) / view.width;
    const auto blocks_before = [&](int column) {
        return static_cast<int64_t>(std::ceil(column * (frames / block) - 0.5));
    };
    std::vector<WaveformRecord> columns;
    for (int column = 0; column < view.width; ++column) {
        int64_t start = view.first;
        for (const auto& cut : cuts) {
            if (cut.start_time <= view.first + static_cast<int64_t>(column * frames)) start += cut.Length();
        }
        start = start / block * block;
        columns.push_back(OrvaneOracle::Record(file, start + blocks_before(column) * block,
                                               start + blocks_before(column + 1) * block));
    }
    return columns;
}

TEST(WaveformReader, ColumnsEqualThePlainModelAtEveryZoom) {
    const std::vector<float> pairs = OrvaneTest::NoisePairs(400000);
    WaveformSides sides;
    FileHistoryEntry& entry = sides.AddSide(pairs);
    RequestWaveformData(entry);
    WaveformSides::Wait();
    WaveformReader reader(entry);
    OrvaneTest::Noise noise(3);
    std::vector<WaveformRecord> columns;
    const CutList none;
    for (int i = 0; i < 300; ++i) {
        if (i == 100) {
            for (const int64_t at : {0, 50000, 50100, 200000}) entry.cuts.Add(at, at + 7000 + at / 9, 0, 44100);
        }
        WaveformView view;
        // So that no column ends on the middle of a block but for a reason: it would be rounding errors that decide.
        view.width = i % 2 ? 1 << noise.Below(13) : 1 + 2 * noise.Below(15);
        view.n_samples = (view.width + static_cast<int64_t>(std::pow(2, 18 * noise.Even()))) | 1;
        if (i < 12) {
            view.width = 4;
            view.n_samples = 4 * std::vector<int64_t>{63, 64, 2047, 2048, 16383, 16384}[static_cast<size_t>(i / 2)];
        }
        view.first = noise.Below(399000);
        ASSERT_EQ(reader.Read(view, columns), WaveformResult::Drawn);
        std::vector<WaveformRecord> wanted;
        if (BlockFor(view.n_samples / view.width) == 1) {
            // The columns of the audio itself come from the chain, which knows the cuts.
            Tesslib::Testing::MemoryStream file(44100, pairs);
            PCMStack chain(&entry, &file, PCM_NO_FADERS | PCM_NO_FILTERS | PCM_NO_CLICK_REPAIR, 0);
            wanted = PlainColumns(Tesslib::Testing::ReadAll(chain), none, view);
        } else {
            wanted = PlainColumns(pairs, entry.cuts, view);
        }
        EXPECT_EQ(columns, wanted) << i << ": " << view.first << " " << view.n_samples << " in " << view.width;
    }
}

TEST(WaveformReader, BetweenFramesColumnsGoInSteps) {
    WaveformSides sides;
    WaveformReader reader(sides.AddSide({0.0f, 1.0f, 0.5f, -1.0f, 0.1f, 0.1f}));
    std::vector<WaveformRecord> columns;
    ASSERT_EQ(reader.Read({0, 2, 8, false}, columns), WaveformResult::Drawn);
    std::vector<int> left;
    for (const WaveformRecord& column : columns) left.push_back(column.min_left);
    EXPECT_EQ(left, (std::vector<int>{0, 0, 0, 4096, 8192, 12288, 16384, 16384}));
}

TEST(WaveformReader, TheCorrectedViewHoldsBlocksToTheirRepairs) {
    WaveformSides sides;
    FileHistoryEntry& entry = sides.AddSide(std::vector<float>(2 * 64 * 50, 0.5f));
    RequestWaveformData(entry);
    WaveformSides::Wait();
    const auto add = [&](int channel, int16_t type, int64_t start, std::vector<int16_t> samples) {
        auto* repair = new ClickRepair(type, start, start + static_cast<int64_t>(samples.size()), 0);
        repair->SetSamples(std::make_unique<int16_t[]>(samples.size()));
        std::copy(samples.begin(), samples.end(), repair->samples.get());
        repair->FindExtremes();
        entry.click_repairs[channel].Append(repair);
    };
    add(0, REPAIR_SCANNER, 64 * 10 + 60, {-5, 100, 7, 8, 9, 10});  // lies in two blocks
    add(0, REPAIR_RECOMPUTED, 64 * 20, {1, 2, 3});                 // not applied
    add(1, REPAIR_PATCH, 64 * 30 + 62, {-3, 4, -20, 30});
    std::vector<WaveformRecord> columns, wanted(50, {16384, 16384, 16384, 16384});
    WaveformReader reader(entry);
    ASSERT_EQ(reader.Read({0, 3200, 50, false}, columns), WaveformResult::Drawn);
    EXPECT_EQ(columns, wanted);
    // The range of the first two blocks, all at 16384, and that of the repair do not meet.
    wanted[10].min_left = wanted[11].min_left = 100;
    wanted[30] = {16384, 16384, -3, 4};
    wanted[31] = {16384, 16384, -20, 30};
    ASSERT_EQ(reader.Read({0, 3200, 50, true}, columns), WaveformResult::Drawn);
    EXPECT_EQ(columns, wanted);
}

TEST(WaveformReader, OnlyFreshFilesAreDrawnAlsoWhileTheyAreOpen) {
    WaveformSides sides;
    FileHistoryEntry& entry = sides.AddSide(OrvaneTest::NoisePairs(300000));
    WaveformReader reader(entry);
    std::vector<WaveformRecord> columns;
    FileInfo info;
    ASSERT_EQ(GetFileInfo(entry.GetPath(), info), 0);
    for (int i = 0; i < 2; ++i) {
        SetFileTime(entry.GetPath(), info.time + i * 60 * kFileTimeSecond);
        EXPECT_EQ(reader.Read({0, 300000, 10, false}, columns), WaveformResult::NotReady);
        WaveformSides::Wait();
        EXPECT_EQ(reader.Read({0, 300000, 10, false}, columns), WaveformResult::Drawn);
    }
}

}  // namespace
}  // namespace Orvane
