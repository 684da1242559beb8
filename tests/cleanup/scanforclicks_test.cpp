// Scans that end early.
#include "cleanup/scanforclicks.h"

#include <gtest/gtest.h>

#include "declick_signals.h"
#include "fake_hosts.h"
#include "foundation/progress.h"
#include "recorded_side.h"

namespace Orvane {
namespace {

// Cancels when a text is logged.
class Canceller : public OrvaneTest::FakeProgressHost {
public:
    explicit Canceller(std::string at) : at(std::move(at)) { Progress::Begin("Scan"); }
    ~Canceller() override { Progress::End(); }
    void Log(const std::string& markup) override {
        if (markup == at) Progress::Cancel();
    }

private:
    std::string at;
};

TEST(ScanForClicks, CancelledKeepsTheRepairsOfEarlierPassesOrElseThoseThatWereThere) {
    std::vector<float> left = Signals::Noise(200000, 0.01, 3);
    Signals::AddTone(left, 440, 0.2);
    Signals::AddClicks(left, 8, 0.6, 5);
    std::vector<float> pairs;
    for (const float sample : left) pairs.insert(pairs.end(), {sample, -sample});
    OrvaneTest::RecordedSide recorded(pairs);
    FileHistoryEntry& entry = *recorded.entry;

    const auto scan = [&](int passes, const char* cancel_at, int sensitivity = 3) {
        const Canceller canceller(cancel_at);
        ScanRequest request;
        request.settings.passes = static_cast<int8_t>(passes);
        request.settings.sensitivity = static_cast<int8_t>(sensitivity);
        ScanStats stats;
        return ScanForClicks(&entry, request, stats);
    };
    const auto stored = [&] {
        entry.LoadCorrections(false);
        return OrvaneTest::Serialised(entry);
    };
    ScanSettings once;
    once.passes = 1;

    ASSERT_EQ(scan(1, "", 5), ScanOutcome::Done);
    const std::string other = stored();
    ASSERT_EQ(scan(1, ""), ScanOutcome::Done);
    const std::string one_pass = stored();
    ASSERT_NE(one_pass, other);

    ASSERT_EQ(scan(1, "", 5), ScanOutcome::Done);
    ASSERT_EQ(stored(), other);
    EXPECT_EQ(scan(3, "\nPass 1"), ScanOutcome::Cancelled);
    EXPECT_EQ(stored(), other) << "nothing had been merged";
    once.sensitivity = 5;
    EXPECT_TRUE(ScannedBefore(entry, once));

    EXPECT_EQ(scan(3, "\nPass 2"), ScanOutcome::Cancelled);
    EXPECT_EQ(stored(), one_pass);
    EXPECT_FALSE(ScannedBefore(entry, once));
    once.sensitivity = 3;
    EXPECT_FALSE(ScannedBefore(entry, once));
}

TEST(ConfirmScan, AsksAboveTheUsualMaximum) {
    OrvaneTest::FakeMessageHost messages({Answer::Ok, Answer::Cancel});
    ScanSettings settings;
    for (const auto& [sensitivity, goes_on] : {std::pair{-1, true}, {5, true}, {6, true}, {7, false}}) {
        settings.sensitivity = static_cast<int8_t>(sensitivity);
        EXPECT_EQ(ConfirmScan(settings), goes_on) << sensitivity;
    }
    EXPECT_EQ(messages.asked.size(), 2u);
}

}  // namespace
}  // namespace Orvane
