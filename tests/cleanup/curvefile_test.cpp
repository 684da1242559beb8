#include "cleanup/curvefile.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace Orvane
