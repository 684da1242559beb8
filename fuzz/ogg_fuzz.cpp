// Ogg Vorbis files of any contents.
#include <ogg/ogg.h>

#include <numeric>
#include <vector>

#include "hostile_file.h"
#include "tesslib/oggfile.h"

namespace {

// Gives every page its check sum, so that changed bytes get past the first look at them.
void SetCheckSums(std::vector<uint8_t>& bytes) {
    for (size_t at = 0; at + 27 <= bytes.size();) {
        uint8_t* header = bytes.data() + at;
        const size_t header_size = 27 + size_t{header[26]};
        if (std::string_view(reinterpret_cast<char*>(header), 4) != "OggS" || at + header_size > bytes.size()) {
            ++at;
            continue;
        }
        const size_t body_size = std::accumulate(header + 27, header + header_size, size_t{0});
        if (at + header_size + body_size > bytes.size()) return;
        ogg_page page{header, static_cast<long>(header_size), header + header_size, static_cast<long>(body_size)};
        ogg_page_checksum_set(&page);
        at += header_size + body_size;
    }
}

}  // namespace

// The library forgets a list of a few bytes when a chain is damaged in a certain way.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libvorbisfile";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<uint8_t> bytes(data, data + size);
    SetCheckSums(bytes);
    OrvaneTest::MemoryFile file(bytes.data(), bytes.size());
    Tesslib::OggFile stream;
    OrvaneTest::ReadHostileFile(stream, file.Path());
    return 0;
}
