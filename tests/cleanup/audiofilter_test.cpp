#include "cleanup/chain/audiofilter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

#include "allocations.h"
#include "audiosignals.h"
#include "collection/dataobjects.h"
#include "collection/listchange.h"
#include "memorystream.h"
#include "repairs.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

using Tesslib::Testing::CountAllocations;
using Tesslib::Testing::MemoryStream;
using Tesslib::Testing::ReadAll;

constexpr uint32_t kSaving = PCM_BEST_QUALITY;

// A recording of random audio whose corrections a test fills in.
class Chain : public testing::Test {
protected:
    Chain() {
        entry->facts.samplerate = 44100;
        entry->corrections_file.SetLoaded(true);
    }

    void AddRandomRepairs() {
        for (ClickRepairList& list : entry->click_repairs) {
            for (int64_t at = 50; at + 500 < kFrames; at += 200 + static_cast<int64_t>(random() % 3000)) {
                std::vector<int16_t> samples(1 + random() % 150);
                for (int16_t& sample : samples) sample = static_cast<int16_t>(random() % 60000 - 30000);
                list.Append(OrvaneTest::MakeRepair(random() % 8 ? REPAIR_SCANNER : REPAIR_PP, at, samples).release());
            }
        }
    }

    // What the chain must give, from arrays alone: repairs laid over, then cut after cut spliced out from the last.
    std::vector<float> Model(bool repaired, bool cut) const {
        std::vector<float> pairs = stream->pairs;
        for (int channel = 0; channel < 2 && repaired; ++channel) {
            for (const ClickRepair& repair : entry->click_repairs[channel]) {
                for (int64_t i = 0; i < repair.Length() && repair.Applied(); ++i) {
                    pairs[2 * (repair.absolute_start_time + i) + channel] =
                        static_cast<float>(repair.samples[i] * (1 / 32767.0));
                }
            }
        }
        if (!cut) return pairs;
        std::vector<float> result;
        int64_t from = 0;  // in the file
        int64_t offset = 0;
        for (const CutAndSpliceCorrection& c : entry->decided.cuts) {
            const int64_t n = c.splice_length;
            const int64_t fade_at = c.start_time - n / 2 + offset;
            result.insert(result.end(), pairs.begin() + 2 * from, pairs.begin() + 2 * fade_at);
            for (int64_t i = 0; i < 2 * n; ++i) {
                const float w = static_cast<float>(i / 2), all = static_cast<float>(n);
                result.push_back((pairs[2 * fade_at + i] * (all - w) + pairs[2 * (fade_at + c.Length()) + i] * w) /
                                 all);
            }
            from = fade_at + n + c.Length();
            offset += c.Length();
        }
        result.insert(result.end(), pairs.begin() + 2 * from, pairs.end());
        return result;
    }

    // Cuts in order with the room that every splice needs.
    void AddRandomCuts(int n_cuts) {
        const int32_t splices[] = {0, 44, 220, 1102, 4410};
        int64_t at = 6000;
        for (int i = 0; i < n_cuts; ++i) {
            const int32_t splice = splices[random() % 5];
            const int64_t length = splice + 100 + static_cast<int64_t>(random() % 3000);
            entry->decided.cuts.Add(at, at + length, splice, 44100);
            at += 6000 + static_cast<int64_t>(random() % 4000);
        }
        ASSERT_EQ(entry->decided.cuts.size(), n_cuts);
    }

    static constexpr int kFrames = 900000;
    std::mt19937 random{7};
    AlbumInfo album;
    RefPtr<FileHistoryEntry> entry{new FileHistoryEntry(&album, nullptr)};
    RefPtr<MemoryStream> stream{new MemoryStream(44100, OrvaneTest::NormalNoise(2 * kFrames, 0.3, 7))};
};

TEST_F(Chain, RandomPiecesEqualTheStraightRead) {
    AddRandomRepairs();
    AddRandomCuts(50);
    const uint32_t ways[] = {
        0, PCM_NO_CLICK_REPAIR, PCM_NO_CUTS, PCM_NO_CUTS | PCM_NO_CLICK_REPAIR, PCM_NO_FILTERS, kSaving};
    std::vector<float> expected[std::size(ways)];
    for (size_t i = 0; i < std::size(ways); ++i) {
        PCMStack straight(entry.get(), stream.get(), PCM_NO_FADERS, 44100);
        expected[i] = ReadAll(straight, ways[i]);
        ASSERT_EQ(expected[i], Model(!(ways[i] & PCM_NO_CLICK_REPAIR), !(ways[i] & PCM_NO_CUTS))) << "way " << i;
    }
    PCMStack stack(entry.get(), stream.get(), PCM_NO_FADERS | PCM_USE_CACHE, 44100);
    std::vector<float> piece(2 * 100000);
    int64_t position = 0;
    for (int i = 0; i < 3000; ++i) {
        const size_t way = random() % std::size(ways);
        const std::vector<float>& all = expected[way];
        const int64_t total = static_cast<int64_t>(all.size() / 2);
        if (random() % 3 == 0) position = static_cast<int64_t>(random() % static_cast<uint32_t>(total + 1000));
        const int32_t n = 1 + static_cast<int32_t>(random() % (i % 5 ? 3000 : 100000));
        const int32_t got =
            stack.Read(position, piece.data(), n, ways[way] | (random() % 2 ? 0u : uint32_t{PCM_USE_CACHE}));
        ASSERT_EQ(got, std::clamp<int64_t>(total - position, 0, n)) << position;
        ASSERT_TRUE(std::equal(piece.begin(), piece.begin() + 2 * got, all.begin() + 2 * std::min(position, total)))
            << position << " + " << n << " way " << way;
        position += got;
    }
}

TEST_F(Chain, CutsThatCrowdEachOtherFadeInTurnAndTheLastIntoWhatIsThere) {
    entry->decided.cuts.Add(10000, 20000, 4410, 44100);
    entry->decided.cuts.Add(11000, 30000, 4410, 44100);
    const int64_t end = kFrames - entry->decided.cuts.TotalLength();
    entry->decided.cuts.Add(end - 5000, end - 100, 1000, 44100);
    PCMStack stack(entry.get(), stream.get(), 0, 44100);
    const std::vector<float> straight = ReadAll(stack);
    EXPECT_EQ(static_cast<int64_t>(straight.size() / 2), stack.GetTotalSamples(0));
    std::vector<float> piece(2 * 3000);
    EXPECT_EQ(stack.Read(stack.GetTotalSamples(0) - 2000, piece.data(), 3000, 0), 2000);
    for (int64_t position = 20000; position > 4000; position -= 777) {
        ASSERT_EQ(stack.Read(position, piece.data(), 3000, 0), 3000);
        ASSERT_TRUE(std::equal(piece.begin(), piece.end(), straight.begin() + 2 * position)) << position;
    }
}

TEST_F(Chain, SwapsChannelsUnlessTold) {
    entry->decided.swap_channels = true;
    PCMStack stack(entry.get(), stream.get(), 0, 44100);
    const std::vector<float> swapped = ReadAll(stack);
    EXPECT_EQ(swapped[10], stream->pairs[11]);
    EXPECT_EQ(ReadAll(stack, PCM_NO_SWAP), stream->pairs);
}

TEST_F(Chain, ReadsOnWithoutTakingMemory) {
    AddRandomRepairs();
    AddRandomCuts(20);
    PCMStack stack(entry.get(), stream.get(), PCM_USE_CACHE, 44100);
    std::vector<float> piece(2 * 4096);
    auto ReadThrough = [&] {
        for (int64_t position = 0; stack.Read(position, piece.data(), 4096, 0) > 0; position += 4096) {
        }
    };
    ReadThrough();
    const int64_t before = CountAllocations();
    ReadThrough();
    EXPECT_EQ(CountAllocations(), before);
}

}  // namespace
}  // namespace Orvane
