#include "draw/sidepicture.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

constexpr int kWidth = 1000;
constexpr int kLaneTop = 62;  // of the left channel
constexpr int kLaneHeight = 190;
constexpr int64_t kSecond = 44100;

int XAt(double second) {
    return kWidth - 12 - ColumnsIn(kWidth) + static_cast<int>(second / 100 * ColumnsIn(kWidth));
}

TEST(SidePicture, HeightsColoursAndBreaksAreWhereTheyBelong) {
    // A hundred seconds at half of full scale, silent on the right.
    SidePicture picture;
    picture.to = 100 * kSecond;
    picture.columns.assign(static_cast<size_t>(ColumnsIn(kWidth)), {-16384, 16384, 0, 0});
    picture.tracks = {{"1", "One", 20 * kSecond, 60 * kSecond, 0, 0}, {"2", "Two", 80 * kSecond, 90 * kSecond, 0, 0}};
    const Canvas canvas = DrawSide(picture);
    ASSERT_EQ(canvas.width, kWidth);
    const int y = kLaneTop + kLaneHeight / 2 - 20;
    const Colour outside = canvas.At(XAt(10), y), first = canvas.At(XAt(40), y), second = canvas.At(XAt(85), y);
    EXPECT_FALSE(outside == first || first == second || second == outside);
    EXPECT_EQ(canvas.At(XAt(70), y), outside);
    for (const double at : {10.0, 40.0, 85.0}) {
        int n = 0;
        for (int row = 0; row < kLaneHeight; ++row) n += canvas.At(XAt(at), kLaneTop + row) == canvas.At(XAt(at), y);
        EXPECT_NEAR(n, kLaneHeight / 2, 3) << at;
    }
    for (const double at : {20.0, 60.0, 80.0, 90.0}) {
        int darkest = 255;
        for (int x = XAt(at) - 1; x <= XAt(at) + 1; ++x)
            darkest = std::min<int>(darkest, canvas.At(x, kLaneTop + 180).red);
        EXPECT_LT(darkest, 80) << "no break at " << at;
    }
    // Faders that reach into the picture from tracks outside.
    picture.tracks = {{"1", "One", -50 * kSecond, -10 * kSecond, 0, 30 * kSecond},
                      {"2", "Two", 120 * kSecond, 150 * kSecond, 40 * kSecond, 0}};
    const Canvas faders = DrawSide(picture);
    for (const double at : {10.0, 90.0}) EXPECT_FALSE(faders.At(XAt(at), 45) == faders.At(XAt(50), 45)) << at;
}

}  // namespace
}  // namespace Orvane
