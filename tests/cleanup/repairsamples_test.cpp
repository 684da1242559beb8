#include "cleanup/repairsamples.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace Orvane {
namespace {

// A ramp stays one, to within the step by which the number of outputs for an input, or of inputs for an output, varies.
TEST(RepairSamples, ConversionToEveryRateKeepsEachSampleInItsPlace) {
    std::vector<float> ramp(413);
    std::iota(ramp.begin(), ramp.end(), 0.0f);
    for (int rate : {48000, 88200, 96000, 176400, 192000, 44101}) {
        std::vector<float> up(RepairStoredLength(412, rate), -1.0f);
        ConvertRepairUp(ramp, rate, up);
        for (size_t j = 0; j < up.size(); j++) {
            ASSERT_NEAR(up[j], std::min(412.0, static_cast<double>(j) * 44100 / rate), 1.0) << rate << " " << j;
        }
    }
    for (int rate : {8000, 11025, 16000, 32000, 44099}) {
        std::vector<float> down(RepairStoredLength(412, rate), -1.0f);
        ConvertRepairDown(ramp, rate, down);
        const double inputs = 44100.0 / rate;
        for (size_t j = 0; j + 1 < down.size(); j++) {
            ASSERT_NEAR(down[j], (static_cast<double>(j) + 0.5) * inputs - 0.5, 1.0) << rate << " " << j;
        }
    }
}

}  // namespace
}  // namespace Orvane
