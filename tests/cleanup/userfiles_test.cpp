// What users bring and keep beside recordings: curves, noise samples, presets.
#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "cleanup/filter/curvefile.h"
#include "cleanup/filter/noisesample.h"
#include "cleanup/filter/presets.h"
#include "foundation/fileerror.h"
#include "foundation/lasterror.h"
#include "foundation/settings.h"
#include "temp_folder.h"

using namespace Foundation;

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
        Foundation::SetLastErrorText("");
        EXPECT_TRUE(ParseCurveFile(text, "/music/x.xml").empty()) << text;
        EXPECT_NE(Foundation::GetLastError().text.find("/music/x.xml"), std::string::npos) << text;
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
        EXPECT_EQ(ReadNoiseFile(path, sample), Foundation::ERR_CONTENTS);
        EXPECT_EQ(Foundation::GetLastError().text, "Bad or missing noise sample file:\n\n<b>" + path + "</b>");
        EXPECT_EQ(sample.power[1][7], 5);
    }
    EXPECT_EQ(ReadNoiseFile(folder / "none.vns", sample), Foundation::ERR_CANNOT_OPEN);
    NoiseSample other_rate(96000);
    EXPECT_EQ(ReadNoiseFile(folder / "good.vns", other_rate), Foundation::ERR_CONTENTS);
    EXPECT_EQ(Foundation::GetLastError().text,
              "Sample rate of noise sample file:\n\n<b>" + folder / "good.vns" +
                  "</b> (44.1 kHz)\n\ndoes not match sample rate of this recording (96 kHz).");
}

TEST(Presets, LinesWithoutAPresetCostThemselvesAlone) {
    const auto presets = ParsePresets<ScanSettings>(
        "\"Jazz\xC2\xAC loud\",\"4\",\"5\",\"0\",\"2\",\"1\",\"0\",\"1\",\"1\",\n"
        "\n"
        "rubbish\n"
        "\"\",\"4\",\"5\",\n"
        "\"Wild\",\"99\",\"-7\",\"x\",\"300\",\"77\"\r\n"
        "\"Short\"");
    ASSERT_EQ(presets.size(), 4u);
    EXPECT_EQ(presets[0].name, "Jazz, loud");
    EXPECT_EQ(presets[0].settings.sensitivity, 4);
    EXPECT_EQ(presets[0].settings.channels, 1);
    EXPECT_EQ(presets[0].settings.options, SCAN_KEEP_PREVIOUS | SCAN_EQUALISE);
    EXPECT_EQ(presets[2].settings.sensitivity, 7);
    EXPECT_EQ(presets[2].settings.passes, 9);
}

TEST(Presets, AreKeptReplacedAndRemovedByNameAndLeaveTheOthersAlone) {
    const OrvaneTest::TempFolder folder;
    ASSERT_TRUE(Foundation::OpenSettings(folder.Path()));
    Foundation::SetStringSetting("Filter Preset", "\"odd\"\n");
    FilterSetting setting;
    setting.values.bands[3] = -7;
    setting.values.hum_mode = FILTER_ON;
    setting.extra = "/noise, old/x.vns";
    setting.absolute_start_time = 5;
    ASSERT_TRUE(SavePreset("One, two", setting));
    setting.values.bands[3] = 2;
    ASSERT_TRUE(SavePreset("Other", setting));
    ASSERT_TRUE(SavePreset("ONE, two", setting));
    EXPECT_EQ(ListPresets<FilterSetting>().size(), 2u);

    FilterSetting found;
    found.name = "mine";
    found.absolute_start_time = 9;
    ASSERT_TRUE(FindPreset("one, TWO", found));
    EXPECT_EQ(found.values, setting.values);
    EXPECT_EQ(found.extra, setting.extra);
    EXPECT_EQ(found.preset, "ONE, two");
    EXPECT_EQ(found.name, "mine");
    EXPECT_EQ(found.absolute_start_time, 9);

    ASSERT_TRUE(RemovePreset<FilterSetting>("other"));
    EXPECT_FALSE(RemovePreset<FilterSetting>("other"));
    EXPECT_EQ(Foundation::GetStringSetting("Filter Preset").substr(0, 6), "\"odd\"\n");
    for (const char* name : {"", " ", "a\nb", "say \"hi\""}) EXPECT_FALSE(SavePreset(name, setting)) << name;
    EXPECT_FALSE(SavePreset("RIAA", FFTEq()));
    ASSERT_TRUE(Foundation::OpenSettings());
}

TEST(KeptCurves, ComeBackInTheirOrderAndNoneOfALongerListStays) {
    const OrvaneTest::TempFolder folder;
    ASSERT_TRUE(Foundation::OpenSettings(folder.Path()));
    LinkedList<FFTEq> curves;
    for (const char* name : {"", "Two, \"odd\"", "Three"}) {
        auto* eq = new FFTEq;
        eq->name = name;
        eq->enable = curves.empty() ? CURVE_ON : CURVE_ADD;
        eq->absolute_start_time = eq->absolute_end_time = 7;
        eq->curve.points = {{100, -3.5f}, {2000, static_cast<float>(curves.size())}};
        curves.Append(eq);
    }
    ASSERT_TRUE(KeepCurves(KeptCurves::Batch, curves));
    EXPECT_TRUE(ReadKeptCurves(KeptCurves::Default).empty());
    Foundation::SetStringSetting("Batch Eq Curve #2", "rubbish");
    const std::vector<FFTEq> kept = ReadKeptCurves(KeptCurves::Batch);
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_TRUE(kept[0].curve.SameAs(curves.First()->curve));
    EXPECT_TRUE(kept[1].curve.SameAs(curves.Last()->curve));
    EXPECT_EQ(kept[1].enable, CURVE_ADD);
    EXPECT_TRUE(kept[1].CoversAll());
    curves.Delete(curves.Last());
    ASSERT_TRUE(KeepCurves(KeptCurves::Batch, curves));
    EXPECT_EQ(ReadKeptCurves(KeptCurves::Batch).size(), 2u);
    EXPECT_FALSE(Foundation::HasSetting("Batch Eq Curve #3"));
    ASSERT_TRUE(Foundation::OpenSettings());
}

}  // namespace
}  // namespace Orvane
