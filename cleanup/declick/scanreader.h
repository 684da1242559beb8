// What a click scan reads: a recording's samples at 44100 Hz, whatever its rate, with the repairs of earlier passes.
#pragma once

#include <memory>
#include <vector>

#include "tesslib/audiostream.h"

namespace Orvane {

// No cuts, no filters, no swap: positions are the file's own.
inline constexpr uint32_t kScanFlags = Tesslib::PCM_NO_SWAP | Tesslib::PCM_NO_FILTERS | Tesslib::PCM_NO_CUTS;

// One thread at a time. `stream` outlives the reader.
class ScanReader {
public:
    explicit ScanReader(Tesslib::PCMStream* stream);

    // Reads `start` to `end` inclusive, at 44100 Hz, into two float buffers; the number of samples, or a StreamError.
    int ReadSamples(int64_t start, int64_t end, float* left, float* right);
    int64_t TotalSamples();  // at 44100 Hz

private:
    Tesslib::PCMStream* stream;
    Foundation::RefPtr<Tesslib::PCMStream> converter;  // null at 44100 Hz
    std::vector<float> pairs;
};

}  // namespace Orvane
