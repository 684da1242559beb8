#include "cleanup/repairsamples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

namespace Orvane {
namespace {

TEST(RepairSamples, UpwardConversionDrawsStraightLinesFromTheFirstInput) {
    const std::vector<float> in = {0.0f, 0.4f, 0.0f};
    std::vector<float> out(6);
    ConvertRepairUp(in, 88200, out);
    EXPECT_EQ(out, (std::vector<float>{0.0f, 0.2f, 0.4f, 0.2f, 0.0f, 0.0f}));

    // A ramp stays one, to within the step by which the number of outputs for an input varies.
    std::vector<float> ramp(413);
    std::iota(ramp.begin(), ramp.end(), 0.0f);
    for (int rate : {48000, 88200, 96000, 176400, 192000, 44101}) {
        std::vector<float> up(RepairStoredLength(412, rate), -1.0f);
        ConvertRepairUp(ramp, rate, up);
        for (size_t j = 0; j < up.size(); j++) {
            ASSERT_NEAR(up[j], std::min(412.0, static_cast<double>(j) * 44100 / rate), 1.0) << rate << " " << j;
        }
    }
}

TEST(RepairSamples, DownwardConversionAveragesAndKeepsTheRate) {
    const std::vector<float> in = {1, 3, 5, 7, 9};
    std::vector<float> out(4);
    ConvertRepairDown(in, 22050, out);
    EXPECT_EQ(out, (std::vector<float>{2, 6, 9, 9}));

    std::vector<float> ramp(413);
    std::iota(ramp.begin(), ramp.end(), 0.0f);
    for (int rate : {8000, 11025, 16000, 32000, 44099}) {
        std::vector<float> down(RepairStoredLength(412, rate), -1.0f);
        ConvertRepairDown(ramp, rate, down);
        const double inputs = 44100.0 / rate;
        for (size_t j = 0; j + 1 < down.size(); j++) {
            ASSERT_NEAR(down[j], (static_cast<double>(j) + 0.5) * inputs - 0.5, 1.0) << rate << " " << j;
        }
    }
}

TEST(RepairSamples, SixteenBitsAreCutTowardZeroAndHeld) {
    const std::vector<float> in = {0.0f,
                                   1.0f,
                                   -1.0f,
                                   0.99999f,
                                   -0.00005f,
                                   2.0f,
                                   -std::numeric_limits<float>::infinity(),
                                   std::numeric_limits<float>::quiet_NaN()};
    std::vector<int16_t> out(in.size());
    RepairTo16Bit(in, out);
    EXPECT_EQ(out, (std::vector<int16_t>{0, 32767, -32767, 32766, -1, 32767, -32767, 0}));
}

}  // namespace
}  // namespace Orvane
