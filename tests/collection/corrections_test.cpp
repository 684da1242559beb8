#include "collection/corrections.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <set>

namespace Orvane {
namespace {

// The edited timeline as what it is: the file's positions that are left.
std::vector<int64_t> KeptPositions(int64_t length) {
    std::vector<int64_t> kept(static_cast<size_t>(length));
    std::iota(kept.begin(), kept.end(), 0);
    return kept;
}

void ExpectMapsLike(const CutList& cuts, const std::vector<int64_t>& kept, int64_t length) {
    for (size_t t = 0; t < kept.size(); ++t) {
        ASSERT_EQ(cuts.ToAbsolute(static_cast<int64_t>(t)), kept[t]) << "at " << t;
    }
    // What was cut maps to where the next kept position stands.
    size_t t = 0;
    for (int64_t absolute = 0; absolute < length; ++absolute) {
        while (t < kept.size() && kept[t] < absolute) ++t;
        ASSERT_EQ(cuts.ToEdited(absolute), static_cast<int64_t>(t)) << "at " << absolute;
    }
    ASSERT_EQ(cuts.TotalLength(), length - static_cast<int64_t>(kept.size()));
}

std::vector<std::array<int64_t, 3>> Listing(const CutList& cuts) {
    std::vector<std::array<int64_t, 3>> listing;
    for (const auto& cut : cuts) listing.push_back({cut.start_time, cut.end_time, cut.absolute_start_time});
    return listing;
}

TEST(CutList, MapsBothWaysLikeAListOfKeptPositions) {
    constexpr int64_t kLength = 3000;
    std::mt19937 random(7);
    for (int samplerate : {0, 1000, 4000}) {  // cuts merge within 0, 10 and 40 frames
        const int64_t d = samplerate / 100;
        CutList cuts;
        std::vector<int64_t> kept = KeptPositions(kLength);
        for (int round = 0; round < 60; ++round) {
            const auto n = static_cast<int64_t>(kept.size());
            const int64_t t1 = static_cast<int64_t>(random() % static_cast<uint64_t>(n - 20));
            const int64_t t2 = t1 + static_cast<int64_t>(random() % 20) + 1;
            const CutAndSpliceCorrection* cut = cuts.Add(t1, t2, 0, samplerate);
            // Merging may take up to `d` frames more on either side, never less than asked and nothing elsewhere.
            const int64_t first = cut->start_time;
            int64_t last = first;
            while (last < n && kept[static_cast<size_t>(last)] < cut->absolute_end_time) ++last;
            ASSERT_LE(first, t1);
            ASSERT_GE(first, t1 - d);
            ASSERT_GE(last, t2);
            ASSERT_LE(last, t2 + d);
            kept.erase(kept.begin() + first, kept.begin() + last);
            ASSERT_NO_FATAL_FAILURE(ExpectMapsLike(cuts, kept, kLength));
        }
        // Taking cuts out in any order gives their audio back.
        while (!cuts.empty()) {
            CutAndSpliceCorrection* victim = cuts.First();
            for (int i = static_cast<int>(random() % static_cast<unsigned>(cuts.size())); i > 0; --i) {
                victim = CutList::Next(victim);
            }
            const auto taken = cuts.Take(victim);
            std::set<int64_t> with_taken(kept.begin(), kept.end());
            for (int64_t t = taken->absolute_start_time; t < taken->absolute_end_time; ++t) with_taken.insert(t);
            kept.assign(with_taken.begin(), with_taken.end());
            ASSERT_NO_FATAL_FAILURE(ExpectMapsLike(cuts, kept, kLength));
        }
        EXPECT_EQ(kept, KeptPositions(kLength));
    }
}

TEST(CutList, AddedCutsSpliceMergeAndLeaveLaterOnesInPlace) {
    CutList cuts;
    cuts.Add(100000, 110001, 221, 44100);  // an odd splice loses its last frame
    EXPECT_EQ(cuts.First()->splice_length, 220);
    EXPECT_EQ(Listing(cuts), (std::vector<std::array<int64_t, 3>>{{99890, 110111, 99890}}));

    cuts.Add(1000, 2000, 0, 44100);  // earlier: the later cut stays where it is in the file
    EXPECT_EQ(Listing(cuts), (std::vector<std::array<int64_t, 3>>{{1000, 2000, 1000}, {98890, 109111, 99890}}));

    cuts.Add(98000, 98450, 0, 44100);  // ends 440 frames before the second: merged, what lies between them too
    EXPECT_EQ(Listing(cuts), (std::vector<std::array<int64_t, 3>>{{1000, 2000, 1000}, {98000, 109111, 99000}}));

    cuts.Add(97000, 97558, 0, 44100);  // 442 frames before: too far
    EXPECT_EQ(cuts.size(), 3);
}

std::unique_ptr<ClickRepair> MakeRepair(int16_t type, int64_t start, int64_t end) {
    auto repair = std::make_unique<ClickRepair>(type, start, end, int16_t{6});
    if (repair->IsMarker()) return repair;
    auto samples = std::make_unique<int16_t[]>(static_cast<size_t>(std::max<int64_t>(0, end - start)));
    for (int64_t t = start; t < end; ++t) samples[static_cast<size_t>(t - start)] = static_cast<int16_t>(t);
    repair->SetSamples(std::move(samples));
    return repair;
}

TEST(CheckRepairList, RemovesWhatNoListMayHold) {
    const struct {
        const char* fault;
        int16_t type;
        int64_t start, end;
        bool kept;
    } rows[] = {
        {"empty", REPAIR_SCANNER, 30, 30, false},
        {"ends before it starts", REPAIR_SCANNER, 30, 25, false},
        {"touches the next", REPAIR_PP, 40, 60, true},
        {"starts where the last ended", REPAIR_SCANNER, 60, 80, true},
        {"overlaps", REPAIR_SCANNER, 79, 90, false},
        {"out of order", REPAIR_SCANNER, 5, 8, false},
        {"as long as can be", REPAIR_SCANNER, 1000, 1415, true},
        {"too long", REPAIR_SCANNER, 2000, 2416, false},
        {"a long patch", REPAIR_PATCH, 3000, 203000, true},
        {"within the patch", REPAIR_MANUAL, 4000, 4010, false},
    };
    ClickRepairList list;
    std::vector<int64_t> expected, kept;
    for (const auto& row : rows) {
        list.Append(MakeRepair(row.type, row.start, row.end).release());
        if (row.kept) expected.push_back(row.start);
    }
    EXPECT_EQ(CheckRepairList(list, false), 0);
    EXPECT_EQ(CheckRepairList(list, true), std::size(rows) - expected.size());
    EXPECT_TRUE(list.dirty);
    for (const ClickRepair& repair : list) kept.push_back(repair.absolute_start_time);
    EXPECT_EQ(kept, expected);
}

}  // namespace
}  // namespace Orvane
