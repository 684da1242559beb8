#include <algorithm>

#include "tesslib/stages.h"

namespace Tesslib {

PCMCache::PCMCache(PCMStream* source, int32_t cache_size, uint32_t flags)
    : PCMStream(source, source->GetSampleRate(flags)), cache_size(cache_size) {}

int32_t PCMCache::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    if (!(flags & PCM_USE_CACHE) || n_samples > cache_size) return source->Read(position, buffer, n_samples, flags);
    if (n_samples <= 0) return 0;
    if ((flags ^ last_flags) & PCM_RAW_DOP) count = 0;
    last_flags = flags;

    int64_t off = position - first;
    if (off >= 0 && count - off >= n_samples &&
        std::all_of(&filled[off], &filled[off] + n_samples, [](uint8_t is_filled) { return is_filled != 0; })) {
        std::copy_n(&cache[2 * off], 2 * static_cast<int64_t>(n_samples), buffer);
        return n_samples;
    }
    int32_t got = source->Read(position, buffer, n_samples, flags);
    if (got < 0) return got;

    // A block may be stored at some distance behind what is there; `filled` knows of the hole.
    bool append = off >= 0 && off <= first + count && off + got <= cache_size;
    if (!append || count == 0) std::fill(filled.begin(), filled.end(), uint8_t{0});
    if (!append) off = 0;
    if (cache.empty()) {
        cache.resize(2 * static_cast<size_t>(cache_size));
        filled.resize(static_cast<size_t>(cache_size));
    }
    std::copy_n(buffer, 2 * static_cast<int64_t>(got), cache.begin() + 2 * off);
    std::fill_n(filled.begin() + off, got, uint8_t{1});
    first = position - off;
    count = static_cast<int32_t>(off) + got;
    return got;
}

}  // namespace Tesslib
