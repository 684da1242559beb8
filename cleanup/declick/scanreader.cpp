#include "cleanup/declick/scanreader.h"

#include <algorithm>

#include "cleanup/declick/scankernels.h"
#include "foundation/muldiv.h"
#include "tesslib/josconvert.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int32_t kPiece = 4096;  // frames: small enough to be parted while they are in the first cache level

}  // namespace

ScanReader::ScanReader(PCMStream* stream) : stream(stream), pairs(2 * kPiece) {
    if (stream->GetSampleRate(kScanFlags) != kTicksPerSecond) converter = MakeRef<JOSConvert>(stream, kTicksPerSecond);
}

int64_t ScanReader::TotalSamples() {
    return to_ticks(stream->GetSampleRate(kScanFlags), stream->GetTotalSamples(kScanFlags));
}

int ScanReader::ReadSamples(int64_t start, int64_t end, float* left, float* right) {
    PCMStream* source = converter ? converter.get() : stream;
    int total = 0;
    while (start + total <= end) {
        const int32_t wanted = static_cast<int32_t>(std::min<int64_t>(kPiece, end - start - total + 1));
        const int32_t n = source->Read(start + total, pairs.data(), wanted, kScanFlags);
        if (n < 0) return n;
        SplitPairs(pairs.data(), left + total, right + total, n);
        total += n;
        if (n < wanted) break;
    }
    return total;
}

}  // namespace Orvane
