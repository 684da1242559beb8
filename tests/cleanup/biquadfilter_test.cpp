#include "cleanup/biquadfilter.h"

#include <gtest/gtest.h>

#include <vector>

#include "analog_biquad.h"
#include "foundation/assert.h"
#include "response.h"

namespace Orvane {
namespace {

TEST(BiQuadFilter, MeasuredResponseIsThatOfTheAnaloguePrototype) {
    struct Case {
        int type;
        double db_gain, frequency, samplerate, bandwidth;
    };
    for (const Case& c : {Case{kLowPass, 0, 3000, 44100, 1.5},
                          {kHighPass, 0, 16, 44100, 1.5},
                          {kHighPass, 0, 20, 96000, 2.0},
                          {kBandPass, 0, 1000, 48000, 1.0},
                          {kNotch, 0, 60, 44100, 0.05},
                          {kPeaking, 11, 63, 44100, 1.4},
                          {kPeaking, -11, 8000, 44100, 1.4},
                          {kLowShelf, 14, 47, 44100, 1.4},
                          {kHighShelf, -14, 12000, 44100, 1.4},
                          {kHighShelf, 7, 12000, 192000, 1.4}}) {
        BiQuadFilter filter;
        ComputeBiQuad(filter, c.type, c.db_gain, c.frequency, c.samplerate, c.bandwidth);
        std::vector<double> response(c.frequency < 100 ? 200'000 : 10'000);
        for (size_t i = 0; i < response.size(); i++) response[i] = filter.Process(i == 0 ? 1.0 : 0.0);
        for (double at : {10.0, 30.0, 57.0, 63.0, 400.0, 1000.0, 3000.0, 9000.0, 17000.0}) {
            const double expected =
                Oracle::AnalogBiQuadDb(c.type, c.db_gain, c.frequency, c.samplerate, c.bandwidth, at);
            EXPECT_NEAR(Testing::ImpulseResponseDb<double>(response, at, c.samplerate), expected, 0.001)
                << "type " << c.type << " at " << at << " Hz";
        }
    }
}

TEST(BiQuadFilter, CopyTakesCoefficientsAndStartsFromSilence) {
    BiQuadFilter filter;
    ComputeBiQuad(filter, kPeaking, 6, 1000, 44100, 1);
    filter.Process(1.0);
    BiQuadFilter constructed = filter, assigned;
    assigned.Process(1.0);
    assigned = filter;
    BiQuadFilter fresh;
    ComputeBiQuad(fresh, kPeaking, 6, 1000, 44100, 1);
    for (double x : {0.5, -0.25, 0.125}) {
        const double expected = fresh.Process(x);
        EXPECT_EQ(constructed.Process(x), expected);
        EXPECT_EQ(assigned.Process(x), expected);
    }
}

TEST(BiQuadFilter, RateThatIsNotAboveZeroCountsAs44100) {
    BiQuadFilter expected, filter;
    ComputeBiQuad(expected, kHighPass, 0, 16, 44100, 1.5);
    ComputeBiQuad(filter, kHighPass, 0, 16, 0, 1.5);
    EXPECT_EQ(filter.a1, expected.a1);
}

TEST(BiQuadFilterDeathTest, UnknownTypeFailsAnAssertion) {
    BiQuadFilter filter;
    EXPECT_DEATH(ComputeBiQuad(filter, 7, 0, 100, 44100, 1), "type");
    EXPECT_DEATH(ComputeBiQuad(filter, -1, 0, 100, 44100, 1), "type");
}

}  // namespace
}  // namespace Orvane
