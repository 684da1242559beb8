#include "save/write_stream.h"

#include <gtest/gtest.h>

#include "audiosignals.h"
#include "failing_store.h"
#include "memorystream.h"
#include "temp_folder.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

TEST(WriteStreamTest, OfAFileThatFailsNothingIsLeftAndTheOldOneStands) {
    Testing::MemoryStream music(44100, OrvaneTest::NormalNoise(2 * 50000, 0.3, 1));
    for (const int format : {FF_WAV, FF_AIFF, FF_FLAC, FF_OGG}) {
        for (const OrvaneTest::Faults& faults :
             {OrvaneTest::Faults{.written = 10}, {.written = 150}, {.written = 4000}, {.close = true}}) {
            OrvaneTest::TempFolder folder;
            const std::string path = folder.Write("a.x", "old");
            OrvaneTest::FailingStore store(DiskStore(), faults);
            RefPtr<FileStream> writer = MakeFileStream(format);
            writer->SetStore(store);
            ASSERT_EQ(writer->SetSBC(44100, 16, 2), 0);
            const Outcome written = WriteStream(music, *writer, path, OldFile::Drop, 0, CHANNELS_STEREO, nullptr);
            EXPECT_TRUE(written.Is(Kind::ReadWrite)) << format;
            EXPECT_EQ(written.SystemError(), OrvaneTest::FailingStore::kError);
            EXPECT_EQ(folder.Listing(), std::set<std::string>{"a.x"}) << format;
            EXPECT_EQ(OrvaneTest::ReadBytes(path), "old");
        }
    }
}

}  // namespace
}  // namespace Orvane
