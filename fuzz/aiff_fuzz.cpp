// AIFF and AIFF-C files: header, samples, tags and cutting.
#include "hostile_file.h"
#include "tesslib/aiffile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    OrvaneTest::TryFile<Tesslib::AIFFile>(data, size);
    return 0;
}
