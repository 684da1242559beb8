// Reads a file of any contents the way the program does, for the fuzz targets.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz_file.h"
#include "tesslib/filestream.h"

namespace OrvaneTest {

// Opens, reads on, reads at places all over and at the end, and reads tags. What a reader promises is checked: no count
// above what was asked for or above what the file says it holds.
inline void ReadHostileFile(Tesslib::FileStream& stream, const std::string& path) {
    stream.ReadTags(path);
    if (stream.Open(path, Tesslib::OM_READ) != 0) return;
    const int64_t total = stream.GetTotalSamples(0);
    std::vector<float> buffer(2 * 4096);
    const auto read = [&](int64_t position) {
        const int32_t n = stream.Read(position, buffer.data(), 4096, 0);
        if (n > 4096 || n > std::max<int64_t>(total - position, 0)) std::abort();
        return n;
    };
    // A few bytes may stand for a very long silence: two million samples are enough.
    int64_t position = 0;
    for (int32_t n = 1; n > 0 && position < 2000000; position += n) n = std::max(read(position), 0);
    for (int64_t part = 0; part <= 8; ++part) read(total / 8 * part);
    read(std::max<int64_t>(total - 1, 0));
    stream.ReleaseResources();
    read(1);
    stream.Close();
}

}  // namespace OrvaneTest
