// Ogg Vorbis files of any contents.
#include "hostile_file.h"
#include "tesslib/oggfile.h"

// The library forgets a list of a few bytes when a chain is damaged in a certain way.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libvorbisfile";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    OrvaneTest::MemoryFile file(data, size);
    Tesslib::OggFile stream;
    OrvaneTest::ReadHostileFile(stream, file.Path());
    return 0;
}
