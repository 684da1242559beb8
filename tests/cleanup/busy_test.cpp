// Several hands on one recording: what is shared stays as long as somebody holds it, and what would disturb another is
// refused.
#include <gtest/gtest.h>

#include "audiosignals.h"
#include "cleanup/declick/scanforclicks.h"
#include "cleanup/edit/editrepairs.h"
#include "cleanup/edit/patchselection.h"
#include "cleanup/filter/measurenoise.h"
#include "fake_hosts.h"
#include "foundation/lasterror.h"
#include "foundation/mainloop.h"
#include "foundation/progress.h"
#include "recorded_side.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

TEST(BusyRecording, TheSharedChainStaysForThoseWhoHoldIt) {
    OrvaneTest::RecordedSide side{OrvaneTest::MusicPairs(120000)};
    const RefPtr<FileToPCM> chain = *GetFileToPCM(*side.entry);
    NoiseSample noise(44100);
    EXPECT_EQ(MeasureRecordingNoise(*side.entry, 0, 60000, noise), 0);
    Progress::Begin("Scan");
    EXPECT_TRUE(ScanForClicks(*side.entry, {}).outcome);
    Progress::End();
    EXPECT_EQ((*GetFileToPCM(*side.entry)).get(), chain.get());
    std::vector<float> pairs(2000);
    EXPECT_EQ(chain->Read(5000, pairs.data(), 1000, 0), 1000);
}

TEST(BusyRecording, APatchOnTrialKeepsJobsAway) {
    OrvaneTest::FakeMessageHost messages;
    OrvaneTest::RecordedSide side{OrvaneTest::MusicPairs(120000)};
    PatchSelection dialog(*side.entry, 50000, 51000);
    ASSERT_TRUE(dialog.Try({CHANNELS_BOTH, PatchMethod::AR, 0}));
    const std::string tried = OrvaneTest::Serialised(*side.entry);
    EXPECT_TRUE(ScanForClicks(*side.entry, {}).outcome.Is(Msg::PatchDialogOpen));
    NoiseSample noise(44100);
    EXPECT_LT(MeasureRecordingNoise(*side.entry, 0, 60000, noise), 0);
    EXPECT_EQ(OrvaneTest::Serialised(*side.entry), tried);
    EXPECT_TRUE(dialog.Try({CHANNELS_BOTH, PatchMethod::AR, 10}));
    EXPECT_NE(OrvaneTest::Serialised(*side.entry), tried);
}

TEST(BusyRecording, AScanKeepsEditsAndASecondScanAway) {
    OrvaneTest::FakeMessageHost messages;
    OrvaneTest::RecordedSide side{OrvaneTest::MusicPairs(400000)};
    FileHistoryEntry& entry = *side.entry;
    int n_refused = 0;
    GetMainLoop().Post([&] {
        n_refused += EditAccess(entry).GetOutcome().Is(Msg::RecordingScanned);
        n_refused += ScanForClicks(entry, {}).outcome.Is(Kind::Busy);
    });
    Progress::Begin("Scan");
    EXPECT_TRUE(ScanForClicks(entry, {}).outcome);
    Progress::End();
    EXPECT_EQ(n_refused, 2);
    EXPECT_TRUE(EditAccess(entry)) << "and not longer";
}

}  // namespace
}  // namespace Orvane
