// Corrections files: whatever the bytes, what is read is a proper pair of lists, and written it is read as the same.
#include "collection/crd_file.h"
#include "foundation/assert.h"

using namespace Orvane;

namespace {

void CheckLists(ClickRepairs& lists) {
    for (ClickRepairList& list : lists) {
        CheckRepairList(list, true);
        int64_t last_end = 0;
        for (const ClickRepair& repair : list) {
            ORVANE_ASSERT(repair.absolute_start_time >= last_end && repair.Length() > 0);
            last_end = repair.absolute_end_time;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ClickRepairs lists;
    if (ReadCrd({data, size}, lists) != CrdResult::Good) {
        ORVANE_ASSERT(lists[0].empty() && lists[1].empty());
        return 0;
    }
    CheckLists(lists);
    const std::string written = WriteCrd(lists);
    ORVANE_ASSERT(written.size() <= 2 * size + kSmallestCrdFile);

    ClickRepairs again;
    ORVANE_ASSERT(ReadCrd({reinterpret_cast<const uint8_t*>(written.data()), written.size()}, again) ==
                  CrdResult::Good);
    ORVANE_ASSERT(WriteCrd(again) == written);
    return 0;
}
