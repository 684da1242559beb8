#include "collection/crd_file.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

std::span<const uint8_t> Bytes(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

void Append(ClickRepairList& list, int16_t type, int64_t start, int64_t n, int16_t wiggles) {
    auto repair = std::make_unique<ClickRepair>(type, start, start + n, int16_t{6});
    repair->wiggles = wiggles;
    if (!repair->IsMarker()) {
        auto samples = std::make_unique<int16_t[]>(static_cast<size_t>(n));
        for (int64_t i = 0; i < n; ++i) samples[static_cast<size_t>(i)] = static_cast<int16_t>(start * 31 + i * 977);
        repair->SetSamples(std::move(samples));
    }
    list.Append(repair.release());
}

TEST(CrdFile, IsReadAsItWasWrittenAndNeverInPart) {
    for (const int64_t last_end : {int64_t{0x7FFF0000}, int64_t{0x7FFF0001}, int64_t{1} << 40}) {
        ClickRepairList written[2];
        Append(written[0], REPAIR_SCANNER, 1000, 60, 5);
        Append(written[0], REPAIR_PP, 2000, 40, 5);
        Append(written[1], REPAIR_PATCH, 1500, 500, -1);
        Append(written[1], REPAIR_MANUAL, last_end - 7, 7, 5);
        const std::string whole = WriteCrd(written);
        EXPECT_EQ(whole[4], last_end > 0x7FFF0000 ? 3 : 2);
        ClickRepairList read[2];
        ASSERT_EQ(ReadCrd(Bytes(whole + "trailing"), read), CrdResult::Good);
        EXPECT_EQ(WriteCrd(read), whole);
        EXPECT_EQ(read[1].Last()->absolute_end_time, last_end);
        for (size_t n = 0; n < whole.size(); ++n) {
            ClickRepairList part[2];
            EXPECT_EQ(ReadCrd(Bytes(whole.substr(0, n)), part), n < 4 ? CrdResult::BadHeader : CrdResult::Damaged) << n;
            EXPECT_TRUE(part[0].empty() && part[1].empty()) << n;
        }
    }
}

}  // namespace
}  // namespace Orvane
