// FLAC files of any contents: reading, and cutting what could be opened.
#include "hostile_file.h"
#include "tesslib/flacfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    OrvaneTest::MemoryFile file(data, size);
    Tesslib::FLACFile stream;
    OrvaneTest::ReadHostileFile(stream, file.Path());
    if (stream.Open(file.Path(), Tesslib::OM_READ) == 0) {
        stream.Truncate(stream.GetTotalSamples(0) / 2);
        stream.Close();
    }
    return 0;
}
