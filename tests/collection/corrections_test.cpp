// Cuts, and the file of click repairs.
#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <set>

#include "collection/corrections.h"
#include "collection/crd_file.h"
#include "repairs.h"

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

TEST(CutList, ASpliceTakesHalfItsLengthOnEitherSide) {
    CutList cuts;
    cuts.Add(100000, 110001, 221, 44100);  // an odd splice loses its last frame
    EXPECT_EQ(cuts.First()->splice_length, 220);
    EXPECT_EQ(cuts.First()->absolute_start_time, 99890);
    EXPECT_EQ(cuts.First()->absolute_end_time, 110111);
}

std::span<const uint8_t> Bytes(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

void Append(ClickRepairList& list, int16_t type, int64_t start, int64_t n, int16_t wiggles) {
    std::vector<int16_t> samples;
    for (int64_t i = 0; i < n; ++i) samples.push_back(static_cast<int16_t>(start * 31 + i * 977));
    list.Append(OrvaneTest::MakeRepair(type, start, samples, 6).release());
    list.Last()->wiggles = wiggles;
}

TEST(CrdFile, IsReadAsItWasWrittenAndNeverInPart) {
    for (const int64_t last_end : {int64_t{0x7FFF0000}, int64_t{0x7FFF0001}, int64_t{1} << 40}) {
        ClickRepairs written;
        Append(written[0], REPAIR_SCANNER, 1000, 60, 5);
        Append(written[0], REPAIR_PP, 2000, 40, 5);
        Append(written[1], REPAIR_PATCH, 1500, 500, -1);
        Append(written[1], REPAIR_MANUAL, last_end - 7, 7, 5);
        const std::string whole = WriteCrd(written);
        EXPECT_EQ(whole[4], last_end > 0x7FFF0000 ? 3 : 2);
        ClickRepairs read;
        ASSERT_EQ(ReadCrd(Bytes(whole + "trailing"), read), CrdResult::Good);
        EXPECT_EQ(WriteCrd(read), whole);
        EXPECT_EQ(read[1].Last()->absolute_end_time, last_end);
        for (size_t n = 0; n < whole.size(); ++n) {
            ClickRepairs part;
            EXPECT_EQ(ReadCrd(Bytes(whole.substr(0, n)), part), n < 4 ? CrdResult::BadHeader : CrdResult::Damaged) << n;
            EXPECT_TRUE(part[0].empty() && part[1].empty()) << n;
        }
    }
}

}  // namespace
}  // namespace Orvane
