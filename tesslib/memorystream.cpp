#include <algorithm>

#include "tesslib/stages.h"

namespace Tesslib {

int32_t MemoryPCMStream::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    int64_t n = std::min<int64_t>(n_samples, GetTotalSamples(flags) - position);
    if (n <= 0) return 0;
    std::copy_n(samples.begin() + 2 * position, 2 * n, buffer);
    return static_cast<int32_t>(n);
}

}  // namespace Tesslib
