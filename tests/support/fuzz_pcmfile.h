// What every reader of plain samples must keep, whatever the bytes of its file.
#pragma once

#include <algorithm>
#include <vector>

#include "foundation/assert.h"
#include "foundation/lasterror.h"
#include "fuzz_file.h"
#include "tesslib/filestream.h"

namespace OrvaneTest {

template <class File>
void TryFile(const uint8_t* data, size_t size) {
    using namespace Tesslib;
    const MemoryFile input(data, size);
    File file;
    SetLastErrorText({});
    if (file.Open(input.Path(), OM_READ) == 0) {
        const int64_t total = file.GetTotalSamples(0);
        ORVANE_ASSERT(file.GetSampleRate(0) > 0);
        ORVANE_ASSERT(total >= 0 && total * file.Channels() * (file.BitDepth() / 8) <= static_cast<int64_t>(size));
        std::vector<float> buffer(2 * 300);
        for (int64_t position : {int64_t{0}, int64_t{300}, total / 2, std::max<int64_t>(total - 10, 0), total}) {
            const int64_t expected = std::clamp<int64_t>(total - position, 0, 300);
            ORVANE_ASSERT(file.Read(position, buffer.data(), 300, 0) == expected);
        }
        ORVANE_ASSERT(file.Close());
    } else {
        ORVANE_ASSERT(!GetLastError().text.empty());
    }
    file.ReadTags(input.Path());

    if (file.Open(input.Path(), OM_READWRITE) == 0) {
        const int64_t half = file.GetTotalSamples(0) / 2;
        ORVANE_ASSERT(file.Truncate(half) >= 0);
        ORVANE_ASSERT(file.Close());
    }
}

}  // namespace OrvaneTest
