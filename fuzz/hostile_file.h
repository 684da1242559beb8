// What every reader of audio files must keep, whatever the bytes of its file.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/assert.h"
#include "foundation/lasterror.h"
#include "tesslib/fileformats.h"

namespace OrvaneTest {

// Bytes as a file that needs no disk, for readers that open files by name.
class MemoryFile {
public:
    MemoryFile(const uint8_t* data, size_t size) : descriptor(memfd_create("fuzz", 0)) {
        if (descriptor < 0 || write(descriptor, data, size) != static_cast<ssize_t>(size)) std::abort();
    }
    ~MemoryFile() { close(descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor); }

private:
    int descriptor;
};

// Reads tags, opens, reads comments, reads on, and reads at places all over and at the end. No count is above what was
// asked for or above what the file says it holds, and one of plain samples holds what it says. What cannot be opened is
// told.
inline void ReadHostileFile(Tesslib::FileStream& stream, const std::string& path) {
    stream.ReadTags(path);
    Foundation::SetLastErrorText({});
    if (stream.Open(path, Tesslib::OM_READ) != 0) {
        ORVANE_ASSERT(!Foundation::GetLastError().text.empty());
        return;
    }
    stream.Comments();
    const bool plain = (Tesslib::GetFileFormatInfo(stream.file_format).traits & Tesslib::FORMAT_FLOATS) != 0;
    const int64_t total = stream.GetTotalSamples(0);
    ORVANE_ASSERT(stream.GetSampleRate(0) > 0 && total >= 0);
    ORVANE_ASSERT(!plain || total * stream.Channels() * (stream.BitDepth() / 8) <= stream.FileSize());
    std::vector<float> buffer(2 * 4096);
    const auto read = [&](int64_t position) {
        const int32_t n = stream.Read(position, buffer.data(), 4096, 0);
        const int64_t most = std::clamp<int64_t>(total - position, 0, 4096);
        ORVANE_ASSERT(plain ? n == most : n <= most);
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

// The same for the fuzz target of a format of plain samples; what can be opened for writing is cut, too.
template <class File>
void TryFile(const uint8_t* data, size_t size) {
    const MemoryFile input(data, size);
    File file;
    ReadHostileFile(file, input.Path());
    if (file.Open(input.Path(), Tesslib::OM_READWRITE) == 0) {
        ORVANE_ASSERT(file.Truncate(file.GetTotalSamples(0) / 2) >= 0);
        ORVANE_ASSERT(file.Close());
    }
}

}  // namespace OrvaneTest
