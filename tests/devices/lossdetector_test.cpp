#include "devices/lossdetector.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "audiosignals.h"
#include "foundation/clock.h"

namespace Tesslib {
namespace {

constexpr int kRate = 44100, kBlock = 1152;

// A device that delivers a block about every 26 ms of its own clock.
struct DriftingDevice {
    double ppm = 0;        // its clock against ours
    double jitter_ms = 0;  // a delivery is late by up to so much
    int block = kBlock;

    int64_t delivered = 0;  // frames the device has captured, those lost included
    int64_t kept = 0;
    double at_ns = 0;  // when the last frame captured was
    double last_told_ns = 0;
    OrvaneTest::Noise noise{7};

    struct Found {
        double at_seconds;
        LostFrames loss;
    };
    std::vector<Found> found{};

    void Run(LossDetector& detector, double seconds, bool lost = false, double stalled_until = 0) {
        const double until = at_ns + seconds * 1e9;
        while (at_ns < until) {
            at_ns += block / (kRate * (1 + ppm * 1e-6)) * 1e9;
            delivered += block;
            if (lost) continue;
            double told = at_ns + noise.Even() * jitter_ms * 1e6;
            told = std::max({told, last_told_ns, stalled_until * 1e9});
            last_told_ns = told;
            const auto loss = detector.Delivered(block, kept, static_cast<int64_t>(told));
            kept += block;
            if (loss) found.push_back({told / 1e9, *loss});
        }
    }
};

TEST(LossDetectorTest, ClocksThatDifferAndLateDeliveriesAreNoLoss) {
    for (double ppm : {-499.0, -200.0, 0.0, 200.0, 499.0}) {
        for (double jitter : {0.0, 50.0}) {
            SCOPED_TRACE(testing::Message() << ppm << " ppm, " << jitter << " ms");
            LossDetector detector(kRate, kBlock);
            DriftingDevice device{ppm, jitter};
            device.Run(detector, 8 * 3600);
            EXPECT_TRUE(device.found.empty());
        }
    }
}

TEST(LossDetectorTest, AStallThatIsMadeUpForIsNoLoss) {
    LossDetector detector(kRate, kBlock);
    DriftingDevice device{20, 10};
    for (int minute = 1; minute <= 30; ++minute) {
        device.Run(detector, 57);
        device.Run(detector, 2.9, false, device.at_ns / 1e9 + 2.9);
    }
    EXPECT_TRUE(device.found.empty());
}

TEST(LossDetectorTest, ALostBlockIsToldWithinTwoSecondsAtItsPlace) {
    for (int block : {kBlock, 4 * kBlock, 441}) {
        for (double jitter : {0.0, 50.0}) {
            if (block != kBlock && jitter > 0) continue;
            for (double ppm : {-200.0, 200.0}) {
                SCOPED_TRACE(testing::Message() << block << ", " << jitter << " ms, " << ppm << " ppm");
                LossDetector detector(kRate, kBlock);
                DriftingDevice device{ppm, jitter};
                device.block = block;
                const int lost = (kBlock + block - 1) / block * block;
                for (int i = 0; i < 20; ++i) {
                    device.found.clear();
                    device.Run(detector, 61.7);
                    ASSERT_TRUE(device.found.empty());
                    const double lost_at = device.at_ns / 1e9;
                    const int64_t place = device.kept, before = device.delivered;
                    device.Run(detector, lost * 0.999 / kRate, true);
                    ASSERT_EQ(device.delivered - before, lost);
                    device.Run(detector, 2.5);
                    ASSERT_EQ(device.found.size(), 1u);
                    const auto& found = device.found[0];
                    EXPECT_LE(found.at_seconds - lost_at, 2.05 + 2.0 * block / kRate);
                    EXPECT_NEAR(static_cast<double>(found.loss.before_frame - place), 0,
                                jitter == 0 ? 0 : kRate * 0.25);
                    EXPECT_NEAR(static_cast<double>(found.loss.n_frames - (device.delivered - device.kept)), 0,
                                jitter == 0 ? 20 : kRate * 0.01);
                    device.delivered = device.kept;
                }
            }
        }
    }
}

TEST(LossDetectorTest, WhatIsKnownIsNotCountedTwice) {
    LossDetector detector(kRate, kBlock);
    DriftingDevice device;
    device.Run(detector, 10);
    device.Run(detector, 1.0, true);
    detector.AlreadyCounted(device.delivered - device.kept);
    device.Run(detector, 10);
    EXPECT_TRUE(device.found.empty());
}

}  // namespace
}  // namespace Tesslib
