#include "cleanup/presets.h"

#include <gtest/gtest.h>

#include "foundation/lasterror.h"
#include "foundation/settings.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

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
    ASSERT_TRUE(Tesslib::OpenSettings(folder.Path()));
    Tesslib::SetStringSetting("Filter Preset", "\"odd\"\n");
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
    EXPECT_EQ(Tesslib::GetStringSetting("Filter Preset").substr(0, 6), "\"odd\"\n");
    for (const char* name : {"", " ", "a\nb", "say \"hi\""}) EXPECT_FALSE(SavePreset(name, setting)) << name;
    EXPECT_FALSE(SavePreset("RIAA", FFTEq()));
    ASSERT_TRUE(Tesslib::OpenSettings());
}

TEST(KeptCurves, ComeBackInTheirOrderAndNoneOfALongerListStays) {
    const OrvaneTest::TempFolder folder;
    ASSERT_TRUE(Tesslib::OpenSettings(folder.Path()));
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
    Tesslib::SetStringSetting("Batch Eq Curve #2", "rubbish");
    const std::vector<FFTEq> kept = ReadKeptCurves(KeptCurves::Batch);
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_TRUE(kept[0].curve.SameAs(curves.First()->curve));
    EXPECT_TRUE(kept[1].curve.SameAs(curves.Last()->curve));
    EXPECT_EQ(kept[1].enable, CURVE_ADD);
    EXPECT_TRUE(kept[1].CoversAll());
    curves.Delete(curves.Last());
    ASSERT_TRUE(KeepCurves(KeptCurves::Batch, curves));
    EXPECT_EQ(ReadKeptCurves(KeptCurves::Batch).size(), 2u);
    EXPECT_FALSE(Tesslib::HasSetting("Batch Eq Curve #3"));
    ASSERT_TRUE(Tesslib::OpenSettings());
}

}  // namespace
}  // namespace Orvane
