// What users bring and keep beside recordings: curves and noise samples.
#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "cleanup/curvefile.h"
#include "cleanup/noisesample.h"
#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

TEST(CurveFile, ReadsCurvesInOrderAndTheGoodPointsSorted) {
    const OrvaneTest::TempFolder folder;
    const std::string path = folder.Write("eq.xml", R"(<?xml version="1.0"?>
<equalizationeffect>
  <curve name="Caf&#233; 78"><point f="2.000000e+03" d="-6.5"/><point f="100" d="6"/><point f="nan" d="1"/>
    <point f="abc" d="1"/><point d="1"/><point f="300" d="inf"/><point f="0" d="1"/><point f="400 Hz" d="1"/></curve>
  <curve name="empty"></curve>
  <curve><point f="50" d="0"/></curve>
</equalizationeffect>)");
    const std::vector<FFTCurve> curves = ReadCurveFile(path);
    ASSERT_EQ(curves.size(), 2u);
    EXPECT_EQ(curves[0].name, "Caf\xC3\xA9 78");
    ASSERT_EQ(curves[0].points.size(), 2u);
    EXPECT_EQ(curves[0].points[0].freq, 100.f);
    EXPECT_EQ(curves[0].points[1].gain, -6.5f);
}

TEST(CurveFile, SaysWhyThereAreNone) {
    for (const char* text : {"", "not xml", "<equalizationeffect>", "<other><curve/></other>"}) {
        Tesslib::SetLastErrorText("");
        EXPECT_TRUE(ParseCurveFile(text, "/music/x.xml").empty()) << text;
        EXPECT_NE(Tesslib::GetLastError().text.find("/music/x.xml"), std::string::npos) << text;
    }
}

std::string Number(float value) {
    const auto n = std::bit_cast<uint32_t>(value);
    return {char(n), char(n >> 8), char(n >> 16), char(n >> 24)};
}

TEST(NoiseFile, RefusesWhatIsNotOneAndKeepsTheSample) {
    const OrvaneTest::TempFolder folder;
    NoiseSample sample(44100);
    sample.power[1][7] = 5;
    ASSERT_EQ(WriteNoiseFile(folder / "good.vns", sample), 0);
    const std::string good = OrvaneTest::ReadBytes(folder / "good.vns");
    std::string wrong_magic = good, not_finite = good, negative = good;
    wrong_magic[0] = 'x';
    not_finite.replace(100, 4, Number(std::numeric_limits<float>::quiet_NaN()));
    negative.replace(good.size() - 4, 4, Number(-1));
    for (const std::string& bytes :
         {good.substr(0, 7), good.substr(0, good.size() - 1), wrong_magic, not_finite, negative}) {
        const std::string path = folder.Write("bad.vns", bytes);
        EXPECT_EQ(ReadNoiseFile(path, sample), Tesslib::ERR_CONTENTS);
        EXPECT_EQ(Tesslib::GetLastError().text, "Bad or missing noise sample file:\n\n<b>" + path + "</b>");
        EXPECT_EQ(sample.power[1][7], 5);
    }
    EXPECT_EQ(ReadNoiseFile(folder / "none.vns", sample), Tesslib::ERR_CANNOT_OPEN);
    NoiseSample other_rate(96000);
    EXPECT_EQ(ReadNoiseFile(folder / "good.vns", other_rate), Tesslib::ERR_CONTENTS);
    EXPECT_EQ(Tesslib::GetLastError().text,
              "Sample rate of noise sample file:\n\n<b>" + folder / "good.vns" +
                  "</b> (44.1 kHz)\n\ndoes not match sample rate of this recording (96 kHz).");
}

}  // namespace
}  // namespace Orvane
