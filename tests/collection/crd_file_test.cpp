#include "collection/crd_file.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

std::span<const uint8_t> Bytes(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

struct Lists {
    Lists() = default;
    ClickRepair* Append(int channel, int16_t type, int64_t start, int64_t n, int16_t wiggles = 5) {
        auto repair = std::make_unique<ClickRepair>(type, start, start + n, int16_t{6});
        repair->wiggles = wiggles;
        if (type < 11) {
            auto samples = std::make_unique<int16_t[]>(static_cast<size_t>(n));
            for (int64_t i = 0; i < n; ++i)
                samples[static_cast<size_t>(i)] = static_cast<int16_t>(start * 31 + i * 977);
            repair->SetSamples(std::move(samples));
        }
        list[channel].Append(repair.release());
        return list[channel].Last();
    }
    ClickRepairList list[2];
};

std::string Described(const ClickRepairList& list) {
    std::string text;
    for (const ClickRepair& e : list) {
        for (int64_t value : {int64_t{e.repair_type}, int64_t{e.cross_fade}, int64_t{e.wiggles}, e.absolute_start_time,
                              e.absolute_end_time, int64_t{e.min_sample}, int64_t{e.max_sample}}) {
            text += std::to_string(value) + " ";
        }
        if (e.samples) text.append(reinterpret_cast<const char*>(e.samples.get()), 2 * static_cast<size_t>(e.Length()));
    }
    return text;
}

TEST(CrdFile, WhatIsWrittenIsRead) {
    for (const int64_t last_end : {int64_t{0x7FFF0000}, int64_t{0x7FFF0001}, int64_t{1} << 40}) {
        Lists written;
        written.Append(0, REPAIR_SCANNER, 1000, 60);
        written.Append(0, REPAIR_PP, 2000, 40);
        written.Append(1, REPAIR_PATCH, 1500, 5000, -1);
        written.Append(1, REPAIR_MANUAL, last_end - 7, 7);
        const std::string bytes = WriteCrd(written.list);
        EXPECT_EQ(bytes[4], last_end > 0x7FFF0000 ? 3 : 2);
        Lists read;
        ASSERT_EQ(ReadCrd(Bytes(bytes), read.list), CrdResult::Good);
        for (int channel : {0, 1}) EXPECT_EQ(Described(written.list[channel]), Described(read.list[channel]));
    }
    EXPECT_EQ(WriteCrd(Lists().list).size(), kSmallestCrdFile);
}

TEST(CrdFile, EveryTruncationIsSeen) {
    Lists written;
    written.Append(0, REPAIR_SCANNER, 1000, 3);
    written.Append(1, REPAIR_BP, 1500, 20);
    const std::string whole = WriteCrd(written.list);
    for (size_t n = 0; n < whole.size(); ++n) {
        Lists read;
        EXPECT_EQ(ReadCrd(Bytes(whole.substr(0, n)), read.list), n < 4 ? CrdResult::BadHeader : CrdResult::Damaged)
            << n;
        EXPECT_TRUE(read.list[0].empty() && read.list[1].empty()) << n;
    }
    Lists read;
    EXPECT_EQ(ReadCrd(Bytes(whole + "trailing"), read.list), CrdResult::Good);
}

}  // namespace
}  // namespace Orvane
