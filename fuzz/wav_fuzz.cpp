// RIFF, RF64 and Wave64 files: header, samples, tags and cutting.
#include "hostile_file.h"
#include "tesslib/wavfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    OrvaneTest::TryFile<Tesslib::WAVFile>(data, size);
    return 0;
}
