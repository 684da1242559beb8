// Collection files: whatever the bytes, a collection that is read can be saved, and saved it is read as the same.
#include "collection/steering_records.h"
#include "collections.h"
#include "foundation/settings.h"
#include "temp_folder.h"

using namespace Foundation;
using namespace Orvane;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const OrvaneTest::TempFolder folder;
    static const bool opened = OpenSettings(folder / "config").Ok();
    ORVANE_ASSERT(opened);

    const auto read = OrvaneTest::ReadWhole({reinterpret_cast<const char*>(data), size});
    if (read.result != ReadResult::Good) return 0;
    for (const AlbumInfo& album : read.set->albums) {
        ORVANE_ASSERT(album.sides.size() <= read.set->SideLimit());
        for (const FileHistoryEntry* entry : album.Recordings()) {
            int64_t last_end = 0;
            for (const CutAndSpliceCorrection& cut : entry->decided.cuts) {
                ORVANE_ASSERT(cut.absolute_start_time >= last_end && cut.Length() > 0);
                ORVANE_ASSERT(cut.start_time >= cut.splice_length / 2 && cut.splice_length % 2 == 0);
                last_end = cut.absolute_end_time;
            }
        }
    }
    // The first save may move a fade that began before its album, and brings old records up to date.
    const auto saved = OrvaneTest::ReadWhole(OrvaneTest::WriteWhole(*read.set));
    ORVANE_ASSERT(saved.result == ReadResult::Good);
    ORVANE_ASSERT(saved.set->albums.size() == read.set->albums.size());
    const auto settled = OrvaneTest::ReadWhole(OrvaneTest::WriteWhole(*saved.set));
    const std::string text = OrvaneTest::WriteWhole(*settled.set);
    ORVANE_ASSERT(OrvaneTest::WriteWhole(*OrvaneTest::ReadWhole(text).set) == text);
    return 0;
}
