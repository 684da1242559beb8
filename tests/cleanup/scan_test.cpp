// The click scan of a recording around the detector, and which of its clicks are shown.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "cleanup/declick/scanblocks.h"
#include "cleanup/declick/scanforclicks.h"
#include "cleanup/edit/editrepairs.h"
#include "cleanup/edit/patchselection.h"
#include "cleanup/repair/shownclicks.h"
#include "declick_signals.h"
#include "fake_hosts.h"
#include "foundation/progress.h"
#include "recorded_side.h"
#include "repairs.h"

using namespace Foundation;

namespace Orvane {
namespace {

using namespace Signals;

// The same audio in both channels, read in pieces.
struct Source {
    SampleReader Reader() {
        return [this](int64_t start, int64_t end, float* out_left, float* out_right) {
            const int64_t available = std::min<int64_t>({end - start + 1, ends_at - start, 70001});
            if (start >= fails_from) return -4;
            if (available <= 0) return 0;
            for (float* out : {out_left, out_right}) std::copy_n(samples.begin() + start, available, out);
            return static_cast<int>(available);
        };
    }

    std::vector<float> samples;
    int64_t ends_at = INT64_MAX, fails_from = INT64_MAX;
};

// Each sample passes through the curve once, and repairs see the recording as it is; the end of the audio and a failure
// end the scan.
TEST(ScanBlocks, EqualiseTheDetectorsViewAndEndWithTheReader) {
    constexpr int kTotal = 450000;
    Source source{Noise(kTotal, 0.5, 1)};
    BiQuadFilter curve, high_pass;
    curve.b0 = 0.2381, curve.b1 = -0.17188253282, curve.b2 = -0.04429899417645;
    curve.a1 = -1.700724, curve.a2 = 0.7029381524;
    ComputeBiQuad(high_pass, kHighPass, 0.0, 20.0, 44100.0, 2.0);
    std::vector<float> expected;
    for (float x : source.samples)
        expected.push_back(static_cast<float>(high_pass.Process(curve.Process(static_cast<double>(x)))));
    for (const auto& [ends_at, fails_from, wanted_blocks, wanted] : {std::tuple{INT64_MAX, INT64_MAX, 3, 0},
                                                                     {100000, INT64_MAX, 1, 0},
                                                                     {0, INT64_MAX, 0, 0},
                                                                     {INT64_MAX, 205000, 1, -4}}) {
        source.ends_at = ends_at;
        source.fails_from = fails_from;
        ScanBlocks blocks(0, kTotal, kTotal, Equalisation::Riaa);
        int n_blocks = 0, result;
        for (; (result = blocks.Next(source.Reader())) == 1; ++n_blocks) {
            for (int64_t place = blocks.read_start(); place <= blocks.read_end(); ++place) {
                auto index = static_cast<size_t>(blocks.offset0() + place - blocks.read_start());
                ASSERT_EQ(blocks.Channel(0).samples[index], expected[static_cast<size_t>(place)]) << place;
                ASSERT_EQ(blocks.Recording(0)[index], source.samples[static_cast<size_t>(place)]) << place;
            }
        }
        EXPECT_EQ(n_blocks, wanted_blocks) << ends_at;
        EXPECT_EQ(result, wanted) << ends_at;
    }
}

class PlaceSink : public ClickSink {
public:
    RepairResult Repair(int64_t start, int64_t end, int, int, bool) override {
        for (int64_t place = start; place <= end; ++place) repaired.insert(place);
        return RepairResult::Repaired;
    }
    bool Marker(int, int64_t, int64_t, int) override { return true; }
    bool Tick(int64_t) override { return true; }
    std::set<int64_t> repaired;
};

TEST(ScanBlocks, ClicksAreFoundAtBothEndsAndAcrossSeams) {
    constexpr int kTotal = 450000, kStep = 211514 - 12026;
    Source source{Noise(kTotal, 0.002, 3)};
    AddTone(source.samples, 440.0, 0.1);
    std::vector<int> clicks = {30, 1000, kTotal - 60};
    for (int seam : {20 + kStep, 20 + 2 * kStep}) {
        for (int at : {-1500, -100, 0, 250, 500, 1500}) clicks.push_back(seam + at);
    }
    for (int at : clicks) AddClick(source.samples, at, 4, 0.3);

    ScanBlocks blocks(0, kTotal, kTotal, Equalisation::None);
    ClickDetector detector;
    PlaceSink sink;
    ScanCounts counts;
    while (blocks.Next(source.Reader()) == 1) {
        ASSERT_TRUE(ScanChannel(blocks.Channel(0), DetectorTables({3, 2, 0}), detector, sink, counts));
    }
    for (int at : clicks) EXPECT_TRUE(sink.repaired.contains(at)) << at;
    for (int64_t place : sink.repaired) {
        EXPECT_TRUE(std::any_of(clicks.begin(), clicks.end(), [&](int at) { return std::abs(place - at) < 40; }))
            << place;
    }
}

// Clicks of all sizes in a tone with noise, the right channel the negative of the left.
std::vector<float> ClickedPairs(int frames) {
    std::vector<float> left = Signals::Noise(frames, 0.01, 3);
    Signals::AddTone(left, 440, 0.2);
    Signals::AddClicks(left, 8, 0.6, 5);
    std::vector<float> pairs;
    for (const float sample : left) pairs.insert(pairs.end(), {sample, -sample});
    return pairs;
}

class Scans : public ::testing::Test {
protected:
    ScanResult Scan(int passes, const char* cancel_at, int sensitivity = 3, uint8_t options = SCAN_KEEP_MANUAL) {
        OrvaneTest::FakeProgressHost progress;
        progress.on_log = [&](const std::string& markup) {
            if (markup == "\nPass 2") seen_during_scan = Files();
            if (markup == cancel_at) Progress::Cancel();
        };
        Progress::Begin("Scan");
        ScanRequest request;
        request.settings.passes = static_cast<int8_t>(passes);
        request.settings.sensitivity = static_cast<int8_t>(sensitivity);
        request.settings.options = options;
        const ScanResult result = ScanForClicks(entry, request);
        Progress::End();
        return result;
    }
    // What a save would write, and what a job would be given.
    std::string Files() {
        const std::string file = WriteCrd(entry.click_repairs);
        EXPECT_EQ(WriteCrd(entry.Copy(COPY_CORRECTIONS)->click_repairs), file);
        return file;
    }
    std::string State() { return OrvaneTest::Serialised(entry); }

    OrvaneTest::RecordedSide recorded{ClickedPairs(200000)};
    FileHistoryEntry& entry = *recorded.entry;
    const EditAccess open{entry};
    std::string seen_during_scan;
};

TEST_F(Scans, CancelledKeepTheRepairsOfEarlierPassesOrElseThoseThatWereThere) {
    ScanSettings once;
    once.passes = 1;
    ASSERT_TRUE(Scan(1, "").outcome);
    const std::string one_pass = Files();
    ASSERT_TRUE(Scan(1, "", 5).outcome);
    const std::string other = Files();
    ASSERT_NE(one_pass, other);

    const std::string before = State();
    EXPECT_TRUE(Scan(3, "\nPass 1").outcome.Is(Kind::Cancelled));
    EXPECT_EQ(State(), before) << "nothing had been merged";
    EXPECT_EQ(GetUndoState().undo_index, 2);
    once.sensitivity = 5;
    EXPECT_TRUE(ScannedBefore(entry, once));

    EXPECT_TRUE(Scan(3, "\nPass 2").outcome.Is(Kind::Cancelled));
    EXPECT_EQ(seen_during_scan, other) << "until its end a scan does not count";
    EXPECT_EQ(Files(), one_pass);
    EXPECT_FALSE(ScannedBefore(entry, once));
    once.sensitivity = 3;
    EXPECT_FALSE(ScannedBefore(entry, once));
    EXPECT_TRUE(Undo());
    EXPECT_EQ(State(), before);
}

TEST_F(Scans, AreOneActionWithTheHandMadeRepairsThatTheyDrop) {
    ASSERT_TRUE(InsertRepair(entry, CHANNEL_LEFT, 30000, 30050));
    ASSERT_TRUE(PatchRecording(entry, 90000, 91000, {CHANNELS_BOTH, PatchMethod::FFT, 0}));
    std::vector<std::string> states = {State()};
    for (const int options : {0, int{SCAN_KEEP_PREVIOUS}, int{SCAN_KEEP_MANUAL}}) {
        const ScanResult result = Scan(2, "", 4, static_cast<uint8_t>(options));
        ASSERT_TRUE(result.outcome);
        EXPECT_EQ(GetUndoMenu(UndoDirection::Undo).text,
                  fmt::format("Undo {} repairs of a scan\tCtrl+Z", result.stats.repaired));
        states.push_back(State());
    }
    ASSERT_NE(states[1], states[0]);
    for (int round = 0; round < 2; ++round) {
        for (size_t i = states.size() - 1; i > 0; --i) {
            ASSERT_TRUE(Undo());
            EXPECT_EQ(State(), states[i - 1]);
        }
        for (size_t i = 1; i < states.size(); ++i) {
            ASSERT_TRUE(Redo());
            EXPECT_EQ(State(), states[i]);
        }
    }
}

// What lies before a stretch, and behind it, is heard by the detector all the same: beside a crackling passage the
// small clicks at its ends are some of many.
TEST(ScanForClicks, AStretchScannedAloneGetsTheRepairsThatItGetsInTheWhole) {
    std::vector<float> left = Signals::Noise(120000, 0.01, 7);
    Signals::AddTone(left, 440, 0.2);
    constexpr int kFirst = 40000, kLast = 70000;
    Signals::AddClick(left, kFirst + 4000, 4, 0.3);
    for (int i = 0; i < 10; ++i) {
        for (const int at : {kFirst + 60 + 60 * i, kLast - 60 - 60 * i})
            Signals::AddClick(left, at, 4, 0.03 + 0.02 * i);
    }
    for (int at = 0; at < 5700; at += 60) {
        for (const int to : {kFirst - 5750 + at, kLast + at}) Signals::AddClick(left, to, 30, 0.05);
    }
    std::vector<float> pairs;
    for (const float sample : left) pairs.insert(pairs.end(), {sample, -sample});
    OrvaneTest::RecordedSide recorded(pairs);
    const EditAccess open(*recorded.entry);
    const auto repairs = [&](int64_t first, int64_t last) {
        ScanRequest request;
        request.settings.sensitivity = 5;
        request.settings.brass_protection = 0;
        request.settings.options = 0;
        request.first_sample = first, request.last_sample = last;
        EXPECT_TRUE(ScanForClicks(*recorded.entry, request).outcome);
        std::vector<std::tuple<int, int64_t, int64_t, int>> found;
        for (const ClickRepairList& list : recorded.entry->click_repairs) {
            for (const ClickRepair& e : list) {
                // Those that the ends of the stretch cut through may differ.
                if (e.absolute_start_time <= kFirst || e.absolute_end_time >= kLast - 1) continue;
                found.emplace_back(list.channel, e.absolute_start_time, e.absolute_end_time, e.repair_type);
            }
        }
        EXPECT_TRUE(Undo());
        return found;
    };
    const auto whole = repairs(0, -1);
    EXPECT_GE(whole.size(), 4u);
    EXPECT_EQ(repairs(kFirst, kLast), whole);
}

// A repair is found over a kept one, which goes, and then one within another, whose audio is read while the lists
// change.
TEST(ScanForClicks, MergesRepairsOverAndWithinKeptOnes) {
    std::vector<float> left = Signals::Noise(30000, 0.01, 3);
    Signals::AddTone(left, 440, 0.2);
    for (size_t i = 10000; i < 10020; ++i) left[i] += i % 2 ? 0.6f : -0.6f;
    Signals::AddClick(left, 20048, 4, 0.5);
    std::vector<float> pairs;
    for (const float sample : left) pairs.insert(pairs.end(), {sample, 0.0f});
    OrvaneTest::RecordedSide recorded(pairs);
    ASSERT_TRUE(recorded.entry->LoadCorrections());
    ClickRepairList& list = recorded.entry->click_repairs[0];
    for (const auto& [start, end] : {std::pair{10000, 10020}, {20000, 20100}}) {
        std::vector<int16_t> samples;
        for (int i = start; i < end; ++i) samples.push_back(static_cast<int16_t>(32767 * left[static_cast<size_t>(i)]));
        list.Append(OrvaneTest::MakeRepair(REPAIR_SCANNER, start, samples).release());
    }
    ScanRequest request;
    request.settings.options = SCAN_KEEP_PREVIOUS;
    EXPECT_TRUE(ScanForClicks(*recorded.entry, request).outcome);
    ASSERT_TRUE(recorded.entry->LoadCorrections());
    ASSERT_EQ(list.size(), 2);
    EXPECT_LT(list.First()->absolute_start_time, 10000);
    EXPECT_EQ(list.Last()->Length(), 100);
    EXPECT_LT(list.Last()->max_sample, 0.3 * 32767);

    // Not kept, but not scanned anew either: the other channel, and what reaches out of the stretch.
    ClickRepairList& right = recorded.entry->click_repairs[1];
    right.Append(OrvaneTest::MakeRepair(REPAIR_SCANNER, 12000, std::vector<int16_t>(9)).release());
    request.settings.options = 0, request.settings.channels = 1, request.last_sample = 20050;
    const ScanResult result = ScanForClicks(*recorded.entry, request);
    EXPECT_TRUE(result.outcome);
    EXPECT_EQ(recorded.entry->decided.click_scan.total_clicks, 2 + result.stats.repaired);
    ASSERT_TRUE(recorded.entry->LoadCorrections());
    EXPECT_EQ(std::pair(list.size(), right.size()), std::pair(2, 1));
}

TEST(CheckScan, AsksAboveTheUsualMaximum) {
    ScanSettings settings;
    for (const auto& [sensitivity, goes_on] : {std::pair{-1, true}, {5, true}, {6, false}}) {
        settings.sensitivity = static_cast<int8_t>(sensitivity);
        EXPECT_EQ(CheckScan(settings).Is(Kind::NeedsAnswer), !goes_on) << sensitivity;
    }
}

TEST(ShownClicks, AreThoseThatTheSettingsLeaveAtAnyRate) {
    struct Row {
        int16_t type;
        int64_t length;
        int32_t rate;
        bool wide;
    };
    for (const Row& row : {Row{REPAIR_SCANNER, 60, 44100, false},
                           {REPAIR_SCANNER, 61, 44100, true},
                           {REPAIR_PP, 61, 44100, true},
                           {REPAIR_MANUAL, 120, 96000, false},
                           {REPAIR_MANUAL, 140, 96000, true}}) {
        const ClickRepair repair(row.type, 1000, 1000 + row.length, int16_t{0});
        EXPECT_TRUE((ShownClicks{true, false}.Shows(repair, row.rate)));
        EXPECT_EQ((ShownClicks{true, true}.Shows(repair, row.rate)), row.wide) << row.length << " at " << row.rate;
        EXPECT_FALSE((ShownClicks{false, true}.Shows(repair, row.rate)));
    }
    EXPECT_TRUE((ShownClicks{false, true}.Shows({REPAIR_PATCH, 0, 10, int16_t{0}}, 44100)));
}

}  // namespace
}  // namespace Orvane
