#include "cleanup/noisesample.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

NoiseSample Sample(int32_t rate) {
    NoiseSample noise(rate);
    for (int channel = 0; channel < 2; channel++) {
        for (size_t k = 1; k < noise.power[channel].size(); k++)
            noise.power[channel][k] = float(k) + 0.5f * float(channel);
    }
    return noise;
}

std::string Number(uint32_t n) {
    return {char(n), char(n >> 8), char(n >> 16), char(n >> 24)};
}

TEST(NoiseFile, RefusesWhatIsNotOneAndKeepsTheSample) {
    const OrvaneTest::TempFolder folder;
    ASSERT_EQ(WriteNoiseFile(folder / "good.vns", Sample(44100)), 0);
    const std::string good = OrvaneTest::ReadBytes(folder / "good.vns");
    std::string wrong_magic = good, not_finite = good, negative = good;
    wrong_magic[0] = 'x';
    not_finite.replace(100, 4, Number(std::bit_cast<uint32_t>(std::numeric_limits<float>::quiet_NaN())));
    negative.replace(good.size() - 4, 4, Number(std::bit_cast<uint32_t>(-1.f)));
    for (const std::string& bytes :
         {good.substr(0, 7), good.substr(0, good.size() - 1), wrong_magic, not_finite, negative}) {
        const std::string path = folder.Write("bad.vns", bytes);
        NoiseSample noise = Sample(44100);
        EXPECT_EQ(ReadNoiseFile(path, noise), Tesslib::ERR_CONTENTS);
        EXPECT_EQ(Tesslib::GetLastError().text, "Bad or missing noise sample file:\n\n<b>" + path + "</b>");
        EXPECT_EQ(noise.power[0], Sample(44100).power[0]);
    }
    NoiseSample noise(44100);
    EXPECT_EQ(ReadNoiseFile(folder / "none.vns", noise), Tesslib::ERR_CANNOT_OPEN);
    NoiseSample other_rate(96000);
    EXPECT_EQ(ReadNoiseFile(folder / "good.vns", other_rate), Tesslib::ERR_CONTENTS);
    EXPECT_EQ(Tesslib::GetLastError().text,
              "Sample rate of noise sample file:\n\n<b>" + folder / "good.vns" +
                  "</b> (44.1 kHz)\n\ndoes not match sample rate of this recording (96 kHz).");
}

}  // namespace
}  // namespace Orvane
