#include "cleanup/biquadfilter.h"

#include <gtest/gtest.h>

#include <vector>

#include "analog_biquad.h"
#include "response.h"

namespace Orvane {
namespace {

TEST(BiQuadFilter, MeasuredResponseIsThatOfTheAnaloguePrototype) {
    struct Case {
        int type;
        double db_gain, frequency, samplerate, bandwidth;
    };
    for (const Case& c : {Case{kLowPass, 0, 3000, 44100, 1.5},
                          {kHighPass, 0, 20, 96000, 2.0},
                          {kBandPass, 0, 1000, 48000, 1.0},
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

}  // namespace
}  // namespace Orvane
